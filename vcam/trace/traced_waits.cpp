// The calls that wait. What is recorded so far is written out in front of each of them.
#include "vcam/preload/interpose.h"
#include "vcam/trace/trace_library.h"

#include <poll.h>
#include <sys/select.h>

#include <algorithm>
#include <ctime>

namespace {

constexpr std::size_t readyLimit = 64; // descriptors in a record

// The descriptors that a wait has found ready.
class Ready {
public:
    void add(int fd) {
        if (count_ < readyLimit) {
            fds_[count_++] = fd;
        }
    }
    TracePart part() const { return {fds_, count_ * sizeof *fds_}; }

private:
    std::int32_t fds_[readyLimit] = {};
    std::size_t count_ = 0;
};

int recordWait(const TracedCall &made, int result, TraceWait wait, std::uint32_t patience,
               const Ready &ready) {
    made.record(TraceKind::wait,
                {.result = result, .argument = patience, .more = static_cast<std::uint32_t>(wait)},
                {ready.part()});
    return result;
}

// A time of the caller's, of words as wide as its C library's.
template <typename Word>
struct SelectTime {
    Word seconds;
    Word microseconds;
};
template <typename Word>
using Select = int (*)(int, fd_set *, fd_set *, fd_set *, SelectTime<Word> *);

template <typename Word>
std::uint32_t patienceOf(const SelectTime<Word> *timeout) {
    return timeout != nullptr
               ? static_cast<std::uint32_t>(timeout->seconds * 1000 + timeout->microseconds / 1000)
               : traceForEver;
}

template <typename Word>
int selectTraced(Select<Word> next, int count, fd_set *const (&sets)[3],
                 SelectTime<Word> *timeout) {
    traceFlush();
    const std::uint32_t patience = patienceOf(timeout);
    const TracedCall made;
    const int result = next(count, sets[0], sets[1], sets[2], timeout);
    Ready ready;
    for (int fd = 0; traceIsOn() && result > 0 && fd < std::min(count, FD_SETSIZE); ++fd) {
        if (std::any_of(sets, sets + 3,
                        [fd](const fd_set *set) { return set != nullptr && FD_ISSET(fd, set); })) {
            ready.add(fd);
        }
    }
    return recordWait(made, result, TraceWait::select, patience, ready);
}

using Poll = int (*)(pollfd *, nfds_t, int);

int pollTraced(Poll next, pollfd *fds, nfds_t count, int milliSec) {
    traceFlush();
    const TracedCall made;
    const int result = next(fds, count, milliSec);
    Ready ready;
    for (nfds_t i = 0; traceIsOn() && result > 0 && i < count; ++i) {
        if (fds[i].revents != 0) {
            ready.add(fds[i].fd);
        }
    }
    const std::uint32_t patience =
        milliSec < 0 ? traceForEver : static_cast<std::uint32_t>(milliSec);
    return recordWait(made, result, TraceWait::poll, patience, ready);
}

void recordSleep(const TracedCall &made, TraceSleep sleep, std::int64_t microSec, int result,
                 int error = 0) {
    made.record(TraceKind::sleep, {.result = result,
                                   .error = error,
                                   .argument = static_cast<std::uint32_t>(
                                       std::clamp<std::int64_t>(microSec, 0, UINT32_MAX)),
                                   .more = static_cast<std::uint32_t>(sleep)});
}

template <typename Word>
struct SleepTime {
    Word seconds;
    Word nanoseconds;
};
template <typename Word>
using ClockSleep = int (*)(clockid_t, int, const SleepTime<Word> *, SleepTime<Word> *);

template <typename Word>
std::int64_t nanosecondsOf(const SleepTime<Word> &time) {
    return std::int64_t{time.seconds} * 1'000'000'000 + std::int64_t{time.nanoseconds};
}

template <typename Word>
int clockSleepTraced(ClockSleep<Word> next, clockid_t clock, int flags, const SleepTime<Word> *end,
                     SleepTime<Word> *remaining) {
    traceFlush();
    std::int64_t now = 0;
    if (traceIsOn() && (flags & TIMER_ABSTIME) != 0) {
        timespec time = {};
        clock_gettime(clock, &time);
        now = std::int64_t{time.tv_sec} * 1'000'000'000 + std::int64_t{time.tv_nsec};
    }
    const TracedCall made;
    const int error = next(clock, flags, end, remaining);
    if (traceIsOn()) {
        recordSleep(made, TraceSleep::clockNanosleep, (nanosecondsOf(*end) - now) / 1000,
                    error == 0 ? 0 : -1, error);
    }
    return error;
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses)
#define INTERPOSE_TRACED_SELECT(name, word)                                                        \
    INTERPOSE(int, name,                                                                           \
              (int count, fd_set *readable, fd_set *writable, fd_set *exceptional,                 \
               SelectTime<word> *timeout)) {                                                       \
        return selectTraced<word>(NEXT(Select<word>, name), count,                                 \
                                  {readable, writable, exceptional}, timeout);                     \
    }

#define INTERPOSE_TRACED_CLOCK_NANOSLEEP(name, word)                                               \
    INTERPOSE(                                                                                     \
        int, name,                                                                                 \
        (clockid_t clock, int flags, const SleepTime<word> *end, SleepTime<word> *remaining)) {    \
        return clockSleepTraced<word>(NEXT(ClockSleep<word>, name), clock, flags, end, remaining); \
    }
// NOLINTEND(bugprone-macro-parentheses)

INTERPOSE_TRACED_SELECT(select, long)
INTERPOSE_TRACED_CLOCK_NANOSLEEP(clock_nanosleep, long)

INTERPOSE(int, poll, (pollfd * fds, nfds_t count, int milliSec)) {
    return pollTraced(NEXT(Poll, poll), fds, count, milliSec);
}

INTERPOSE(unsigned, sleep, (unsigned seconds)) {
    traceFlush();
    const TracedCall made;
    const unsigned left = NEXT(unsigned (*)(unsigned), sleep)(seconds);
    recordSleep(made, TraceSleep::sleep, std::int64_t{seconds} * 1'000'000, static_cast<int>(left));
    return left;
}

INTERPOSE(int, usleep, (useconds_t microSec)) {
    traceFlush();
    const TracedCall made;
    const int result = NEXT(int (*)(useconds_t), usleep)(microSec);
    recordSleep(made, TraceSleep::usleep, microSec, result);
    return result;
}

#ifdef __GLIBC__
INTERPOSE(int, __poll_chk, (pollfd * fds, nfds_t count, int milliSec, std::size_t room)) {
    if (room / sizeof *fds < count) {
        __builtin_trap();
    }
    return pollTraced(NEXT(Poll, poll), fds, count, milliSec);
}
#endif

#ifndef __LP64__
// Names that 32-bit programs with 64-bit times reach.
#ifdef __GLIBC__
INTERPOSE_TRACED_SELECT(__select64, std::int64_t)
INTERPOSE_TRACED_CLOCK_NANOSLEEP(__clock_nanosleep_time64, std::int64_t)
#else
INTERPOSE_TRACED_SELECT(__select_time64, std::int64_t)
INTERPOSE_TRACED_CLOCK_NANOSLEEP(__clock_nanosleep_time64, std::int64_t)
#endif
#endif
