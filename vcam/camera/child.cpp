#include "vcam/camera/child.h"

#include "vcam/camera/camera.h"
#include "vcam/camera/environment.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

namespace {

constexpr int cannotExecute = 127;

timespec timeLeft(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::max(deadline - std::chrono::steady_clock::now(),
                               std::chrono::steady_clock::duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    timespec result = {};
    result.tv_sec = static_cast<time_t>(seconds.count());
    result.tv_nsec = static_cast<long>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(left - seconds).count());
    return result;
}

} // namespace

Child::~Child() {
    if (pid_ != 0) {
        killAndForget();
    }
}

void Child::start(const std::vector<std::string> &command, const std::function<void()> &prepare) {
    const std::vector<char *> arguments = argumentsOf(command);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ < 0) {
        throw CameraError(std::string("cannot start a process: ") + std::strerror(errno));
    }
    if (pid_ > 0) {
        return;
    }
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) {
        _exit(cannotExecute);
    }
    sigset_t none = {};
    sigprocmask(SIG_SETMASK, &none, nullptr);
    try {
        prepare();
        execvp(arguments[0], arguments.data());
        std::cerr << "vcam: cannot run " << command[0] << ": " << std::strerror(errno) << '\n';
    } catch (const std::exception &error) {
        std::cerr << "vcam: " << error.what() << '\n';
    }
    _exit(cannotExecute);
}

std::optional<int> Child::poll() {
    int status = 0;
    if (pid_ == 0 || waitpid(pid_, &status, WNOHANG) != pid_) {
        return std::nullopt;
    }
    pid_ = 0;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int Child::end(const sigset_t &signals, std::chrono::seconds patience,
               const std::function<void()> &onEncoder) {
    if (pid_ == 0) {
        return 0;
    }
    kill(SIGCONT); // first: while it ends, a leak checker may have it stopped
    kill(SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        if (const std::optional<int> status = poll()) {
            return *status == 0 ? 0 : 1;
        }
        const timespec left = timeLeft(deadline);
        const int signal = sigtimedwait(&signals, nullptr, &left);
        if (signal == SIGUSR1) {
            onEncoder();
        } else if (signal == SIGINT || signal == SIGTERM || (signal < 0 && errno == EAGAIN)) {
            std::cerr << (signal < 0 ? "vcam: voxo does not end in time and is killed\n"
                                     : "vcam: told to end a second time: voxo is killed\n");
            killAndForget();
            return 1;
        }
    }
}

void Child::endByForce() const {
    kill(SIGKILL);
    siginfo_t ignored = {};
    while (waitid(P_PID, static_cast<id_t>(pid_), &ignored, WEXITED | WNOWAIT) < 0 &&
           errno == EINTR) {
    }
}

void Child::killAndForget() {
    kill(SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = 0;
}

void Child::kill(int signal) const {
    ::kill(pid_, signal);
}
