#include "vcam/board/devices.h"

#include <cerrno>
#include <cstring>

namespace {

// Counts an issue of the command. True, with the driver's result, when it is to fail.
bool isToFail(BoardRegisters &registers, std::uint32_t command, int *result) {
    for (FaultRegisters &fault : registers.faults) {
        if (fault.countdown == 0 || fault.command != command) {
            continue;
        }
        if (--fault.countdown == 0) {
            *result = static_cast<std::int32_t>(fault.result.load());
            errno = EIO;
            return true;
        }
    }
    return false;
}

} // namespace

BoardDevices::BoardDevices(Board &board)
    : board_(board), acodec_(board), ao_(board), log_(board), mem_(board), sys_(board), vb_(board),
      zone_(board) {}

BoardDevice *BoardDevices::find(const char *path) {
    struct Entry {
        const char *path;
        BoardDevice *device;
    };
    const Entry entries[] = {{"/dev/acodec", &acodec_},   {"/dev/ao", &ao_},
                             {"/dev/logmpp", &log_},      {"/dev/mem", &mem_},
                             {"/dev/sys", &sys_},         {"/dev/vb", &vb_},
                             {"/dev/mmz_userdev", &zone_}};
    for (const Entry &entry : entries) {
        if (std::strcmp(path, entry.path) == 0) {
            return entry.device;
        }
    }
    return nullptr;
}

int BoardDevices::command(BoardDevice &device, BoardFile &file, std::uint32_t command,
                          void *record) {
    int result = 0;
    return isToFail(board_.registers, command, &result) ? result
                                                        : device.command(file, command, record);
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
