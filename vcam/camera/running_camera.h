// A camera that this process runs: board, settings daemon, system log, loudspeaker and daemon,
// brought up in order and down in the reverse.
#pragma once

#include "vcam/camera/camera_files.h"
#include "vcam/camera/child.h"
#include "vcam/camera/daemon_log.h"
#include "vcam/camera/environment.h"
#include "vcam/camera/log_collector.h"
#include "vcam/camera/mapped_board.h"
#include "vcam/speaker/player.h"
#include "vcam/tessel/tessel_server.h"

#include <csignal>
#include <memory>
#include <optional>
#include <string>

// The signals that a camera's process waits for, blocked in every thread that starts from here on.
class CameraSignals {
public:
    CameraSignals();
    const sigset_t &set() const { return set_; }

private:
    sigset_t set_ = {};
};

class RunningCamera {
public:
    // Takes the directory and brings up all but the loudspeaker and the daemon. `config`: the
    // daemon's configuration file; empty: the one in the directory. Throws when the directory
    // cannot be had.
    explicit RunningCamera(const CameraDir &dir, const std::string &config = "");
    RunningCamera(const RunningCamera &) = delete;
    RunningCamera &operator=(const RunningCamera &) = delete;

    // Plays what the board's output puts out, from here on.
    void connect(std::unique_ptr<PeriodSink> speaker);

    // Starts the daemon. Throws when the board does not load into it.
    void startDaemon(const Target &target);

    // Waits until the daemon has ended, or a signal ends it in order. Returns the exit status.
    int supervise();

    BoardRegisters &registers() { return board_.registers(); }

private:
    int endDaemon();

    const CameraDir dir_;
    const CameraSignals signals_;
    const UniqueFd lock_;
    const CameraFiles files_;
    std::filesystem::path config_;
    MappedBoard board_;
    const LogCollector collector_;
    const TesselServer tessel_;
    std::unique_ptr<PeriodSink> speaker_;
    std::optional<Player> player_;
    DaemonLog daemonLog_;
    Child daemon_;
};
