#include "tests/support/camera_process.h"

#include "vcam/camera/camera.h"
#include "vcam/camera/text_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sndfile.hh>

#include <cstdlib>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

void start(Child &child, const std::vector<std::string> &command, const std::string &out,
           const std::string &err) {
    child.start(command, [&] {
        dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDOUT_FILENO);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
    });
}

int waitFor(Child &child, std::chrono::seconds patience) {
    int status = -1;
    eventually([&] { return (status = child.poll().value_or(-1)) != -1; }, patience);
    return status;
}

fs::path underTest(const std::string &file) {
    const char *const voxo = std::getenv("VCAM_VOXO");
    const fs::path program = voxo != nullptr ? voxo : fs::read_symlink("/proc/self/exe");
    return program.parent_path().parent_path() / file;
}

std::string vcamPath() {
    return fs::read_symlink("/proc/self/exe").replace_filename("vcam");
}

Finished runProgram(const std::vector<std::string> &command) {
    const TemporaryDirectory dir;
    const std::string out = dir.path() / "out";
    const std::string err = dir.path() / "err";
    Child child;
    start(child, command, out, err);
    const int status = waitFor(child);
    return {status, contentsOf(out), contentsOf(err)};
}

bool eventually(const std::function<bool()> &holds, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

CameraProcess::CameraProcess(std::vector<std::string> options)
    : logFile_(dir_.path().string() + ".log") {
    std::vector<std::string> command = {vcamPath(), "--dir", dir_.path(), "run"};
    command.insert(command.end(), options.begin(), options.end());
    start(child_, command, logFile_, logFile_);
    eventually([this] { return isReady() || child_.poll(); });
}

CameraProcess::~CameraProcess() {
    end(SIGTERM);
    std::error_code ignored;
    fs::remove(logFile_, ignored);
}

bool CameraProcess::isReady() const {
    return outputHolds("G.711Dec initialized!") || outputHolds("vcam: the board is up");
}

Finished CameraProcess::vcam(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {vcamPath(), "--dir", dir_.path()});
    return runProgram(arguments);
}

void CameraProcess::expectPlaysSpeech(const std::string &law) const {
    const Finished cast = vcam({"cast", speech, law, "--fast", "--check"});
    EXPECT_EQ(0, cast.status) << cast.out << cast.err;
}

std::string CameraProcess::output() const {
    return contentsOf(logFile_);
}

bool CameraProcess::outputHolds(const std::string &text) const {
    return output().find(text) != std::string::npos;
}

std::string CameraProcess::status(const std::string &label) const {
    std::istringstream lines(vcam({"status"}).out);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(label)) {
            const std::size_t value = line.find_first_not_of(' ', label.size());
            return value == std::string::npos ? "" : line.substr(value);
        }
    }
    return "(none)";
}

std::vector<std::int16_t> CameraProcess::heard() const {
    SndfileHandle file((dir_.path() / "speaker.raw.wav").string());
    if (!file) {
        return {};
    }
    std::vector<std::int16_t> samples(static_cast<std::size_t>(file.frames() * file.channels()));
    file.readf(samples.data(), file.frames());
    return samples;
}

pid_t CameraProcess::daemon() const {
    return readPidFile(place(voxoPidPath)).value_or(0);
}

int CameraProcess::end(int signal) {
    if (child_.pid() == 0) {
        return -1;
    }
    kill(child_.pid(), signal);
    return waitFor(child_);
}
