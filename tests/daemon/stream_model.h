// What is to be heard of stream records, by a plain model and an independent decoder.
#pragma once

#include "tests/daemon/daemon_fixture.h"
#include "vcam/sender/law_codec.h"

#include <numeric>

class StreamModel {
public:
    void take(const Record &record) {
        std::uint32_t words[16] = {};
        std::copy_n(record.begin(), std::min(record.size(), sizeof words),
                    reinterpret_cast<std::uint8_t *>(words));
        if (record.size() >= 44 && words[1] == codeOf("CONF")) {
            takeCodec(words, record.size());
        } else if (record.size() >= 44 && words[1] == codeG711) {
            play(record, static_cast<std::int32_t>(words[0]), static_cast<std::int32_t>(words[10]));
        }
    }

    std::vector<std::int16_t> played; // one of each pair of equal samples

private:
    // The samples of all 256 law bytes.
    static Samples allOf(Law law) {
        std::vector<std::uint8_t> bytes(256);
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
        return lawDecode(bytes, law);
    }

    void takeCodec(const std::uint32_t (&words)[16], std::size_t size) {
        const std::uint32_t codec = words[2];
        if (codec == codeG711 && size >= 64 && words[15] != 0) {
            law_ = words[11];
        } else if ((codec == codeG711 && size >= 64) || codec == codeOf("G726")) {
            rate_ = 8000;
        } else if (codec == codeOf("AAC4") && size >= 52) {
            rate_ = words[12];
        } else if (codec == codeOf("GAMR") && size >= 48) {
            rate_ = words[11];
        } else if (codec == codeG711 || codec == codeOf("AAC4") || codec == codeOf("GAMR")) {
            return;
        }
        ratio_ = rate_ * 2 / 8000;
    }

    void play(const Record &record, std::int64_t size, std::int64_t extra) {
        static const Samples tables[2] = {allOf(Law::u), allOf(Law::a)};
        constexpr std::uint64_t frameRoom = 16000 / 4;
        const auto length = static_cast<std::uint64_t>(size - 44 - extra);
        if (extra < 0 || size < 44 + extra || static_cast<std::size_t>(size) > record.size() ||
            length > frameRoom || (law_ != codeUlaw && law_ != codeAlaw) ||
            (ratio_ != 2 && (length + 1) / 2 * ratio_ > frameRoom)) {
            return;
        }
        for (std::size_t i = 0; i < length; ++i) {
            const std::uint8_t code = record[static_cast<std::size_t>(44 + extra) + i];
            played.insert(played.end(),
                          static_cast<std::size_t>(i % 2 == 0 ? ratio_ / 2 : ratio_ - ratio_ / 2),
                          tables[law_ == codeAlaw][code]);
        }
    }

    std::uint64_t rate_ = 8000;
    std::uint64_t ratio_ = 2;
    std::uint32_t law_ = codeUlaw;
};
