// A loudspeaker that writes what it plays to a WAV file.
#pragma once

#include "vcam/speaker/dac.h"

#include <sndfile.h>

#include <filesystem>
#include <memory>

// The file is valid whenever it is looked at: each period is whole in it, header and data, before
// the next one comes. The samples are those in front of the volume and mute controls, the first
// sub-channel left. A sound of another format begins a new file ("speaker-2.wav").
class WavSpeaker : public PeriodSink {
public:
    // The file appears with the first period; one that is there goes.
    explicit WavSpeaker(std::filesystem::path path);

    void play(const PlayFormat &format, std::span<const std::int32_t> samples) override;

private:
    void open(const PlayFormat &format);

    struct FileCloser {
        void operator()(SNDFILE *file) const { sf_close(file); }
    };

    std::filesystem::path path_;
    int files_ = 0;
    PlayFormat format_ = {};
    std::unique_ptr<SNDFILE, FileCloser> file_;
};
