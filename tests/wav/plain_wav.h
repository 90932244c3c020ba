// WAV files read the plain way, for comparison with the reader.
#pragma once

#include "wav/wav.h"

#include <cstring>
#include <map>
#include <stdexcept>
#include <string>

class PlainWav {
public:
    // Throws std::out_of_range when the reader must refuse the file.
    explicit PlainWav(const std::string &file) : file_(file) {
        check(file.compare(0, 4, "RIFF") == 0 && file.compare(8, 4, "WAVE") == 0);
        check(even(number(4, 4)) + 8 <= file.size());
        std::uint64_t at = 12;
        std::map<std::string, std::uint64_t> places;
        while (at < file.size()) {
            const std::string id = file.substr(static_cast<std::size_t>(at), 4);
            check(id == "fmt " || id == "fact" || id == "data");
            check(places.emplace(id, at + 8).second);
            const std::uint64_t size = number(at + 4, 4);
            at += 8 + even(id == "fmt " && size == 18 ? 18 + number(at + 24, 2) : size);
        }
        check(at == file.size());
        readFormat(places.at("fmt "));
        dataOffset = static_cast<std::size_t>(places.at("data"));
        info.dataBytes = static_cast<std::uint32_t>(even(number(dataOffset - 4, 4)));
        info.fileSize = static_cast<std::uint32_t>(file.size());
        const std::uint64_t milliseconds = info.dataBytes * std::uint64_t{1000};
        info.duration =
            info.byteRate == 0 ? 0 : static_cast<std::uint32_t>(milliseconds / info.byteRate);
    }

    WAV_INFO info = {};
    std::size_t dataOffset = 0;

private:
    void readFormat(std::uint64_t fmt) {
        info.formatTag = number(fmt, 2);
        info.channels = number(fmt + 2, 2);
        info.sampleRate = number(fmt + 4, 4);
        info.byteRate = number(fmt + 8, 4);
        info.bitsPerSample = number(fmt + 14, 2);
        check(info.formatTag == 1 && info.bitsPerSample == 16);
        check((info.channels == 1 || info.channels == 2) &&
              number(fmt + 12, 2) == 2 * info.channels);
        check(info.byteRate == std::uint64_t{info.sampleRate} * 2 * info.channels);
    }

    static std::uint64_t even(std::uint64_t size) { return size + size % 2; }

    static void check(bool isRight) {
        if (!isRight) {
            throw std::out_of_range("no such file");
        }
    }

    std::uint32_t number(std::uint64_t at, std::size_t bytes) const {
        check(at + bytes <= file_.size());
        std::uint32_t value = 0;
        std::memcpy(&value, file_.data() + at, bytes);
        return value;
    }

    const std::string &file_;
};
