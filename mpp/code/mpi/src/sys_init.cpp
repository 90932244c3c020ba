// Start and exit of the platform.
#include "mpp/code/mpi/src/aq_tuning.h"
#include "mpp/code/mpi/src/mpi_venc.h"
#include "mpp/code/mpi/src/sys_device.h"
#include "mpp/code/mpi/src/sys_log.h"
#include "mpp/code/mpi/src/sys_memory.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/code/mpi/src/sys_timer.h"
#include "mpp/code/mpp_report.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_adec.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_aenc.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ai.h"
#include "mpp/include/mpp_ao.h"
#include "mpp/include/mpp_bind.h"
#include "mpp/include/mpp_sys.h"

#include <cstdio>

std::int32_t g_s32HRTimer = 0;

namespace {

// The binder starts once: a repeated start must not lose what has been registered and bound.
bool binderStarted = false;

bool takeKernelConfig() {
    SysKernelConfigRecord config = {};
    if (sysDeviceCommand(SYS_CMD_GET_KERNEL_CONFIG, &config) != 0) {
        mppReport(CallSite::here(), "System get Kernel Config failed!\n");
        mppReport(CallSite::here(), "Get Kernel Config failed!\n");
        return false;
    }
    g_s32HRTimer = static_cast<std::int32_t>(config.highResolutionTimer);
    return true;
}

bool startBinder() {
    if (!binderStarted && SYS_BIND_Init() != 0) {
        mppReport(CallSite::here(), "initialize sys bind failed!\n");
        return false;
    }
    binderStarted = true;
    return true;
}

struct AudioModule {
    std::int32_t (*start)();
    const char *name;
};

bool startAudio() {
    static constexpr AudioModule modules[] = {
        {MPI_AI_Init, "ai"}, {MPI_AO_Init, "ao"}, {MPI_AENC_Init, "aenc"}, {MPI_ADEC_Init, "adec"}};
    if (!takeKernelConfig() || !startBinder()) {
        return false;
    }
    for (const AudioModule &module : modules) {
        if (module.start() != 0) {
            mppReport(CallSite::here(), "initialize %s mpi failed!\n", module.name);
            return false;
        }
    }
    aqTuningStart();
    return true;
}

void stopModules() {
    aqTuningStop();
    MPI_AI_Exit();
    MPI_AENC_Exit();
    MPI_ADEC_Exit();
    MPI_AO_Exit();
    SYS_BIND_Exit();
    binderStarted = false;
    MPI_VENC_Exit();
}

// Closes one of the layer's devices. Returns the close's result, after a report when it failed.
int closeReported(int (*closeDevice)(), const char *failure) {
    const int result = closeDevice();
    if (result != 0) {
        std::perror(failure);
    }
    return result;
}

} // namespace

std::int32_t HI_MPI_SYS_Init() {
    const std::int32_t result = sysDeviceCommand(SYS_CMD_INIT, nullptr);
    if (result != 0) {
        return result;
    }
    if (!startAudio()) {
        mppReport(CallSite::here(), "initialize audio mpi failed!\n");
        return -1;
    }
    if (MPI_VENC_Init() != 0) {
        mppReport(CallSite::here(), "initialize venc mpi failed!\n");
        return -1;
    }
    return 0;
}

std::int32_t HI_MPI_SYS_Exit() {
    if (sysDeviceAcquire() < 0) {
        return ERR_SYS_NOT_READY;
    }
    stopModules();
    std::int32_t result = sysDeviceCommand(SYS_CMD_EXIT, nullptr);
    if (result == 0) {
        result = closeReported(sysLogClose, "Close Log Fail");
    }
    if (result == 0) {
        result = closeReported(sysDeviceClose, "Close SYS Fail");
    }
    if (result == 0) {
        result = closeReported(sysMemoryClose, "Close mem/dev Fail");
    }
    return result;
}

std::int32_t HI_MPI_SYS_GetConfig(std::uint32_t *config) {
    if (config == nullptr) {
        mppReport(CallSite::here(), "null ptr!\n");
        return ERR_SYS_NULL_PTR;
    }
    return sysDeviceCommand(SYS_CMD_GET_CONFIG, config);
}

std::int32_t HI_MPI_SYS_SetConfig(const std::uint32_t *config) {
    if (config == nullptr) {
        mppReport(CallSite::here(), "null ptr!\n");
        return ERR_SYS_NULL_PTR;
    }
    std::uint32_t record = *config;
    return sysDeviceCommand(SYS_CMD_SET_CONFIG, &record);
}
