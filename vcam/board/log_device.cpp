#include "vcam/board/log_device.h"

#include "mpp/code/mpi/src/sys_record.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint64_t forever = UINT64_MAX;

} // namespace

int LogDevice::command(BoardFile & /*file*/, std::uint32_t command, void *record) {
    LogRegisters &log = registers().log;
    if (record == nullptr) {
        return refuseRecord();
    }
    static_assert(sizeof log.levels == LOG_LEVEL_RECORD_SIZE);
    switch (command) {
    case LOG_CMD_SET_LEVEL:
        std::memcpy(log.levels, record, sizeof log.levels);
        return 0;
    case LOG_CMD_GET_LEVEL:
        std::memcpy(record, log.levels, sizeof log.levels);
        return 0;
    case LOG_CMD_SET_WAIT_FLAG:
        log.waitFlag = *static_cast<const std::uint32_t *>(record);
        return 0;
    default:
        return refuseCommand();
    }
}

ssize_t LogDevice::read(BoardFile & /*file*/, void *buffer, std::size_t size) {
    LogRegisters &log = registers().log;
    while (log.waitFlag != 0 && log.written == log.read) {
        board().time.waitForChange(log.written, log.read, forever);
    }
    // Text that has been written over is lost.
    const std::uint32_t end = log.written;
    const std::uint32_t begin = end - log.read > logRoom ? end - logRoom : log.read.load();
    const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(size, end - begin));
    for (std::uint32_t i = 0; i < count; ++i) {
        static_cast<char *>(buffer)[i] = log.text[(begin + i) % logRoom];
    }
    log.read = begin + count;
    return static_cast<ssize_t>(count);
}
