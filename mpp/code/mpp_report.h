// How the media platform reports: on standard error, each message behind the place it comes from.
#pragma once

#include "base/shown.h"

// The place a report names: an operation and its line. As the default argument of a check it is the
// place of the check's caller.
struct CallSite {
    const char *function;
    int line;

    static constexpr CallSite here(const char *function = __builtin_FUNCTION(),
                                   int line = __builtin_LINE()) {
        return {function, line};
    }
};

// Writes "[Func]:%s [Line]:%d [Info]:" with the place, and the message.
[[gnu::format(printf, 2, 3)]] void mppReport(CallSite site, const char *format, ...);

// Ends the process with status -1, after the assertion block, unless the condition holds. For
// broken invariants of the platform itself, never for what a caller or a driver hands in.
void mppAssert(bool holds, const char *condition, CallSite site = CallSite::here());
