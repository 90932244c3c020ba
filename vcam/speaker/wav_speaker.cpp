#include "vcam/speaker/wav_speaker.h"

#include <string>
#include <utility>

WavSpeaker::WavSpeaker(std::filesystem::path path) : path_(std::move(path)) {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void WavSpeaker::play(const PlayFormat &format, std::span<const std::int32_t> samples) {
    if (file_ == nullptr || format != format_) {
        open(format);
    }
    if (file_ != nullptr) {
        sf_write_int(file_.get(), samples.data(), static_cast<sf_count_t>(samples.size()));
    }
}

void WavSpeaker::open(const PlayFormat &format) {
    std::filesystem::path path = path_;
    if (++files_ > 1) {
        path.replace_filename(path_.stem().string() + "-" + std::to_string(files_) +
                              path_.extension().string());
    }
    format_ = format;
    SF_INFO info = {};
    info.samplerate = static_cast<int>(format.rate);
    info.channels = static_cast<int>(format.channels);
    info.format = SF_FORMAT_WAV | (format.bits == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_16);
    file_.reset(sf_open(path.c_str(), SFM_WRITE, &info));
    if (file_ != nullptr) {
        sf_command(file_.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    }
}
