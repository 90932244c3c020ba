// What a piece of code writes to standard output and standard error.
#pragma once

#include "base/unique_fd.h"

#include <string>

// Both streams while a scope lasts, or until they are asked for.
class Captured {
public:
    Captured();
    Captured(const Captured &) = delete;
    Captured &operator=(const Captured &) = delete;
    ~Captured();

    // Ends the capture.
    struct Texts {
        std::string out;
        std::string err;
    };
    Texts texts();

private:
    UniqueFd saved_[2];
    UniqueFd files_[2];
};

// The text with every match of a regular expression replaced. Only here, since each source that
// includes <regex> takes long to compile.
std::string replaced(const std::string &text, const char *pattern, const char *by);

// The text with the source lines in it shown as '#': they come and go.
std::string withoutLines(const std::string &text);

// Runs `code` and returns what it wrote to standard output, or to standard error, without lines.
template <typename Code>
std::string outputOf(Code code) {
    Captured captured;
    code();
    return withoutLines(captured.texts().out);
}

template <typename Code>
std::string errorsOf(Code code) {
    Captured captured;
    code();
    return withoutLines(captured.texts().err);
}
