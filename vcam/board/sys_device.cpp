#include "vcam/board/sys_device.h"

#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/include/mpp_errors.h"

namespace {

constexpr std::uint32_t lineMask = 64 - 1;
constexpr std::uint64_t forever = UINT64_MAX;

int flushCache(SysRegisters &sys, const SysFlushRecord &record) {
    if ((record.phys & lineMask) != 0 || (record.length & lineMask) != 0 || record.length == 0) {
        return ERR_SYS_ILLEGAL_PARAM;
    }
    ++sys.cacheFlushes;
    return 0;
}

} // namespace

int SysDevice::command(BoardFile & /*file*/, std::uint32_t command, void *record) {
    SysRegisters &sys = registers().sys;
    switch (command) {
    case SYS_CMD_INIT:
        ++sys.starts;
        sys.isStarted = 1;
        boardLog(board(), "sys: start\n");
        return 0;
    case SYS_CMD_EXIT:
        sys.isStarted = 0;
        boardLog(board(), "sys: exit\n");
        return 0;
    case SYS_CMD_WAKE_TUNING:
        ++sys.tuningRequests;
        board().time.wake(sys.tuningRequests);
        return 0;
    default:
        break;
    }
    if (record == nullptr) {
        return refuseRecord();
    }
    auto *const words = static_cast<std::uint32_t *>(record);
    switch (command) {
    case SYS_CMD_SET_CONFIG:
        sys.config = words[0];
        sys.hasConfig = 1;
        return 0;
    case SYS_CMD_GET_CONFIG:
        words[0] = sys.config;
        return sys.hasConfig != 0 ? 0 : ERR_SYS_NOT_READY;
    case SYS_CMD_GET_KERNEL_CONFIG:
        *static_cast<SysKernelConfigRecord *>(record) = {1, 0};
        return 0;
    case SYS_CMD_GET_TUNING_MODE:
        words[0] = sys.tuningMode;
        return 0;
    case SYS_CMD_WAIT_TUNING:
        if (words[0] != 0) {
            return waitForTuning(&words[1]);
        }
        ++sys.tuningRuns;
        return 0;
    case SYS_CMD_FLUSH_CACHE:
        return flushCache(sys, *static_cast<const SysFlushRecord *>(record));
    default:
        return refuseCommand();
    }
}

void *SysDevice::map(BoardFile & /*file*/, std::size_t length, std::uint64_t offset) {
    return boardMapMemory(board(), static_cast<std::uint32_t>(offset), length);
}

// Waits for a run to begin. A wake without a run is a refusal.
int SysDevice::waitForTuning(std::uint32_t *argument) {
    SysRegisters &sys = registers().sys;
    const std::uint32_t seen = sys.tuningRequests;
    for (;;) {
        std::uint32_t pending = 1;
        if (sys.tuningPending.compare_exchange_strong(pending, 0)) {
            *argument = sys.tuningArgument;
            return 0;
        }
        if (sys.tuningRequests != seen) {
            return ERR_SYS_NOT_PERM;
        }
        board().time.waitForChange(sys.tuningRequests, seen, forever);
    }
}

void requestTuningRun(const Board &board, std::uint32_t argument) {
    SysRegisters &sys = board.registers.sys;
    sys.tuningArgument = argument;
    sys.tuningPending = 1;
    ++sys.tuningRequests;
    board.time.wake(sys.tuningRequests);
}
