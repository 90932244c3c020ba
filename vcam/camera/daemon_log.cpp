#include "vcam/camera/daemon_log.h"

#include "vcam/camera/camera.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

namespace {

constexpr int lookMilliSec = 50;

void showLine(const std::string &line) {
    std::cout << line << std::endl;
}

} // namespace

DaemonLog::DaemonLog(const std::filesystem::path &file)
    : file_(file), folds_(isatty(STDOUT_FILENO) != 0), folder_(showLine) {
    int ends[2] = {};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw CameraError(std::string("cannot make a pipe: ") + std::strerror(errno));
    }
    in_.reset(ends[0]);
    out_.reset(ends[1]);
    thread_ = std::jthread([this](const std::stop_token &stop) { collect(stop); });
}

DaemonLog::~DaemonLog() {
    daemonEnded();
}

void DaemonLog::redirect() const {
    dup2(out_.get(), STDOUT_FILENO);
    dup2(out_.get(), STDERR_FILENO);
}

void DaemonLog::daemonStarted() {
    out_.reset();
}

void DaemonLog::daemonEnded() {
    out_.reset();
    if (thread_.joinable()) {
        thread_.request_stop();
        thread_.join();
    }
}

// Until the daemon's end of the pipe is closed, or nothing more comes from it after its end.
void DaemonLog::collect(const std::stop_token &stop) {
    for (;;) {
        pollfd waiting = {in_.get(), POLLIN, 0};
        if (poll(&waiting, 1, lookMilliSec) <= 0) {
            if (stop.stop_requested()) {
                break;
            }
            continue;
        }
        char piece[4096];
        const ssize_t count = read(in_.get(), piece, sizeof piece);
        if (count <= 0) {
            break;
        }
        take({piece, static_cast<std::size_t>(count)});
    }
    if (!begun_.empty()) {
        show(begun_);
    }
    folder_.flush();
}

void DaemonLog::take(const std::string &piece) {
    begun_ += piece;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = begun_.find('\n', begin)) != std::string::npos;
         begin = end + 1) {
        show(begun_.substr(begin, end - begin));
    }
    begun_.erase(0, begin);
}

void DaemonLog::show(const std::string &line) {
    file_.line(line);
    if (folds_) {
        folder_.line(line);
    } else {
        showLine(line);
    }
}
