// The module's start and end, and the life of its channels.
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_channel.h"

#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_dump.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_engine.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_operation.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"
#include "mpp/device/device.h"
#include "mpp/include/mpp_bind.h"
#include "mpp/include/mpp_vb.h"

#include <cstdio>

AoChannel aoChannels[AO_CHN_NUM];

namespace {

bool isInitialised = false;

bool allocateStaging(AoChannel &channel) {
    for (unsigned char *&buffer : channel.staging) {
        buffer = static_cast<unsigned char *>(Device_AllocVisible(AO_PERIOD_MAX));
        if (buffer == nullptr) {
            return false;
        }
    }
    return true;
}

void freeStaging(AoChannel &channel) {
    for (unsigned char *&buffer : channel.staging) {
        Device_FreeVisible(buffer, AO_PERIOD_MAX);
        buffer = nullptr;
    }
}

bool allocateBlock(AoChannel &channel, std::uint32_t dev, std::uint32_t chn) {
    char name[16];
    std::snprintf(name, sizeof name, "AO(%d,%d) CirBuf", shown(dev), shown(chn));
    AoCircle &first = channel.stCirBuf[0];
    void *virt = nullptr;
    if (VB_AllocAoBlock(name, &first.phys, &virt, AO_SUB_CHN_NUM * AO_CIRCLE_SIZE) != 0) {
        return false;
    }
    first.virt = static_cast<unsigned char *>(virt);
    return true;
}

// The block belongs to this library alone, so a driver that does not take it back changes nothing
// here.
void freeBlock(AoChannel &channel) {
    AoCircle &first = channel.stCirBuf[0];
    if (first.virt != nullptr) {
        VB_FreeAoBlock(first.phys);
        first.virt = nullptr;
    }
}

void setUpCircles(AoChannel &channel) {
    const AoCircle block = channel.stCirBuf[0];
    for (std::uint32_t k = 0; k < AO_SUB_CHN_NUM; ++k) {
        const std::uint32_t offset = k * AO_CIRCLE_SIZE;
        channel.stCirBuf[k] = {block.phys + offset, block.virt + offset, AO_CIRCLE_SIZE, 0, 0, 0};
    }
}

void freeBuffers(AoChannel &channel) {
    freeBlock(channel);
    for (AoCircle &circle : channel.stCirBuf) {
        circle = {};
    }
    freeStaging(channel);
}

void tellProcessingOff(std::uint32_t dev, std::uint32_t chn) {
    AO_VQE_DBG_S info = {};
    info.au32Word[AO_VQE_DBG_RATE_WORD] = AO_VQE_DBG_NO_RATE;
    MPI_AO_SetVqeDbgInfo(dev, chn, &info);
}

// Brings all channels to their first state. What one of them holds is given back: nothing keeps a
// caller from enabling a channel before the module has started. The locks are there from the
// process's start and stay.
void releaseChannels() {
    for (AoChannel &channel : aoChannels) {
        const MutexGuard guard(channel.lock);
        aoEngineDestroy(channel.engine);
        aoDumpEnd(channel);
        freeBuffers(channel);
        static_cast<AoChannelState &>(channel) = {};
    }
}

bool isEnabled(AoChannel &channel) {
    const MutexGuard guard(channel.lock);
    return channel.enabled != 0;
}

} // namespace

std::int32_t MPI_AO_Init() {
    if (isInitialised) {
        return 0;
    }
    const BIND_RECEIVER_S receiver = {MOD_ID_AO, AO_DEV_NUM, AO_CHN_NUM, MPI_AO_ReceiveFrm,
                                      nullptr};
    const std::int32_t registered = SYS_BIND_RegisterReceiver(&receiver);
    mppAssert(registered == 0, "HI_SUCCESS == s32Ret");
    releaseChannels();
    isInitialised = true;
    return 0;
}

std::int32_t MPI_AO_Exit() {
    if (!isInitialised) {
        return 0;
    }
    SYS_BIND_UnRegisterReceiver(MOD_ID_AO);
    releaseChannels();
    isInitialised = false;
    return 0;
}

std::int32_t HI_MPI_AO_EnableChn(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    if (operation.acquire().lock().failed()) {
        return operation.error();
    }
    AoChannel &channel = operation.channel();
    if (channel.enabled != 0) {
        return 0;
    }
    if (!allocateBlock(channel, AoDev, AoChn)) {
        mppReport(CallSite::here(), "alloc mmb fail, len:%d\n", shown(channel.stCirBuf[0].length));
        return ERR_AO_NOMEM;
    }
    const std::int32_t result = Device_Ioctl(operation.fd(), AO_CMD_ENABLE_CHN, nullptr);
    if (result != 0) {
        freeBlock(channel);
        return result;
    }
    setUpCircles(channel);
    if (!allocateStaging(channel)) {
        freeStaging(channel);
        freeBlock(channel);
        operation.unlock();
        mppReport(CallSite::here(), "malloc err when enable ao chn!\n");
        return ERR_AO_NOMEM;
    }
    channel.enabled = 1;
    return 0;
}

std::int32_t HI_MPI_AO_DisableChn(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    if (operation.acquire().failed()) {
        return operation.error();
    }
    AoChannel &channel = operation.channel();
    if (!isEnabled(channel)) {
        return 0;
    }
    const std::int32_t error = HI_MPI_AO_DisableReSmp(AoDev, AoChn);
    if (error != 0) {
        return error;
    }
    operation.lock();
    if (channel.enabled == 0) {
        return 0; // by another thread meanwhile
    }
    const AO_RESMP_DBG_S noResampling = {};
    MPI_AO_SetResmpDbgInfo(AoDev, AoChn, &noResampling);
    aoEngineDestroy(channel.engine);
    channel.engine = nullptr;
    channel.vqeSet = 0;
    channel.vqeEnabled = 0;
    channel.mbcEnabled = 0;
    channel.resampleEnabled = 0; // another thread may have turned it on again
    channel.resample = {};
    tellProcessingOff(AoDev, AoChn);
    freeBuffers(channel);
    // The buffers are gone whatever the driver says now, so the channel counts as disabled.
    channel.enabled = 0;
    aoDumpEnd(channel);
    return Device_Ioctl(operation.fd(), AO_CMD_DISABLE_CHN, nullptr);
}

std::int32_t HI_MPI_AO_PauseChn(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    return operation.acquire().lock().failed()
               ? operation.error()
               : Device_Ioctl(operation.fd(), AO_CMD_PAUSE_CHN, nullptr);
}

std::int32_t HI_MPI_AO_ResumeChn(std::uint32_t AoDev, std::uint32_t AoChn) {
    const AoOperation operation(AoDev, AoChn);
    return operation.failed() ? operation.error() : aoCommand(AoChn, AO_CMD_RESUME_CHN, nullptr);
}

std::int32_t MPI_AO_SetResmpDbgInfo(std::uint32_t AoDev, std::uint32_t AoChn,
                                    const AO_RESMP_DBG_S *pstInfo) {
    AoOperation operation(AoDev, AoChn);
    if (operation.given(pstInfo).failed()) {
        return operation.error();
    }
    AO_RESMP_DBG_S record = *pstInfo;
    return aoCommand(AoChn, AO_CMD_SET_RESMP_DBG, &record);
}

std::int32_t MPI_AO_SetVqeDbgInfo(std::uint32_t AoDev, std::uint32_t AoChn,
                                  const AO_VQE_DBG_S *pstInfo) {
    AoOperation operation(AoDev, AoChn);
    if (operation.given(pstInfo).failed()) {
        return operation.error();
    }
    AO_VQE_DBG_S record = *pstInfo;
    return aoCommand(AoChn, AO_CMD_SET_VQE_DBG, &record);
}
