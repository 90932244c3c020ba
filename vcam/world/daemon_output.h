// What the daemon prints, line by line.
#pragma once

#include "base/unique_fd.h"

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>

class DaemonOutput {
public:
    explicit DaemonOutput(std::filesystem::path file);

    // In the daemon's process, before it begins: sends what it prints to the file.
    void redirect() const;

    // The daemon that runs from here on.
    void daemonStarted(pid_t pid);

    // Reads what has been printed since. `use` gets each line, with the daemon's process id, which
    // is another one in each life, and its numbers of descriptors masked.
    void collect(const std::function<void(const std::string &line)> &use);

    // The daemon has ended: what it printed last may lack its end of line.
    void finish(const std::function<void(const std::string &line)> &use);

    // A text with what differs from life to life masked.
    std::string masked(std::string text) const;

private:
    std::filesystem::path file_;
    UniqueFd fd_;
    off_t read_ = 0;
    std::string begun_; // of a line
    std::string pid_;
};
