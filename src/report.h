// How the daemon and its decoder module report: every report goes to standard output behind the
// prefix "[voxo] file:line: " and, bare, to the system log.
#pragma once

#include <syslog.h>

#include <cstdarg>
#include <cstdio>

// Reports `format` with its arguments as coming from `line` of `file`. `level` is the system log's:
// LOG_WARNING for failures, LOG_DEBUG for progress.
[[gnu::format(printf, 4, 5)]] inline void reportFrom(const char *file, int line, int level,
                                                     const char *format, ...) {
    va_list arguments;
    std::printf("[voxo] %s:%d: ", file, line);
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
    va_start(arguments, format);
    vsyslog(level, format, arguments);
    va_end(arguments);
}

// Reports from the line it stands in. The including folder names itself in kSourceFile.
#define VOXO_REPORT(level, ...) reportFrom(kSourceFile, __LINE__, level, __VA_ARGS__)

// The same for texts that name the place themselves as well: `format` begins behind "%s:%d".
#define VOXO_REPORT_AT(level, format, ...)                                                         \
    reportFrom(kSourceFile, __LINE__, level, "%s:%d" format, kSourceFile,                          \
               __LINE__ __VA_OPT__(, ) __VA_ARGS__)
