#include "vcam/board/board_time.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>

namespace {

// 32-bit targets whose C library has 64-bit times reach the kernel by another number.
#ifdef SYS_futex_time64
constexpr long futexCall = sizeof(time_t) > sizeof(long) ? SYS_futex_time64 : SYS_futex;
#else
constexpr long futexCall = SYS_futex;
#endif

// Callers wait in loops, so a longer wait may end early; its length must fit 32 bits of seconds.
constexpr std::uint64_t longestWait = 3600 * nanosecondsPerSecond;

} // namespace

std::uint64_t SystemBoardTime::now() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * nanosecondsPerSecond +
           static_cast<std::uint64_t>(time.tv_nsec);
}

void SystemBoardTime::waitForChange(Register &word, std::uint32_t seen, std::uint64_t deadline) {
    const int error = errno;
    const std::uint64_t time = now();
    if (time < deadline) {
        const std::uint64_t left = std::min(deadline - time, longestWait);
        timespec timeout = {};
        timeout.tv_sec = static_cast<time_t>(left / nanosecondsPerSecond);
        timeout.tv_nsec = static_cast<long>(left % nanosecondsPerSecond);
        syscall(futexCall, &word, FUTEX_WAIT, seen, &timeout, nullptr, 0);
    }
    errno = error;
}

void SystemBoardTime::wake(Register &word) {
    const int error = errno;
    syscall(futexCall, &word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
    errno = error;
}
