#include "vcam/board/devices.h"

#include <cerrno>
#include <cstring>

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
