#include "tests/support/captured.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <regex>

namespace {

constexpr int streams[2] = {STDOUT_FILENO, STDERR_FILENO};

std::string readAll(int fd) {
    std::string text;
    char part[4096];
    lseek(fd, 0, SEEK_SET);
    for (ssize_t count = 0; (count = ::read(fd, part, sizeof part)) > 0;) {
        text.append(part, static_cast<std::size_t>(count));
    }
    return text;
}

} // namespace

Captured::Captured() {
    std::fflush(nullptr);
    for (int i = 0; i < 2; ++i) {
        saved_[i] = dup(streams[i]);
        files_[i] = memfd_create("captured", MFD_CLOEXEC);
        dup2(files_[i], streams[i]);
    }
}

Captured::~Captured() {
    texts();
}

Captured::Texts Captured::texts() {
    if (saved_[0] < 0) {
        return {};
    }
    std::fflush(nullptr);
    std::string texts[2];
    for (int i = 0; i < 2; ++i) {
        texts[i] = readAll(files_[i]);
        dup2(saved_[i], streams[i]);
        close(saved_[i]);
        close(files_[i]);
        saved_[i] = -1;
    }
    return {texts[0], texts[1]};
}

std::string withoutLines(const std::string &text) {
    static const std::regex lines(R"((src/voxo(_g711)?|\[Line\]):\d+)");
    return std::regex_replace(text, lines, "$1:#");
}
