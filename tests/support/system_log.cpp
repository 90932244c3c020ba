#include "tests/support/system_log.h"

#include "vcam/preload/interpose.h"

#include <syslog.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace {

// Plain memory: the log must not allocate behind the back of a test that counts.
char logged[1 << 16];
std::size_t loggedLength;

void log(int level, const char *format, va_list arguments) {
    const auto add = [](int length) {
        loggedLength = std::min(loggedLength + static_cast<std::size_t>(length), sizeof logged - 1);
    };
    add(std::snprintf(logged + loggedLength, sizeof logged - loggedLength, "%s ",
                      level == LOG_WARNING ? "warning" : "debug"));
    add(std::vsnprintf(logged + loggedLength, sizeof logged - loggedLength, format, arguments));
}

} // namespace

std::string takeSystemLog() {
    std::string text(logged, loggedLength);
    loggedLength = 0;
    return text;
}

#define LOG_LISTS(name, parameters)                                                                \
    INTERPOSE(void, name, parameters) {                                                            \
        log(level, format, arguments);                                                             \
    }
#define LOG_ARGUMENTS(name, parameters)                                                            \
    INTERPOSE(void, name, parameters) {                                                            \
        va_list arguments;                                                                         \
        va_start(arguments, format);                                                               \
        log(level, format, arguments);                                                             \
        va_end(arguments);                                                                         \
    }

LOG_LISTS(vsyslog, (int level, const char *format, va_list arguments))
LOG_ARGUMENTS(syslog, (int level, const char *format, ...))
// What a fortified build calls.
LOG_LISTS(__vsyslog_chk, (int level, int /*flag*/, const char *format, va_list arguments))
LOG_ARGUMENTS(__syslog_chk, (int level, int /*flag*/, const char *format, ...))
