#include "vcam/camera/running_camera.h"

#include "vcam/camera/text_file.h"

#include <chrono>
#include <iostream>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr auto endPatience = std::chrono::seconds(5);

// Tells the daemon of a new volume, as the camera's settings daemon does. Before it has written its
// PID file it takes no signals.
void signalVolume(const CameraDir &dir, const std::string &key) {
    if (key != volumeSetting) {
        return;
    }
    if (const std::optional<int> pid = readPidFile(dir.place(voxoPidPath))) {
        kill(*pid, SIGHUP);
    }
}

} // namespace

CameraSignals::CameraSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGUSR1}) {
        sigaddset(&set_, signal);
    }
    pthread_sigmask(SIG_BLOCK, &set_, nullptr);
}

RunningCamera::RunningCamera(const CameraDir &dir, const std::string &config)
    : dir_(dir), lock_(lockDirectory(dir_)), files_(dir_),
      config_(config.empty() ? dir_.configFile() : fs::absolute(config)),
      board_(dir_, MappedBoard::Mode::create), collector_(dir_),
      tessel_(dir_, [this](const std::string &key) { signalVolume(dir_, key); }),
      daemonLog_(dir_.daemonLog()) {
    if (!config.empty()) {
        fs::create_symlink(config_, dir_.place(otherConfigPath));
    }
}

void RunningCamera::connect(std::unique_ptr<PeriodSink> speaker) {
    speaker_ = std::move(speaker);
    player_.emplace(board_.board(), *speaker_);
}

void RunningCamera::startDaemon(const Target &target) {
    requireBoard(dir_, target);
    daemon_.start(commandOn(target, {target.voxoFile(), "-c", config_.string(), "-p", voxoPidPath}),
                  [&] {
                      enterBoard(dir_, target);
                      daemonLog_.redirect();
                  });
    daemonLog_.daemonStarted();
}

int RunningCamera::supervise() {
    for (;;) {
        switch (sigwaitinfo(&signals_.set(), nullptr)) {
        case SIGUSR1:
            ++registers().neighbours.encoderSignals;
            break;
        case SIGCHLD:
            if (const std::optional<int> status = daemon_.poll()) {
                daemonLog_.daemonEnded();
                std::cerr << "vcam: voxo has ended by itself, with status " << *status << '\n';
                return 1;
            }
            break;
        case SIGINT:
        case SIGTERM:
        case SIGHUP:
            return endDaemon();
        default:
            break;
        }
    }
}

int RunningCamera::endDaemon() {
    const int status = daemon_.end(signals_.set(), endPatience,
                                   [this] { ++registers().neighbours.encoderSignals; });
    daemonLog_.daemonEnded();
    return status;
}
