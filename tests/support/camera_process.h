// A virtual camera run by a test: the real programs, in processes of their own.
#pragma once

#include "tests/support/temporary.h"
#include "vcam/camera/child.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// What a finished program said.
struct Finished {
    int status;
    std::string out;
    std::string err;
};

// Runs a program to its end.
Finished runProgram(const std::vector<std::string> &command);

// Starts a program whose output goes to two files, which may be the same, and waits for its end:
// its exit status, or -1 when it does not end in time.
void start(Child &child, const std::vector<std::string> &command, const std::string &out,
           const std::string &err);
int waitFor(Child &child, std::chrono::seconds patience = std::chrono::minutes(5));

// Waits until something holds; false when it does not within `patience`.
bool eventually(const std::function<bool()> &holds,
                std::chrono::milliseconds patience = std::chrono::seconds(10));

inline const std::string speech = VOXO_SPEECH_SAMPLE;
inline const std::vector<std::string> realTime; // options of a camera that plays as it must

class CameraProcess {
public:
    // Starts `vcam run` with these options, periods played as they come unless told otherwise, and
    // waits until the daemon takes a stream (or, bare, until the board is there).
    explicit CameraProcess(std::vector<std::string> options = {"--fast"});
    CameraProcess(const CameraProcess &) = delete;
    CameraProcess &operator=(const CameraProcess &) = delete;
    ~CameraProcess();

    const std::filesystem::path &dir() const { return dir_.path(); }
    std::filesystem::path place(const std::string &cameraPath) const {
        return dir_.path().string() + cameraPath;
    }

    // Runs a vcam command on this camera.
    Finished vcam(std::vector<std::string> arguments) const;

    // Casts speech as fast as it is taken, and expects to hear just that.
    void expectPlaysSpeech(const std::string &law = "--ulaw") const;

    // Everything that the daemon and the camera have written so far.
    std::string output() const;
    bool outputHolds(const std::string &text) const;

    // A line of `vcam status`, without its label.
    std::string status(const std::string &label) const;

    // Interleaved samples that the loudspeaker has played, at full volume and without gaps.
    std::vector<std::int16_t> heard() const;

    // The daemon's process id, 0 when it does not run.
    pid_t daemon() const;

    // Sends a signal to the camera's process and returns the exit status of its end.
    int end(int signal);
    bool isReady() const;

private:
    TemporaryDirectory dir_;
    std::string logFile_;
    Child child_;
};

// A file of the build under test ("bin/voxo"): this test's own, or that of $VCAM_VOXO, which may be
// another processor's.
std::filesystem::path underTest(const std::string &file);

// The virtual camera, which is this PC's in either case.
std::string vcamPath();
