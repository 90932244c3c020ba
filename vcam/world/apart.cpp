#include "vcam/world/apart.h"

#include "vcam/camera/text_file.h"
#include "vcam/world/end_request.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <sstream>
#include <string>
#include <utility>

namespace {

// The numbers of a report, in the order in which they are written and read.
template <typename Report, typename Use>
void eachNumber(Report &report, const Use &use) {
    for (auto *const number :
         {&report.log, &report.requests, &report.commands, &report.sound, &report.records,
          &report.lines, &report.requestCount, &report.commandCount, &report.periods,
          &report.underruns, &report.end, &report.failedAt}) {
        use(*number);
    }
}

std::string textOf(const LifeReport &report) {
    std::ostringstream text;
    text << "lived";
    eachNumber(report, [&](std::uint64_t number) { text << ' ' << number; });
    text << ' ' << report.hasEndedByItself << '\n';
    for (const std::uint32_t left : report.faultsLeft) {
        text << "left " << left << '\n';
    }
    for (const std::string &failure : report.failures) {
        text << "fail " << failure << '\n';
    }
    for (const std::string &line : report.daemonLines) {
        text << "line " << line << '\n';
    }
    return text.str();
}

LifeReport reportOf(const std::string &text) {
    std::istringstream in(text);
    std::string word;
    if (!(in >> word) || word != "lived") {
        throw CameraError(text.empty() ? "the life's process has died" : text);
    }
    LifeReport report;
    eachNumber(report, [&](std::uint64_t &number) { in >> number; });
    in >> report.hasEndedByItself;
    std::getline(in, word);
    for (std::string line; in >> word && in.get() && std::getline(in, line);) {
        if (word == "left") {
            report.faultsLeft.push_back(static_cast<std::uint32_t>(std::stoul(line)));
        } else {
            (word == "fail" ? report.failures : report.daemonLines).push_back(line);
        }
    }
    return report;
}

void writeAll(int fd, const std::string &text) {
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t count = write(fd, text.data() + written, text.size() - written);
        if (count <= 0) {
            return;
        }
        written += static_cast<std::size_t>(count);
    }
}

// Moves this process to the `place`-th of its processors.
void moveTo(unsigned place) {
    cpu_set_t all;
    if (sched_getaffinity(0, sizeof all, &all) != 0) {
        return;
    }
    place %= static_cast<unsigned>(CPU_COUNT(&all));
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &all) && place-- == 0) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(processor, &one);
            sched_setaffinity(0, sizeof one, &one);
            return;
        }
    }
}

[[noreturn]] void liveIn(int fd, const std::function<LifeReport()> &life) {
    try {
        writeAll(fd, textOf(life()));
    } catch (const std::exception &error) {
        writeAll(fd, error.what());
    }
    _exit(0);
}

} // namespace

LifeProcess::LifeProcess(const std::function<LifeReport()> &life, unsigned place) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        failAt("cannot make", "a pipe");
    }
    result_.reset(ends[0]);
    const UniqueFd own(ends[1]);
    std::fflush(nullptr);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ < 0) {
        failAt("cannot start", "a process");
    }
    if (pid_ == 0) {
        heedEndRequests();
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        moveTo(place);
        if (getppid() == parent) {
            liveIn(own.get(), life);
        }
        _exit(1);
    }
}

LifeProcess::~LifeProcess() {
    if (pid_ != 0) {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
}

LifeReport LifeProcess::report() {
    std::string text;
    char piece[4096];
    for (ssize_t count = 0; (count = read(result_.get(), piece, sizeof piece)) != 0;) {
        if (count < 0) {
            throwIfEndIsAskedFor();
            continue;
        }
        text.append(piece, static_cast<std::size_t>(count));
    }
    waitpid(std::exchange(pid_, 0), nullptr, 0);
    return reportOf(text);
}
