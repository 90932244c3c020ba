// The optional last argument of calls that are variadic to the compiler only.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <cstdarg>

inline bool takesMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

// Takes the optional last argument of a call.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define OPTIONAL_ARGUMENT(type, last, name)                                                        \
    va_list arguments;                                                                             \
    va_start(arguments, last);                                                                     \
    const auto name = va_arg(arguments, type);                                                     \
    va_end(arguments)
// NOLINTEND(bugprone-macro-parentheses)

#define OPTIONAL_MODE(flags)                                                                       \
    mode_t mode = 0;                                                                               \
    if (takesMode(flags)) {                                                                        \
        OPTIONAL_ARGUMENT(unsigned, flags, given);                                                 \
        mode = given;                                                                              \
    }
