// A loudspeaker that writes what it plays to a WAV file.
#pragma once

#include "vcam/speaker/dac.h"

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <memory>

// A WAV file tells its sizes in 32 bits, and has a header.
constexpr std::uint64_t longestWavSound = UINT32_MAX - 65535;

// The speaker's n-th file, from 1 on, when this is the first.
std::filesystem::path speakerPart(const std::filesystem::path &first, int number);

// The file is valid whenever it is looked at: each period is whole in it, header and data, before
// the next one comes. The samples are those in front of the volume and mute controls, the first
// sub-channel left. A sound of another format begins a new file ("speaker-2.wav"), and so does one
// that would make a file longer than its sizes can tell. A period that cannot be written, for want
// of room, is left out as a whole and counted; the user is told of the first.
class WavSpeaker : public PeriodSink {
public:
    // The file appears with the first period; those that are there go. `loss` is told of periods
    // that are left out. `longest`: bytes of sound in a file.
    WavSpeaker(std::filesystem::path path, LossRegisters &loss,
               std::uint64_t longest = longestWavSound);

    void play(const PlayFormat &format, std::span<const std::int32_t> samples) override;

private:
    bool open(const PlayFormat &format);
    bool write(std::span<const std::int32_t> samples);
    void reportLoss(int error);

    struct FileCloser {
        void operator()(SNDFILE *file) const { sf_close(file); }
    };

    std::filesystem::path path_;
    LossRegisters &loss_;
    std::uint64_t longest_;
    int files_ = 0;
    sf_count_t frames_ = 0; // in the file
    PlayFormat format_ = {};
    std::unique_ptr<SNDFILE, FileCloser> file_;
};
