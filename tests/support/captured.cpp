#include "tests/support/captured.h"

#include "tests/support/temporary.h"

#include <sys/mman.h>

#include <cstdio>
#include <regex>

namespace {

constexpr int streams[2] = {STDOUT_FILENO, STDERR_FILENO};

} // namespace

Captured::Captured() {
    std::fflush(nullptr);
    for (int i = 0; i < 2; ++i) {
        saved_[i].reset(dup(streams[i]));
        files_[i].reset(memfd_create("captured", MFD_CLOEXEC));
        dup2(files_[i].get(), streams[i]);
    }
}

Captured::~Captured() {
    texts();
}

Captured::Texts Captured::texts() {
    std::fflush(nullptr);
    std::string texts[2];
    for (int i = 0; i < 2 && saved_[i]; ++i) {
        dup2(saved_[i].get(), streams[i]);
        saved_[i].reset();
        texts[i] = contentsOf("/proc/self/fd/" + std::to_string(files_[i].get()));
    }
    return {texts[0], texts[1]};
}

std::string replaced(const std::string &text, const char *pattern, const char *by) {
    return std::regex_replace(text, std::regex(pattern), by);
}

std::string withoutLines(const std::string &text) {
    return replaced(text, R"((src/voxo(_g711)?|\[Line\]):\d+)", "$1:#");
}
