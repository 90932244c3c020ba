// Time on the board, and waiting for registers to change: injected, so that a model's waits cost a
// test nothing.
#pragma once

#include "vcam/board/registers.h"

#include <cstdint>

constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::uint64_t nanosecondsPerMillisecond = 1'000'000;
constexpr std::uint64_t nanosecondsPerMicrosecond = 1'000;
constexpr std::uint64_t endOfTime = UINT64_MAX;

class BoardTime {
public:
    // Nanoseconds of a clock that never goes back.
    virtual std::uint64_t now() = 0;

    // Waits until the register is no longer `seen`, the clock reaches `deadline`, or nothing in
    // particular.
    virtual void waitForChange(Register &word, std::uint32_t seen, std::uint64_t deadline) = 0;

    // Tells whoever waits for the register that it has changed.
    virtual void wake(Register &word) = 0;

protected:
    ~BoardTime() = default;
};

// The system's monotonic clock and futexes, which work across processes.
class SystemBoardTime : public BoardTime {
public:
    std::uint64_t now() override;
    void waitForChange(Register &word, std::uint32_t seen, std::uint64_t deadline) override;
    void wake(Register &word) override;
};
