#include "vcam/speaker/wav_speaker.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>
#include <utility>

namespace fs = std::filesystem;

fs::path speakerPart(const fs::path &first, int number) {
    fs::path path = first;
    if (number > 1) {
        path.replace_filename(first.stem().string() + "-" + std::to_string(number) +
                              first.extension().string());
    }
    return path;
}

WavSpeaker::WavSpeaker(fs::path path, LossRegisters &loss, std::uint64_t longest)
    : path_(std::move(path)), loss_(loss), longest_(longest) {
    std::error_code ignored;
    for (int number = 1; fs::remove(speakerPart(path_, number), ignored); ++number) {
    }
}

void WavSpeaker::play(const PlayFormat &format, std::span<const std::int32_t> samples) {
    const std::uint64_t frames = samples.size() / format.channels;
    const std::uint64_t frameBytes = std::uint64_t{format.channels} * (format.bits == 24 ? 3 : 2);
    const bool isFull = (static_cast<std::uint64_t>(frames_) + frames) * frameBytes > longest_;
    errno = 0;
    const bool isOpen = (file_ != nullptr && format == format_ && !isFull) || open(format);
    if (!isOpen || !write(samples)) {
        reportLoss(errno != 0 ? errno : EIO);
    }
}

bool WavSpeaker::open(const PlayFormat &format) {
    format_ = format;
    frames_ = 0;
    SF_INFO info = {};
    info.samplerate = static_cast<int>(format.rate);
    info.channels = static_cast<int>(format.channels);
    info.format = SF_FORMAT_WAV | (format.bits == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_16);
    file_.reset(sf_open(speakerPart(path_, files_ + 1).c_str(), SFM_WRITE, &info));
    if (file_ == nullptr) {
        return false;
    }
    ++files_;
    sf_command(file_.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    return true;
}

// Writes all, or leaves the file as it was.
bool WavSpeaker::write(std::span<const std::int32_t> samples) {
    const auto count = static_cast<sf_count_t>(samples.size());
    if (sf_write_int(file_.get(), samples.data(), count) == count) {
        frames_ += count / format_.channels;
        return true;
    }
    const int error = errno;
    sf_count_t frames = frames_;
    sf_command(file_.get(), SFC_FILE_TRUNCATE, &frames, sizeof frames);
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    errno = error;
    return false;
}

void WavSpeaker::reportLoss(int error) {
    loss_.error = static_cast<std::uint32_t>(error);
    if (++loss_.periods == 1) {
        std::cerr << "vcam: what plays can no longer be kept in "
                  << speakerPart(path_, files_).string() << ": " << std::strerror(error)
                  << std::endl;
    }
}
