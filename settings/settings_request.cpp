#include "settings/settings_request.h"

#include "base/deadline.h"
#include "base/unique_fd.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

constexpr char socketPath[] = "/tmp/tessel";
constexpr std::size_t textRoom = 8192;
constexpr std::size_t textLimit = textRoom - 1; // with the terminator: 8190 characters are sent
constexpr std::size_t pieceRoom = 1024;
constexpr std::int64_t patience = 10'000; // milliseconds

bool isAcceptable(const SETTINGS_REQUEST &request) {
    return request.method[0] != '\0' && request.body != nullptr &&
           request.kind <= SETTINGS_KIND_APPLY &&
           (request.kind != SETTINGS_KIND_APPLY || request.applyArgument[0] != '\0');
}

// Fields that lack their terminator end with the field.
int lengthOf(const char *field, std::size_t size) {
    return static_cast<int>(strnlen(field, size));
}

void formatText(const SETTINGS_REQUEST &request, char (&text)[textRoom]) {
    const char *const method = request.method;
    const int methodLength = lengthOf(method, sizeof request.method);
    switch (request.kind) {
    case SETTINGS_KIND_GET:
        std::snprintf(text, textLimit, "get %.*s %d %d\n%s", methodLength, method, request.number1,
                      request.number3, request.body);
        break;
    case SETTINGS_KIND_SET:
        std::snprintf(text, textLimit, "set %.*s %d %d %d\n%s", methodLength, method,
                      request.number1, request.number2, request.number3, request.body);
        break;
    default:
        std::snprintf(text, textLimit, "apply %.*s %d %d %.*s\n%s", methodLength, method,
                      request.number1, request.number2,
                      lengthOf(request.applyArgument, sizeof request.applyArgument),
                      request.applyArgument, request.body);
        break;
    }
}

// Lets the socket wait so many milliseconds for what `option` names.
bool limitWait(int fd, int option, std::int64_t milliseconds) {
    timeval timeout = {};
    timeout.tv_sec = static_cast<time_t>(milliseconds / 1000);
    timeout.tv_usec = static_cast<suseconds_t>(milliseconds % 1000 * 1000);
    return setsockopt(fd, SOL_SOCKET, option, &timeout, sizeof timeout) == 0;
}

// Makes a call that waits for the daemon, and makes it again when a signal has ended it, until
// there is no patience left. A daemon that hangs with a full queue of callers would hold it for
// ever; without the limit it works as well, so that a refusal is no matter.
template <typename Call>
ssize_t waitOut(int fd, Call call) {
    const Deadline end(patience);
    std::int64_t left = patience;
    ssize_t result = 0;
    do {
        limitWait(fd, SO_SNDTIMEO, left);
        result = call();
        left = end.left();
    } while (result < 0 && errno == EINTR && left > 0);
    return result;
}

UniqueFd connectToDaemon() {
    UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd) {
        std::printf("cannot create socket (%d).%s\n", errno, std::strerror(errno));
        return fd;
    }
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    static_assert(sizeof socketPath <= sizeof address.sun_path);
    std::memcpy(address.sun_path, socketPath, sizeof socketPath);
    const auto length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof socketPath - 1);
    const ssize_t result = waitOut(fd.get(), [&] {
        return connect(fd.get(), reinterpret_cast<const sockaddr *>(&address), length);
    });
    if (result != 0) {
        std::printf("connect failed!");
        fd.reset();
    }
    return fd;
}

// A daemon that has gone must not end this process with a signal, so the text is not sent with
// write().
void sendText(int fd, const char *text) {
    const std::size_t length = std::strlen(text);
    const ssize_t sent = waitOut(fd, [&] { return send(fd, text, length, MSG_NOSIGNAL); });
    if (sent != static_cast<ssize_t>(length)) {
        std::printf("write socket %d byte, but return %d\n", static_cast<int>(length),
                    static_cast<int>(sent));
    }
}

std::int32_t reportFailedRead() {
    const int error = errno;
    std::printf(error == EAGAIN ? "Read timeout (%d). %s\n" : "Read failed (%d). %s\n", error,
                std::strerror(error));
    return -1;
}

std::int32_t readReply(int fd, char *reply, std::uint32_t room) {
    const ssize_t count = read(fd, reply, room);
    if (count < 0) {
        return reportFailedRead();
    }
    if (static_cast<std::size_t>(count) >= room) {
        return -1;
    }
    reply[count] = '\0';
    return 0;
}

std::int32_t printReply(int fd) {
    for (;;) {
        char piece[pieceRoom] = {};
        const ssize_t count = read(fd, piece, sizeof piece - 1);
        if (count < 0) {
            return reportFailedRead();
        }
        if (count == 0) {
            return 0;
        }
        std::printf("%s", piece);
    }
}

} // namespace

std::int32_t settings_request(const SETTINGS_REQUEST *request, char *reply, std::uint32_t room) {
    if (!isAcceptable(*request)) {
        return -1;
    }
    char text[textRoom] = {};
    formatText(*request, text);
    const UniqueFd fd = connectToDaemon();
    if (!fd) {
        return -1;
    }
    sendText(fd.get(), text);
    if (!limitWait(fd.get(), SO_RCVTIMEO, patience)) {
        std::printf("Socket option SO_RCVTIMEO not support");
        return -1;
    }
    return reply != nullptr ? readReply(fd.get(), reply, room) : printReply(fd.get());
}
