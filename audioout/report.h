// How the output layers report: on standard output, behind the function and line of the report.
#pragma once

#include <cstdio>

// "[Func]:%s [Line]:%d [Info]:" and whatever `format` makes of the arguments.
#define AUDIOOUT_REPORT(format, ...)                                                               \
    std::printf("[Func]:%s [Line]:%d [Info]:" format, __func__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

// A plain text.
#define AUDIOOUT_REPORT_TEXT(text) AUDIOOUT_REPORT("%s\n", text)

// A text with the error code of the platform call that failed.
#define AUDIOOUT_REPORT_ERROR(text, error)                                                         \
    AUDIOOUT_REPORT("%s - ErrCode(%10x)\n", text, static_cast<unsigned>(error))
