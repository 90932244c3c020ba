#include "src/voxo/input.h"

#include "src/voxo/context.h"
#include "src/voxo/fifo.h"

#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace {

// Empty datagrams end a call before it looks at the FIFO. After so many in a row with a message
// waiting, the next call looks at nothing else, so that no sender can keep messages from being
// heard.
constexpr int longestPassing = 8;
int passed = 0;

} // namespace

int voxoWaitInput(int fd, void *buffer, std::uint32_t size, int wait) {
    const bool hasFifo = voxoContext.audioclipCapability != 0;
    const int fifo = voxoContext.fifoFd;
    fd_set readable;
    FD_ZERO(&readable);
    if (!hasFifo || passed < longestPassing) {
        FD_SET(fd, &readable);
    }
    if (hasFifo) {
        FD_SET(fifo, &readable);
    }
    timeval timeout = {};
    timeout.tv_sec = wait != 0 ? 1 : 0;
    const int highest = hasFifo ? std::max(fd, fifo) : fd;
    if (select(highest + 1, &readable, nullptr, nullptr, &timeout) <= 0) {
        passed = 0; // another reader may have taken the message
        return -1;
    }
    const bool hasMessage = hasFifo && FD_ISSET(fifo, &readable);
    passed = hasMessage ? passed + 1 : 0;
    bool hasDatagram = false;
    if (FD_ISSET(fd, &readable)) {
        const ssize_t count = read(fd, buffer, size);
        if (count <= 0) {
            return -1;
        }
        recvLength = static_cast<std::uint32_t>(count);
        hasDatagram = true;
    }
    passed = 0;
    if (hasMessage && voxoReceiveFIFOCmd(fifo) != 0) {
        std::puts("voxoReceiveFIFOCmd fail");
        return -1;
    }
    return hasDatagram ? 0 : -1;
}
