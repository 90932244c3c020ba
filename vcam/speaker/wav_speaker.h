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

// Whether what lies between two sounds is in the file, as silence that takes no room on the disk.
enum class Gaps { kept, leftOut };

// The file is valid whenever it is looked at: each period is whole in it, header and data, before
// the next one comes. The first sub-channel is the left one. A sound of another format begins a new
// file ("speaker-2.wav"), and so does one that would make a file longer than its sizes can tell. A
// period that cannot be written, for want of room, is left out as a whole and counted; the user is
// told of the first.
class WavSpeaker : public PeriodSink {
public:
    // The file appears with the first period. Those of an earlier speaker are kept under a number
    // ("speaker.1.wav" are the last one's; at 9 they go). `loss` is told of periods that are left
    // out. `longest`: bytes of sound in a file.
    WavSpeaker(std::filesystem::path path, Gaps gaps, LossRegisters &loss,
               std::uint64_t longest = longestWavSound);

    void play(const PlayFormat &format, std::span<const std::int32_t> samples) override;
    void rest(std::uint64_t nanoseconds) override;

private:
    bool open(const PlayFormat &format);
    bool write(std::span<const std::int32_t> samples);
    void reportLoss(int error);

    struct FileCloser {
        void operator()(SNDFILE *file) const { sf_close(file); }
    };

    std::uint64_t roomFor(const PlayFormat &format) const;

    std::filesystem::path path_;
    Gaps gaps_;
    LossRegisters &loss_;
    std::uint64_t longest_;
    int files_ = 0;
    sf_count_t frames_ = 0;      // in the file
    std::uint64_t restLeft_ = 0; // of a rest, what was shorter than a frame
    PlayFormat format_ = {};
    std::unique_ptr<SNDFILE, FileCloser> file_;
};
