#include "mpp/code/mpp_report.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>

void mppReport(CallSite site, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    flockfile(stderr);
    std::fprintf(stderr, "[Func]:%s [Line]:%d [Info]:", site.function, site.line);
    std::vfprintf(stderr, format, arguments);
    funlockfile(stderr);
    va_end(arguments);
}

void mppAssert(bool holds, const char *condition, CallSite site) {
    if (holds) {
        return;
    }
    mppReport(site, "ASSERT\n  condition: %s\n  function:  %s\n  line:      %d\n", condition,
              site.function, site.line);
    _exit(-1);
}
