// What the daemon prints: whole in a file, and on the terminal of who runs the camera.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/line_folder.h"
#include "vcam/camera/log_file.h"

#include <filesystem>
#include <string>
#include <thread>

class DaemonLog {
public:
    // Begins the file anew. Throws when it cannot. On a terminal, lines that repeat are folded.
    explicit DaemonLog(const std::filesystem::path &file);
    DaemonLog(const DaemonLog &) = delete;
    DaemonLog &operator=(const DaemonLog &) = delete;
    ~DaemonLog();

    // In the daemon's process: what it prints comes here.
    void redirect() const;
    // In this one, once the daemon has been started.
    void daemonStarted();
    // Once it has ended: waits until all that it has printed is shown.
    void daemonEnded();

private:
    void collect(const std::stop_token &stop);
    void take(const std::string &piece);
    void show(const std::string &line);

    LogFile file_;
    const bool folds_;
    LineFolder folder_;
    std::string begun_; // a line without its end
    UniqueFd in_;
    UniqueFd out_; // the daemon's
    std::jthread thread_;
};
