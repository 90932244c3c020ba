#include "vcam/cli/commands.h"

#include "vcam/board/devices.h"
#include "vcam/camera/fault_name.h"
#include "vcam/camera/running_camera.h"
#include "vcam/speaker/alsa_speaker.h"
#include "vcam/speaker/loudspeaker.h"
#include "vcam/speaker/wav_speaker.h"

#include <iostream>
#include <memory>

namespace {

constexpr std::int32_t faultResult = -1;

// Sets a fault that is written as COMMAND:N, where COMMAND is a driver's or a call's name.
void setFault(BoardRegisters &registers, const std::string &fault) {
    const std::size_t colon = fault.find(':');
    const std::uint32_t command = faultCode(fault.substr(0, colon));
    std::uint32_t countdown = 0;
    try {
        countdown = static_cast<std::uint32_t>(std::stoul(fault.substr(colon + 1)));
    } catch (const std::exception &) {
        countdown = 0;
    }
    if (command == 0 || countdown == 0 || !boardFail(registers, command, countdown, faultResult)) {
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

std::unique_ptr<Loudspeaker> loudspeakerOf(const CameraDir &dir, BoardRegisters &registers,
                                           const RunOptions &options) {
    auto loudspeaker = std::make_unique<Loudspeaker>(registers);
    loudspeaker->addRaw(std::make_unique<WavSpeaker>(dir.rawSpeakerFile(), Gaps::leftOut,
                                                     registers.loss, options.longestFile));
    loudspeaker->addHeard(std::make_unique<WavSpeaker>(dir.speakerFile(), Gaps::kept,
                                                       registers.loss, options.longestFile));
    if (!options.listen.empty()) {
        loudspeaker->addHeard(std::make_unique<AlsaSpeaker>(options.listen, registers.listen));
    }
    return loudspeaker;
}

} // namespace

int runCamera(const CameraDir &dir, const Target &target, const RunOptions &options) {
    RunningCamera camera(dir, options.config);
    setUpBoard(camera.registers(), options);
    camera.connect(loudspeakerOf(dir, camera.registers(), options));
    std::cout << "vcam: camera in " << dir.path().string() << "\nvcam: loudspeaker in "
              << dir.speakerFile().string() << std::endl;
    if (options.bare) {
        std::cout << "vcam: the board is up, without the daemon" << std::endl;
    } else {
        camera.startDaemon(target);
    }
    const int status = camera.supervise();
    std::cout << "vcam: the camera has ended" << std::endl;
    return status;
}
