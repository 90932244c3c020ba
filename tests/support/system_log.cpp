#include "tests/support/system_log.h"

#include "vcam/preload/interpose.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// Plain memory: the log must not allocate behind the back of a test that counts.
char logged[1 << 16];
std::size_t loggedLength;

void log(int level, const char *format, va_list arguments) {
    const std::size_t room = sizeof logged - loggedLength;
    const char *const name = level == LOG_WARNING ? "warning " : "debug ";
    int length = std::snprintf(logged + loggedLength, room, "%s", name);
    length +=
        std::vsnprintf(logged + loggedLength + length, room - std::strlen(name), format, arguments);
    if (static_cast<std::size_t>(length) < room) {
        loggedLength += static_cast<std::size_t>(length);
    } else {
        loggedLength = 0;
    }
}

} // namespace

std::string takeSystemLog() {
    std::string text(logged, loggedLength);
    loggedLength = 0;
    return text;
}

INTERPOSE(void, vsyslog, (int level, const char *format, va_list arguments)) {
    log(level, format, arguments);
}

INTERPOSE(void, syslog, (int level, const char *format, ...)) {
    va_list arguments;
    va_start(arguments, format);
    log(level, format, arguments);
    va_end(arguments);
}
