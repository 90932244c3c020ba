#include "vcam/board/devices.h"

#include "vcam/board/library_calls.h"
#include "vcam/camera/camera_paths.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

BoardDevices::BoardDevices(Board &board)
    : board_(board), acodec_(board), ao_(board), log_(board), mem_(board), sys_(board), vb_(board),
      zone_(board) {}

BoardDevice *BoardDevices::find(const char *path) {
    BoardDevice *const devices[] = {&acodec_, &ao_, &log_, &mem_, &zone_, &sys_, &vb_};
    static_assert(std::size(devices) == std::size(cameraDevicePaths));
    for (std::size_t i = 0; i < std::size(devices); ++i) {
        if (std::strcmp(path, cameraDevicePaths[i]) == 0) {
            return devices[i];
        }
    }
    return nullptr;
}

int BoardDevices::command(BoardDevice &device, BoardFile &file, std::uint32_t command,
                          void *record) {
    std::int32_t result = 0;
    if (boardIssueFails(board_.registers, command, &result)) {
        errno = EIO;
        return result;
    }
    return device.command(file, command, record);
}

bool boardIssueFails(BoardRegisters &registers, std::uint32_t command, std::int32_t *result) {
    for (FaultRegisters &fault : registers.faults) {
        if (fault.command == 0) {
            return false;
        }
        if (fault.countdown == 0 || fault.command != command) {
            continue;
        }
        if (--fault.countdown == 0) {
            *result = static_cast<std::int32_t>(fault.result.load());
            return true;
        }
    }
    return false;
}

bool boardFailsCalls(const BoardRegisters &registers) {
    return std::any_of(std::begin(registers.faults), std::end(registers.faults),
                       [](const FaultRegisters &fault) {
                           return fault.countdown != 0 && isLibraryCall(fault.command);
                       });
}

bool boardFail(BoardRegisters &registers, std::uint32_t command, std::uint32_t countdown,
               std::int32_t result) {
    for (FaultRegisters &fault : registers.faults) {
        if (fault.countdown == 0) {
            fault.command = command;
            fault.result = static_cast<std::uint32_t>(result);
            fault.countdown = countdown;
            return true;
        }
    }
    return false;
}
