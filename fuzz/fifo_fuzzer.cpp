// Bytes in the control FIFO: each read goes on, what is refused changes nothing, and the messages
// that follow are obeyed.
#include "src/voxo/fifo.h"

#include "camera/message/message.h"
#include "fuzz/fuzz.h"
#include "tests/daemon/daemon_fixture.h"
#include "vcam/preload/interpose.h"
#include "vcam/sender/message_sender.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>

namespace {

struct FifoFuzz : DaemonTest {
    FifoFuzz() {
        device().keepsCalls = false;
        voxoContext.xmlParser = XML_ParserCreate(nullptr);
        require(voxoInitFIFO() == 0, "there is a FIFO");
    }
    void TestBody() override {}
};

int waiting() {
    int count = 0;
    ioctl(voxoContext.fifoFd, FIONREAD, &count);
    return count;
}

// Writes the bytes and handles what they hold.
void handle(const std::string &bytes) {
    const int fifo = voxoContext.fifoFd;
    require(write(fifo, bytes.data(), bytes.size()) >= 0, "the FIFO was read empty");
    for (int left = waiting(); left > 0; left = waiting()) {
        const std::string location = voxoContext.clipLocation;
        const std::int32_t start = clipStart;
        const bool isTaken = voxoReceiveFIFOCmd(fifo) == 0;
        require(waiting() < left, "each read goes on");
        require(isTaken || (location == voxoContext.clipLocation && start == clipStart),
                "what is refused changes nothing");
        require(strnlen(voxoContext.clipLocation, 60) < 60, "a location fits its item");
    }
}

} // namespace

// Nobody writes while the daemon waits for a body.
INTERPOSE(int, poll, (pollfd * fds, nfds_t count, int)) {
    timespec none = {};
    return static_cast<int>(syscall(SYS_ppoll, fds, count, &none, nullptr, 0));
}

void fuzz(Input input) {
    static FifoFuzz fifo;
    handle(input.text(32768));
    handle(locationMessage("/good"));
    require(std::strcmp("/good", voxoContext.clipLocation) == 0, "a location is taken");
    for (const std::uint32_t start : {MESSAGE_CLIP_START, MESSAGE_CLIP_STOP}) {
        handle(clipMessage(start));
        require(clipStart == static_cast<std::int32_t>(start), "an order is obeyed");
    }
    takeSystemLog();
}
