#include "vcam/preload/world_socket.h"

#include "vcam/preload/board_process.h"
#include "vcam/preload/world_turn.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {

constexpr int descriptorCount = 1024;

std::atomic<bool> isConnected[descriptorCount];

bool isWaitedAt(int fd) {
    return fd >= 0 && fd < descriptorCount && isConnected[fd];
}

bool wouldNotWait(ssize_t result) {
    return result >= 0 || errno != EAGAIN;
}

// When a wait that begins now is to end, by the socket's option.
std::uint64_t endOfWait(int fd, int option) {
    timeval timeout = {};
    socklen_t size = sizeof timeout;
    getsockopt(fd, SOL_SOCKET, option, &timeout, &size);
    const std::uint64_t length =
        static_cast<std::uint64_t>(timeout.tv_sec) * nanosecondsPerSecond +
        static_cast<std::uint64_t>(timeout.tv_usec) * nanosecondsPerMicrosecond;
    return length == 0 ? endOfTime : virtualNow() + length;
}

#ifdef SYS_fcntl64
constexpr long controlCall = SYS_fcntl64;
#else
constexpr long controlCall = SYS_fcntl;
#endif

} // namespace

int connectSocket(int fd, const sockaddr *address, socklen_t length) {
    const auto connectNow = [&] {
        return static_cast<int>(syscall(SYS_connect, fd, address, length));
    };
    if (!isTimeVirtual()) {
        return connectNow();
    }
    ++processBoard().registers.world.callers;
    const auto flags = syscall(controlCall, fd, F_GETFL);
    syscall(controlCall, fd, F_SETFL, flags | O_NONBLOCK);
    const int result = callInWorld(endOfWait(fd, SO_SNDTIMEO), connectNow, wouldNotWait);
    const int error = errno;
    syscall(controlCall, fd, F_SETFL, flags);
    errno = error;
    if (result == 0) {
        ++processBoard().registers.world.callers; // the server has looked in vain meanwhile
        if (fd < descriptorCount) {
            isConnected[fd] = true;
        }
    }
    return result;
}

ssize_t readFromFile(int fd, void *buffer, std::size_t size) {
    if (!isWaitedAt(fd)) {
        return syscall(SYS_read, fd, buffer, size);
    }
    const auto receive = [&] { return recv(fd, buffer, size, MSG_DONTWAIT); };
    return callInWorld(endOfWait(fd, SO_RCVTIMEO), receive, wouldNotWait);
}

void forgetSocket(int fd) {
    if (isWaitedAt(fd)) {
        isConnected[fd] = false;
    }
}
