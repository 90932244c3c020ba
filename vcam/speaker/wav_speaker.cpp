#include "vcam/speaker/wav_speaker.h"

#include <string>
#include <utility>

WavSpeaker::WavSpeaker(std::filesystem::path path) : path_(std::move(path)) {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void WavSpeaker::play(const PlayFormat &format, std::span<const std::int32_t> samples) {
    if (!file_ || format != format_) {
        open(format);
    }
    file_.write(samples.data(), static_cast<sf_count_t>(samples.size()));
}

void WavSpeaker::open(const PlayFormat &format) {
    std::filesystem::path path = path_;
    if (++files_ > 1) {
        path.replace_filename(path_.stem().string() + "-" + std::to_string(files_) +
                              path_.extension().string());
    }
    format_ = format;
    file_ = SndfileHandle(path.string(), SFM_WRITE,
                          SF_FORMAT_WAV | (format.bits == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_16),
                          static_cast<int>(format.channels), static_cast<int>(format.rate));
    file_.command(SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
}
