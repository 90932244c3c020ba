#include "vcam/world/daemon_output.h"

#include "vcam/camera/text_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace {

// Replaces the number behind `mark`, if there is one.
void maskNumber(std::string &text, const std::string &mark) {
    const std::size_t found = text.find(mark);
    if (found == std::string::npos) {
        return;
    }
    const std::size_t begin = found + mark.size();
    const std::size_t end = std::min(text.find_first_not_of("0123456789", begin), text.size());
    text.erase(begin, end - begin);
    text.insert(begin, 1, '#');
}

} // namespace

DaemonOutput::DaemonOutput(std::filesystem::path file)
    : file_(std::move(file)),
      fd_(open(file_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600)) {
    if (!fd_) {
        failAt("cannot write", file_);
    }
}

void DaemonOutput::redirect() const {
    dup2(fd_.get(), STDOUT_FILENO);
    dup2(fd_.get(), STDERR_FILENO);
}

void DaemonOutput::daemonStarted(pid_t pid) {
    pid_ = std::string("(").append(std::to_string(pid)).append(")");
}

void DaemonOutput::collect(const std::function<void(const std::string &line)> &use) {
    char piece[4096];
    for (ssize_t count = 0; (count = pread(fd_.get(), piece, sizeof piece, read_)) > 0;) {
        read_ += count;
        begun_.append(piece, static_cast<std::size_t>(count));
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = begun_.find('\n', begin)) != std::string::npos;
             begin = end + 1) {
            use(masked(begun_.substr(begin, end - begin)));
        }
        begun_.erase(0, begin);
    }
}

void DaemonOutput::finish(const std::function<void(const std::string &line)> &use) {
    collect(use);
    if (!begun_.empty()) {
        use(masked(std::exchange(begun_, {})));
    }
}

std::string DaemonOutput::masked(std::string text) const {
    if (const std::size_t found = text.find(pid_); found != std::string::npos && !pid_.empty()) {
        text.erase(found + 1, pid_.size() - 2);
        text.insert(found + 1, 1, '#');
    }
    maskNumber(text, "fd = ");
    return text;
}
