#include "src/voxo/fifo.h"

#include "base/deadline.h"
#include "base/shown.h"
#include "base/unique_fd.h"
#include "camera/message/message.h"
#include "src/report.h"
#include "src/voxo/clip.h"
#include "src/voxo/context.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr mode_t fifoMode = 0777;
constexpr std::uint32_t receiveRoom = 1024;
constexpr std::uint32_t messageLimit = receiveRoom - 1; // a message is shorter, header and body
constexpr int bodyPatience = 100;                       // milliseconds
constexpr std::uint32_t itemRoom = 60;
constexpr std::uint32_t entryRoom = 10;

bool isFifo(int fd) {
    struct stat status = {};
    return fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

void logReceiveError() {
    syslog(LOG_DEBUG, "Receive FIFO Cmd error!\n");
}

// Reads what is in the pipe or comes into it within so many milliseconds, up to `size` bytes, in
// one piece. -1: nothing is there.
ssize_t readWithin(int milliseconds, int fd, void *buffer, std::size_t size) {
    const Deadline end(milliseconds);
    pollfd watched = {fd, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&watched, 1, static_cast<int>(end.left()));
    } while (ready < 0 && errno == EINTR);
    return ready > 0 ? read(fd, buffer, size) : -1;
}

// Takes at most `length` bytes out of the pipe, as far as they are there.
void drain(int fd, std::uint32_t length) {
    char waste[receiveRoom];
    while (length > 0) {
        const ssize_t count = readWithin(0, fd, waste, std::min<std::size_t>(length, sizeof waste));
        if (count <= 0) {
            return;
        }
        length -= static_cast<std::uint32_t>(count);
    }
}

void obey(const MESSAGE_CONTROL_ENTRY &entry) {
    if (entry.word[MESSAGE_ENTRY_CLASS] != MESSAGE_CLASS_CLIP) {
        return;
    }
    if (entry.word[MESSAGE_ENTRY_VALUE] == MESSAGE_CLIP_START) {
        voxoStartClip();
        std::puts("Get start!!");
    } else {
        std::puts("Get stop!!");
        voxoStopClip();
    }
}

int parseControl(const char *body, std::uint32_t bodyLength) {
    MESSAGE_CONTROL_ENTRY entries[entryRoom] = {};
    std::uint32_t count = entryRoom;
    if (Message_Parse_Control(voxoContext.xmlParser, body, bodyLength, &count, entries) != 0) {
        syslog(LOG_DEBUG, "[FIFO Message] Parse control message error! [LINE:%d]\n", __LINE__);
        return -1;
    }
    std::puts("Get control message!!");
    std::for_each_n(entries, std::min(count, entryRoom), obey);
    return 0;
}

void takeLocation(const char *body, std::uint32_t bodyLength) {
    char item[itemRoom] = {};
    if (Message_Parse_SingleData(voxoContext.xmlParser, body, bodyLength, item, sizeof item) != 0) {
        return;
    }
    static_assert(sizeof voxoContext.clipLocation > itemRoom);
    std::memset(voxoContext.clipLocation, 0, sizeof voxoContext.clipLocation);
    std::memcpy(voxoContext.clipLocation, item, strnlen(item, sizeof item));
    std::printf("Get location: %s\n", voxoContext.clipLocation);
}

int parseData(const char *body, std::uint32_t bodyLength) {
    const std::uint32_t type = Message_GetDataType(voxoContext.xmlParser, body, bodyLength);
    switch (type) {
    case MESSAGE_DATA_MALFORMED:
    case MESSAGE_DATA_INCOMPLETE:
        syslog(LOG_DEBUG, "[FIFO Message] Parse data message error! [LINE:%d]\n", __LINE__);
        return -1;
    case MESSAGE_DATA_LOCATION:
        takeLocation(body, bodyLength);
        return 0;
    default:
        std::printf("Unknown data type: %d\n", shown(type));
        return 0;
    }
}

} // namespace

int voxoInitFIFO() {
    if (access(voxoFifoPath, F_OK) != 0 && mkfifo(voxoFifoPath, fifoMode) != 0) {
        VOXO_REPORT(LOG_WARNING, "Make a FIFO file fail, path = %s\n", voxoFifoPath);
        return -1;
    }
    // Read-write, so that opening does not wait for a writer and the pipe never ends when writers
    // go.
    UniqueFd fd(open(voxoFifoPath, O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const bool isOpen = fd && fd.get() < FD_SETSIZE;
    if (!isOpen || !isFifo(fd.get())) {
        VOXO_REPORT(LOG_WARNING, "Open FIFO fail, path = %s\n", voxoFifoPath);
        if (isOpen) {
            VOXO_REPORT(LOG_WARNING, "%s is no FIFO\n", voxoFifoPath);
        }
        return -1;
    }
    voxoContext.fifoFd = fd.release();
    std::printf("Initial FIFO succeeded, fd = %d\n", voxoContext.fifoFd);
    return 0;
}

int voxoReceiveFIFOCmd(int fd) {
    unsigned char buffer[receiveRoom] = {};
    if (readWithin(0, fd, buffer, MESSAGE_HEADER_LENGTH) <
        static_cast<ssize_t>(MESSAGE_HEADER_LENGTH)) {
        return -1;
    }
    if (buffer[0] < MESSAGE_TYPE_FIRST || buffer[0] > MESSAGE_TYPE_LAST || buffer[1] == 0) {
        return -1;
    }
    std::uint32_t type = 0;
    std::uint32_t headerLength = 0;
    std::uint32_t bodyLength = 0;
    if (Message_GetTypeLength(buffer, MESSAGE_HEADER_LENGTH, &type, &headerLength, &bodyLength) !=
            0 ||
        headerLength < MESSAGE_HEADER_LENGTH) {
        logReceiveError();
        return -1;
    }
    const std::uint64_t rest = std::uint64_t{headerLength} - MESSAGE_HEADER_LENGTH + bodyLength;
    if (MESSAGE_HEADER_LENGTH + rest >= messageLimit) {
        logReceiveError();
        drain(fd, static_cast<std::uint32_t>(std::min<std::uint64_t>(rest, UINT32_MAX)));
        return -1;
    }
    const int patience = rest > 0 ? bodyPatience : 0;
    if (readWithin(patience, fd, buffer + MESSAGE_HEADER_LENGTH, static_cast<std::size_t>(rest)) <=
        0) {
        logReceiveError();
        return -1;
    }
    const auto *const body = reinterpret_cast<const char *>(buffer + headerLength);
    VOXO_REPORT(LOG_DEBUG, "Receive FIFO command: %s\n", body);
    voxoParseFIFOMessage(body, bodyLength, type);
    return 0;
}

int voxoParseFIFOMessage(const char *body, std::uint32_t bodyLength, std::uint32_t type) {
    switch (type) {
    case MESSAGE_TYPE_CONTROL:
        return parseControl(body, bodyLength);
    case MESSAGE_TYPE_DATA:
        return parseData(body, bodyLength);
    default:
        return 0;
    }
}
