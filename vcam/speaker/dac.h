// The DAC: empties the queues of the output channels, period by period, and mixes what they hold.
#pragma once

#include "vcam/board/board_time.h"
#include "vcam/board/registers.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// How a period is to be played.
struct PlayFormat {
    std::uint32_t rate;     // Hz
    std::uint32_t bits;     // of a sample: 8, 16 or 24
    std::uint32_t channels; // 1 or 2, interleaved

    bool operator==(const PlayFormat &) const = default;
};

// Takes what the DAC plays.
class PeriodSink {
public:
    PeriodSink() = default;
    PeriodSink(const PeriodSink &) = delete;
    PeriodSink &operator=(const PeriodSink &) = delete;
    virtual ~PeriodSink() = default;

    // Plays interleaved samples, the first sub-channel first; each sample fills its 32 bits from
    // the top.
    virtual void play(const PlayFormat &format, std::span<const std::int32_t> samples) = 0;

    // Plays nothing for so long, in front of the next period.
    virtual void rest(std::uint64_t /*nanoseconds*/) {}
};

// Not thread-safe: one thread runs it.
class Dac {
public:
    Dac(BoardRegisters &registers, BoardTime &time, PeriodSink &sink);

    // Plays what is due at `now`, in nanoseconds of the board's clock. Returns when there is more
    // to do, or all ones when that depends on the registers: ao.work grows then.
    std::uint64_t run(std::uint64_t now);

private:
    void dropFlushed();
    bool begin(std::uint64_t now);
    void finish();
    void mixChannel(std::uint32_t channel);
    void notePeak(std::int32_t sample);
    void noteSound(std::uint64_t now);
    void noteSilence(std::uint64_t now);

    BoardRegisters &registers_;
    BoardTime &time_;
    PeriodSink &sink_;
    bool isPlaying_ = false;
    std::uint64_t begin_ = 0; // of the period that is playing
    std::uint64_t end_ = 0;
    std::uint64_t heardUntil_ = 0;             // the end of the last that was heard; 0: none was
    std::optional<std::uint64_t> ranDryAt_;    // since when there is nothing to play
    std::uint32_t soundsBegun_ = 0;            // when the last period began
    std::uint32_t front_[aoChannelCount] = {}; // the period that is playing
    bool takesPart_[aoChannelCount] = {};
    PlayFormat format_ = {};
    std::vector<std::int32_t> mix_;
};
