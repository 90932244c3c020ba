// The daemon's side of the virtual clock: handing the turn to the world, and getting it back.
#pragma once

#include "vcam/board/board_time.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>

// Whether time is the world's. All below is for such a camera only.
bool isTimeVirtual();

// Nanoseconds of the virtual clock; it stands while the daemon runs.
std::uint64_t virtualNow();

// Lets the world carry out what is due by now. False: a signal has been handled meanwhile.
bool lookAtWorld();

// Why a wait has ended.
enum class Woken { byWorld, bySignal, byClock };

// Lets the world go on until something has happened that may concern the caller, a signal has been
// handled, or the clock has reached `deadline`.
Woken waitInWorld(std::uint64_t deadline);

// Makes a call that does not wait, again and again as the world goes on, until it has what it waits
// for (`isDone` of its result), or until `end`; the world gets its turn at least once before the
// call fails to have it. The call's last result; -1 with EINTR when a signal was handled.
template <typename Call, typename IsDone>
auto callInWorld(std::uint64_t end, Call call, IsDone isDone) -> decltype(call()) {
    for (bool isLast = false;;) {
        const auto result = call();
        if (isDone(result) || isLast) {
            return result;
        }
        const bool isDisturbed =
            virtualNow() >= end ? !lookAtWorld() : waitInWorld(end) == Woken::bySignal;
        if (isDisturbed) {
            errno = EINTR;
            return -1;
        }
        isLast = virtualNow() >= end;
    }
}

// Hands a line of the system log over.
void logInWorld(const char *line, std::size_t length);

// The board's time on a virtual clock.
class VirtualBoardTime : public BoardTime {
public:
    std::uint64_t now() override { return virtualNow(); }
    void waitForChange(Register &word, std::uint32_t seen, std::uint64_t deadline) override;
    void wake(Register &word) override;
};
