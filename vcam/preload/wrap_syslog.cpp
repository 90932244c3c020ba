// The system log. The C library reaches "/dev/log" by calls of its own, so the log's calls
// themselves are the camera's: they send what they are given to the log socket in the camera's
// directory.
#include "vcam/camera/camera_paths.h"
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"
#include "vcam/preload/world_turn.h"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr std::size_t messageRoom = 2048;

const char *identity = "";
int facility = LOG_USER;

void send(const char *message, std::size_t length) {
    if (isTimeVirtual()) {
        logInWorld(message, length);
        return;
    }
    sockaddr_un address = {};
    const std::size_t addressLength =
        socketAddressOf(cameraDir(), cameraDirFd(), logSocketPath, &address);
    const long fd = syscall(SYS_socket, AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd >= 0) {
        syscall(SYS_sendto, fd, message, length, MSG_NOSIGNAL, &address, addressLength);
        syscall(SYS_close, fd);
    }
}

void log(int priority, const char *format, va_list arguments) {
    if (cameraDir() == nullptr) {
        return;
    }
    const int error = errno;
    char message[messageRoom];
    const int whole = (priority & LOG_FACMASK) != 0 ? priority : priority | facility;
    const int prefix = std::snprintf(message, sizeof message, "<%d>%s: ", whole, identity);
    const int text = std::vsnprintf(
        message + prefix, sizeof message - static_cast<std::size_t>(prefix), format, arguments);
    const std::size_t length =
        std::min(static_cast<std::size_t>(prefix) + static_cast<std::size_t>(std::max(text, 0)),
                 sizeof message - 1);
    send(message, length);
    errno = error;
}

} // namespace

INTERPOSE(void, openlog, (const char *name, int /*option*/, int defaultFacility)) {
    identity = name != nullptr ? name : "";
    facility = defaultFacility != 0 ? defaultFacility : LOG_USER;
}

INTERPOSE(void, closelog, ()) {}

INTERPOSE(void, vsyslog, (int priority, const char *format, va_list arguments)) {
    log(priority, format, arguments);
}

INTERPOSE(void, syslog, (int priority, const char *format, ...)) {
    va_list arguments;
    va_start(arguments, format);
    log(priority, format, arguments);
    va_end(arguments);
}

INTERPOSE(void, __vsyslog_chk,
          (int priority, int /*flag*/, const char *format, va_list arguments)) {
    log(priority, format, arguments);
}

INTERPOSE(void, __syslog_chk, (int priority, int /*flag*/, const char *format, ...)) {
    va_list arguments;
    va_start(arguments, format);
    log(priority, format, arguments);
    va_end(arguments);
}
