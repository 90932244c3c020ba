// The platform's log device.
#include "mpp/code/mpi/src/sys_log.h"

#include "mpp/code/lazy_device.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/code/mpp_report.h"
#include "mpp/include/mpp_sys.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace {

static_assert(sizeof(LOG_LEVEL_S) == LOG_LEVEL_RECORD_SIZE);

LazyDevice logDevice("/dev/logmpp", 0, 0);

// Makes sure that the device is open. Returns 0, or errno after a report.
std::int32_t openLog() {
    if (!logDevice.isOpened(logDevice.acquire(O_RDWR))) {
        const int error = errno;
        std::perror("open");
        return error;
    }
    return 0;
}

std::int32_t logCommand(std::uint32_t command, void *record) {
    const std::int32_t error = openLog();
    return error != 0 ? error : Device_Ioctl(logDevice.get(), command, record);
}

} // namespace

std::int32_t HI_MPI_LOG_SetLevel(const LOG_LEVEL_S *level) {
    if (level == nullptr) {
        mppReport(CallSite::here(), "null ptr!\n");
        return -1;
    }
    LOG_LEVEL_S record = *level;
    return logCommand(LOG_CMD_SET_LEVEL, &record);
}

std::int32_t HI_MPI_LOG_GetLevel(LOG_LEVEL_S *level) {
    if (level == nullptr) {
        mppReport(CallSite::here(), "null ptr!\n");
        return -1;
    }
    return logCommand(LOG_CMD_GET_LEVEL, level);
}

std::int32_t HI_MPI_LOG_SetWaitFlag(std::uint32_t wait) {
    return logCommand(LOG_CMD_SET_WAIT_FLAG, &wait);
}

std::int32_t HI_MPI_LOG_Read(char *text, std::uint32_t size) {
    const std::int32_t error = openLog();
    if (error != 0) {
        return error;
    }
    return static_cast<std::int32_t>(Device_Read(logDevice.get(), text, size));
}

void HI_MPI_LOG_Close() {
    sysLogClose();
    logDevice.forget();
}

int sysLogClose() {
    return logDevice.close();
}
