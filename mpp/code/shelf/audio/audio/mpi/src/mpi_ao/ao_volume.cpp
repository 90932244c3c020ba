// What changes the sound without sending any: volume, mute, clearing; and the channel's state.
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_circle.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_operation.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_vqe.h"

namespace {

// Empties both buffers. Returns whether the channel's engine may hold audio as well.
bool clearCircles(AoChannel &channel) {
    const MutexGuard guard(channel.lock);
    for (AoCircle &circle : channel.stCirBuf) {
        aoClearCircle(circle);
    }
    return channel.vqeEnabled != 0 || channel.resampleEnabled != 0;
}

// Drops the audio that the channel's engine holds by making it anew.
std::int32_t clearEngine(std::uint32_t dev, std::uint32_t chn, CallSite site) {
    AoEngineAttr attr = {};
    if (MPI_AO_GetVqeAttr(chn, &attr) != 0) {
        mppReport(site, "AoDev: %d get vqe attr failed!\n", shown(dev));
        return ERR_AO_NOT_CONFIG;
    }
    AoChannel &channel = aoChannels[chn];
    MutexGuard guard(channel.lock);
    if (channel.engine == nullptr) {
        return 0; // disabled meanwhile
    }
    aoEngineGetAttr(channel.engine, &attr); // it may be another one by now
    aoEngineDestroy(channel.engine);
    const std::int32_t error = aoEngineCreate(&channel.engine, &attr);
    guard.unlock();
    if (error != 0) {
        mppReport(site, "Ao dev: %d, ao chn:%d, create vqe fail.\n", shown(dev), shown(chn));
    }
    return error;
}

} // namespace

std::int32_t HI_MPI_AO_SetVolume(std::uint32_t AoDev, std::int32_t s32VolumeDb) {
    const std::int32_t error = aoCheckDev(AoDev);
    return error != 0 ? error : aoCommand(deviceSlot, AO_CMD_SET_VOLUME, &s32VolumeDb);
}

std::int32_t HI_MPI_AO_GetVolume(std::uint32_t AoDev, std::int32_t *ps32VolumeDb) {
    const std::int32_t error = aoCheckDev(AoDev);
    if (error != 0) {
        return error;
    }
    if (ps32VolumeDb == nullptr) {
        mppReport(CallSite::here(), "the ps32VolumeDb pointer for Ao%d is NULL!\n", shown(AoDev));
        return ERR_AO_NULL_PTR;
    }
    return aoCommand(deviceSlot, AO_CMD_GET_VOLUME, ps32VolumeDb);
}

std::int32_t HI_MPI_AO_SetMute(std::uint32_t AoDev, std::uint32_t bEnable,
                               const AO_FADE_S *pstFade) {
    const std::int32_t error = aoCheckDev(AoDev);
    if (error != 0) {
        return error;
    }
    AoMuteRecord record = {bEnable, {}};
    if (pstFade != nullptr) {
        record.fade = *pstFade;
    }
    return aoCommand(deviceSlot, AO_CMD_SET_MUTE, &record);
}

std::int32_t HI_MPI_AO_GetMute(std::uint32_t AoDev, std::uint32_t *pbEnable, AO_FADE_S *pstFade) {
    const std::int32_t error = aoCheckDev(AoDev);
    if (error != 0) {
        return error;
    }
    const std::int32_t fd = aoAcquire(deviceSlot);
    if (fd < 0) {
        return fd;
    }
    if (pbEnable == nullptr && pstFade == nullptr) {
        mppReport(CallSite::here(), "Both pbEnable and pstFade pointer for  AoDev%d are NULL!\n",
                  shown(AoDev));
        return ERR_AO_NULL_PTR;
    }
    AoMuteRecord record = {};
    const std::int32_t result = aoCommand(deviceSlot, AO_CMD_GET_MUTE, &record);
    if (result != 0) {
        mppReport(CallSite::here(), "Ao%d Get Mute error\n", shown(AoDev));
        return result;
    }
    if (pbEnable != nullptr) {
        *pbEnable = record.bEnable;
    }
    if (pstFade != nullptr) {
        *pstFade = record.fade;
    }
    return 0;
}

std::int32_t HI_MPI_AO_ClearChnBuf(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    if (operation.acquire().failed()) {
        return operation.error();
    }
    if (clearCircles(operation.channel())) {
        const std::int32_t error = clearEngine(AoDev, AoChn, CallSite::here());
        if (error != 0) {
            return error;
        }
    }
    return aoCommand(AoChn, AO_CMD_CLEAR_CHN_BUF, nullptr);
}

std::int32_t HI_MPI_AO_QueryChnStat(std::uint32_t AoDev, std::uint32_t AoChn,
                                    AO_CHN_STATE_S *pstState) {
    const std::int32_t error = aoCheckChn(AoDev, AoChn);
    if (error != 0) {
        return error;
    }
    if (pstState == nullptr) {
        mppReport(CallSite::here(), "the AO_CHN_STATE_S pointer for AoDev%d is NULL!\n",
                  shown(AoDev));
        return ERR_AO_NULL_PTR;
    }
    return aoCommand(AoChn, AO_CMD_QUERY_CHN_STAT, pstState);
}
