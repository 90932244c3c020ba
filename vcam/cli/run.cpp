#include "vcam/cli/commands.h"

#include "base/unique_fd.h"
#include "vcam/board/devices.h"
#include "vcam/board/library_calls.h"
#include "vcam/cli/camera_files.h"
#include "vcam/cli/child.h"
#include "vcam/cli/log_collector.h"
#include "vcam/speaker/player.h"
#include "vcam/speaker/wav_speaker.h"
#include "vcam/tessel/tessel.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <optional>

namespace fs = std::filesystem;

namespace {

constexpr auto endPatience = std::chrono::seconds(5);
constexpr std::int32_t faultResult = -1;

// Sets a fault that is written as COMMAND:N, where COMMAND is a driver's or a call's name.
void setFault(BoardRegisters &registers, const std::string &fault) {
    const std::size_t colon = fault.find(':');
    std::uint32_t command = libraryCallCode(fault.substr(0, colon));
    std::size_t end = colon;
    std::uint32_t countdown = 0;
    try {
        if (command == 0) {
            command = static_cast<std::uint32_t>(std::stoul(fault, &end, 0));
        }
        countdown = static_cast<std::uint32_t>(std::stoul(fault.substr(colon + 1)));
    } catch (const std::exception &) {
        end = std::string::npos;
    }
    if (end != colon || countdown == 0 || !boardFail(registers, command, countdown, faultResult)) {
        throw CameraError("--fail takes COMMAND:N, at most " + std::to_string(faultCount) +
                          " times, not " + fault);
    }
}

void setUpBoard(BoardRegisters &registers, const RunOptions &options) {
    registers.pace = options.deaf ? paceDropped : options.fast ? paceAsTheyCome : paceRealTime;
    registers.sys.tuningMode = options.tuning ? 1 : 0;
    for (const std::string &fault : options.faults) {
        setFault(registers, fault);
    }
}

std::vector<std::string> daemonCommand(const CameraDir &dir, const Target &target,
                                       const RunOptions &options) {
    const std::string config =
        options.config.empty() ? dir.configFile().string() : fs::absolute(options.config).string();
    return {target.voxoFile(), "-c", config, "-p", voxoPidPath};
}

// Waits for signals until the camera is to end. Returns the exit status.
int supervise(Child &daemon, BoardRegisters &registers, const sigset_t &signals) {
    for (;;) {
        siginfo_t info = {};
        if (sigwaitinfo(&signals, &info) < 0) {
            continue;
        }
        switch (info.si_signo) {
        case SIGUSR1:
            ++registers.neighbours.encoderSignals;
            break;
        case SIGCHLD:
            if (const std::optional<int> status = daemon.poll()) {
                std::cerr << "vcam: voxo has ended by itself, with status " << *status << '\n';
                return 1;
            }
            break;
        default: // SIGINT, SIGTERM
            return daemon.end(signals, endPatience, [&] { ++registers.neighbours.encoderSignals; });
        }
    }
}

} // namespace

int runCamera(const CameraDir &dir, const Target &target, const RunOptions &options) {
    // Blocked in every thread that is started from here on; this one waits for them.
    sigset_t signals = {};
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGUSR1}) {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    const UniqueFd lock = lockDirectory(dir);
    const CameraFiles files(dir);
    MappedBoard board(dir, MappedBoard::Mode::create);
    setUpBoard(board.registers(), options);
    if (!options.config.empty()) {
        fs::create_symlink(fs::absolute(options.config), dir.place(otherConfigPath));
    }

    const LogCollector collector(dir);
    const Tessel tessel(dir, SettingsStore::ofCamera(),
                        [&](const std::string &key) { signalVolume(dir, key); });
    WavSpeaker speaker(dir.speakerFile(), board.registers().loss, options.longestFile);
    const Player player(board.board(), speaker);

    std::cout << "vcam: camera in " << dir.path().string() << "\nvcam: loudspeaker in "
              << dir.speakerFile().string() << std::endl;
    Child daemon;
    if (options.bare) {
        std::cout << "vcam: the board is up, without the daemon" << std::endl;
    } else {
        requireBoard(dir, target);
        daemon.start(commandOn(target, daemonCommand(dir, target, options)),
                     [&] { enterBoard(dir, target); });
    }
    const int status = supervise(daemon, board.registers(), signals);
    std::cout << "vcam: the camera has ended" << std::endl;
    return status;
}
