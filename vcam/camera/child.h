// The daemon as this process's child.
#pragma once

#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

class Child {
public:
    Child() = default;
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child();

    // Starts a program in a process group of its own, so that a Ctrl-C reaches only this process.
    // It is told to end when this process dies. `prepare` runs in the child.
    void start(const std::vector<std::string> &command, const std::function<void()> &prepare);

    // Its process id; 0 when there is none, or none any more.
    pid_t pid() const { return pid_; }

    // Its exit status if it has ended (128 and the signal's number if one ended it).
    std::optional<int> poll();

    // Ends it by force, and waits until nothing of it is left but its exit status for `poll`.
    void endByForce() const;

    // Ends it in order, and after `patience`, or at a second signal to end, by force. `onEncoder`
    // is called for each SIGUSR1 on the way. Returns the exit status for this process: that of an
    // orderly child, or 1.
    int end(const sigset_t &signals, std::chrono::seconds patience,
            const std::function<void()> &onEncoder);

private:
    void kill(int signal) const;
    void killAndForget();

    pid_t pid_ = 0;
};
