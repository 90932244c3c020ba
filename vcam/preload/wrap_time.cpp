// Time as the daemon spends it, and the calls that wait. On the virtual clock it passes in them
// alone, and the world carries out meanwhile what is due. On the wall's clock they are what they
// are on a PC; only a camera whose periods are played as they come cuts sleeps short: one lasts
// until the loudspeaker has played what waits, since nothing else happens in it.
#include "vcam/board/ao_queue.h"
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"
#include "vcam/preload/world_turn.h"

#include <poll.h>
#include <sys/select.h>
#include <sys/sem.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace {

constexpr std::uint64_t dayOfTheWorld = 1'600'000'000; // when it begins: seconds since 1970

bool isShort() {
    return cameraDir() != nullptr && processBoard().registers.pace != paceRealTime;
}

std::uint64_t lengthOf(const timespec &time) {
    return static_cast<std::uint64_t>(time.tv_sec) * nanosecondsPerSecond +
           static_cast<std::uint64_t>(time.tv_nsec);
}

timespec timeOf(std::uint64_t nanoseconds) {
    timespec time = {};
    time.tv_sec = static_cast<time_t>(nanoseconds / nanosecondsPerSecond);
    time.tv_nsec = static_cast<long>(nanoseconds % nanosecondsPerSecond);
    return time;
}

// Waits for a moment of the virtual clock. False: a signal was handled before it.
bool sleepInWorld(std::uint64_t end) {
    for (;;) {
        switch (waitInWorld(end)) {
        case Woken::bySignal:
            return false;
        case Woken::byClock:
            return true;
        default:
            break;
        }
    }
}

bool hasAny(int result) {
    return result != 0;
}

using Select = int (*)(int, fd_set *, fd_set *, fd_set *, timeval *);
using Poll = int (*)(pollfd *, nfds_t, int);

int selectInWorld(Select next, int count, fd_set *const (&sets)[3], const timeval *timeout) {
    fd_set wanted[3] = {};
    for (std::size_t i = 0; i < 3; ++i) {
        wanted[i] = sets[i] != nullptr ? *sets[i] : fd_set{};
    }
    const std::uint64_t end =
        timeout == nullptr
            ? endOfTime
            : virtualNow() + static_cast<std::uint64_t>(timeout->tv_sec) * nanosecondsPerSecond +
                  static_cast<std::uint64_t>(timeout->tv_usec) * nanosecondsPerMicrosecond;
    const auto look = [&] {
        for (std::size_t i = 0; i < 3; ++i) {
            if (sets[i] != nullptr) {
                *sets[i] = wanted[i];
            }
        }
        timeval now = {};
        return next(count, sets[0], sets[1], sets[2], &now);
    };
    return callInWorld(end, look, hasAny);
}

} // namespace

INTERPOSE(int, select,
          (int count, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout)) {
    const auto next = NEXT(Select, select);
    return isTimeVirtual() ? selectInWorld(next, count, {readable, writable, exceptional}, timeout)
                           : next(count, readable, writable, exceptional, timeout);
}

INTERPOSE(int, poll, (pollfd * fds, nfds_t count, int milliSec)) {
    const auto next = NEXT(Poll, poll);
    if (!isTimeVirtual()) {
        return next(fds, count, milliSec);
    }
    const std::uint64_t end = milliSec < 0 ? endOfTime
                                           : virtualNow() + static_cast<std::uint64_t>(milliSec) *
                                                                nanosecondsPerMillisecond;
    return callInWorld(
        end, [&] { return next(fds, count, 0); }, hasAny);
}

INTERPOSE(int, semop, (int set, sembuf *operations, std::size_t count)) {
    using Operate = int (*)(int, sembuf *, std::size_t);
    const auto next = NEXT(Operate, semop);
    constexpr std::size_t most = 8;
    const auto isPatient = [](const sembuf &operation) {
        return (operation.sem_flg & IPC_NOWAIT) == 0;
    };
    if (!isTimeVirtual() || count > most ||
        !std::all_of(operations, operations + count, isPatient)) {
        return next(set, operations, count);
    }
    sembuf patient[most] = {};
    std::transform(operations, operations + count, patient, [](sembuf operation) {
        operation.sem_flg = static_cast<short>(operation.sem_flg | IPC_NOWAIT);
        return operation;
    });
    return callInWorld(
        endOfTime, [&] { return next(set, patient, count); },
        [](int result) { return result == 0 || errno != EAGAIN; });
}

INTERPOSE(unsigned, sleep, (unsigned seconds)) {
    if (isTimeVirtual()) {
        const std::uint64_t end = virtualNow() + seconds * nanosecondsPerSecond;
        sleepInWorld(end);
        return static_cast<unsigned>((end - virtualNow()) / nanosecondsPerSecond);
    }
    if (!isShort()) {
        return NEXT(unsigned (*)(unsigned), sleep)(seconds);
    }
    Board &board = processBoard();
    waitForSilence(board, board.time.now() + seconds * nanosecondsPerSecond);
    return 0;
}

INTERPOSE(int, usleep, (useconds_t microSec)) {
    if (!isTimeVirtual()) {
        return NEXT(int (*)(useconds_t), usleep)(microSec);
    }
    const bool isOver = sleepInWorld(virtualNow() + microSec * nanosecondsPerMicrosecond);
    errno = isOver ? errno : EINTR;
    return isOver ? 0 : -1;
}

// As periods come: up to a moment of the clock that the board's time is told by; other sleeps keep
// their length.
INTERPOSE(int, clock_nanosleep,
          (clockid_t clock, int flags, const timespec *end, timespec *remaining)) {
    const bool isMoment = clock == CLOCK_MONOTONIC && flags == TIMER_ABSTIME;
    if (isTimeVirtual() && (isMoment || flags == 0)) {
        const std::uint64_t start = isMoment ? 0 : virtualNow();
        return sleepInWorld(start + lengthOf(*end)) ? 0 : EINTR;
    }
    if (!isMoment || !isShort()) {
        using Sleep = int (*)(clockid_t, int, const timespec *, timespec *);
        return NEXT(Sleep, clock_nanosleep)(clock, flags, end, remaining);
    }
    waitForSilence(processBoard(), lengthOf(*end));
    return 0;
}

INTERPOSE(int, clock_gettime, (clockid_t clock, timespec *time)) {
    const bool isOfDay = clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
    if (!isTimeVirtual() || clock == CLOCK_PROCESS_CPUTIME_ID || clock == CLOCK_THREAD_CPUTIME_ID) {
        return NEXT(int (*)(clockid_t, timespec *), clock_gettime)(clock, time);
    }
    *time = timeOf(virtualNow() + (isOfDay ? dayOfTheWorld * nanosecondsPerSecond : 0));
    return 0;
}

INTERPOSE(time_t, time, (time_t * seconds)) {
    if (!isTimeVirtual()) {
        return NEXT(time_t(*)(time_t *), time)(seconds);
    }
    const auto now = static_cast<time_t>(dayOfTheWorld + virtualNow() / nanosecondsPerSecond);
    if (seconds != nullptr) {
        *seconds = now;
    }
    return now;
}

INTERPOSE(int, gettimeofday, (timeval * time, void *zone)) {
    if (!isTimeVirtual()) {
        return NEXT(int (*)(timeval *, void *), gettimeofday)(time, zone);
    }
    const timespec now = timeOf(virtualNow() + dayOfTheWorld * nanosecondsPerSecond);
    *time = {now.tv_sec, static_cast<suseconds_t>(now.tv_nsec / 1000)};
    return 0;
}
