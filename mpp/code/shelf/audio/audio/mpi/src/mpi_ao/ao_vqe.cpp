// Resampling, voice quality and compression: the channel's flags and the engine behind them.
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_vqe.h"

#include "base/among.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_operation.h"

namespace {

constexpr std::uint32_t refusedDeviceRates[] = {64000, 96000};
constexpr std::uint32_t vqeRates[] = {8000, 16000};

std::int32_t readAttr(std::uint32_t dev, AIO_ATTR_S *attr, CallSite site = CallSite::here()) {
    if (aoReadAttr(attr) != 0) {
        mppReport(site, "can't get aodev%d's attribute!\n", shown(dev));
        return ERR_AO_NOT_CONFIG;
    }
    return 0;
}

// What resampling asks of the device, first refusal first.
std::int32_t checkResampling(std::uint32_t dev, std::uint32_t chn, std::uint32_t inRate,
                             const AIO_ATTR_S &attr, CallSite site = CallSite::here()) {
    if (attr.enSamplerate == inRate) {
        mppReport(site, "resample out rate is the same as resample in rate, it's not allowed!\n");
        return ERR_AO_NOT_PERM;
    }
    if (attr.enSoundmode != AUDIO_SOUND_MODE_MONO) {
        mppReport(site, "resample don't support stereo!\n");
        return ERR_AO_ILLEGAL_PARAM;
    }
    if (chn >= attr.u32ChnCnt) {
        mppReport(site, "enable resample fail,Aodev%d don't have chn%d\n", shown(dev), shown(chn));
        return ERR_AO_INVALID_CHN;
    }
    if (isAmong(refusedDeviceRates, attr.enSamplerate)) {
        mppReport(site, "Resmp is not permit when Ao samplerate is %d!\n",
                  shown(attr.enSamplerate));
        return ERR_AO_NOT_PERM;
    }
    return 0;
}

// What the effects ask of the device.
std::int32_t checkEffect(std::uint32_t dev, std::uint32_t chn, AIO_ATTR_S *attr,
                         CallSite site = CallSite::here()) {
    const std::int32_t error = readAttr(dev, attr, site);
    if (error != 0) {
        return error;
    }
    if (attr->enSoundmode != AUDIO_SOUND_MODE_MONO) {
        mppReport(site, "vqe don't support stereo!\n");
        return ERR_AO_ILLEGAL_PARAM;
    }
    if (chn >= attr->u32ChnCnt) {
        mppReport(site, "enable vqe fail,Aodev%d don't have chn%d\n", shown(dev), shown(chn));
        return ERR_AO_INVALID_CHN;
    }
    return 0;
}

bool needsEngine(const AoChannel &channel) {
    return channel.resampleEnabled != 0 || channel.vqeSet != 0 || channel.mbcEnabled != 0;
}

// What the channel's engine is made from by its flags, on a device of these attributes.
AoEngineAttr engineAttr(const AoChannel &channel, const AIO_ATTR_S &attr) {
    AoEngineAttr result = {attr.enBitwidth, attr.enSamplerate, attr.enSamplerate, {}};
    if (channel.resampleEnabled != 0) {
        result.inRate = channel.resample.enInSampleRate;
        result.outRate = channel.resample.enOutSampleRate;
    }
    if (channel.engine != nullptr && channel.vqeSet != 0) {
        AoEngineAttr current = {};
        aoEngineGetAttr(channel.engine, &current);
        result.vqe = current.vqe;
    }
    return result;
}

void dropUnneededEngine(AoChannel &channel) {
    if (!needsEngine(channel)) {
        aoEngineDestroy(channel.engine);
        channel.engine = nullptr;
    }
}

// Turns resampling of an enabled channel on.
std::int32_t startResampling(std::uint32_t dev, std::uint32_t chn, std::uint32_t inRate,
                             const AIO_ATTR_S &attr) {
    AoChannel &channel = aoChannels[chn];
    const auto before = channel.resample;
    channel.resample = {attr.u32PtNumPerFrm, inRate, attr.enSamplerate};
    channel.resampleEnabled = 1;
    const AoEngineAttr engine = engineAttr(channel, attr);
    const std::int32_t error = aoEngineReplace(&channel.engine, &engine);
    if (error != 0) {
        channel.resample = before;
        channel.resampleEnabled = 0;
        return error;
    }
    const AO_RESMP_DBG_S info = {1, attr.u32PtNumPerFrm, inRate, attr.enSamplerate};
    MPI_AO_SetResmpDbgInfo(dev, chn, &info);
    return 0;
}

} // namespace

std::int32_t HI_MPI_AO_EnableReSmp(std::uint32_t AoDev, std::uint32_t AoChn,
                                   std::uint32_t enInSampleRate) {
    AoOperation operation(AoDev, AoChn);
    if (operation.lockEnabled().failed()) {
        return operation.error();
    }
    const AoChannel &channel = operation.channel();
    if (!isAmong(audioSampleRates, enInSampleRate)) {
        mppReport(CallSite::here(), "AoChn %d resample in rate:%d is illegal!\n", shown(AoChn),
                  shown(enInSampleRate));
        return ERR_AO_ILLEGAL_PARAM;
    }
    AIO_ATTR_S attr = {};
    std::int32_t error = readAttr(AoDev, &attr);
    if (error == 0) {
        error = checkResampling(AoDev, AoChn, enInSampleRate, attr);
    }
    if (error != 0) {
        return error;
    }
    if (channel.resampleEnabled == 0) {
        return startResampling(AoDev, AoChn, enInSampleRate, attr);
    }
    if (channel.resample.enInSampleRate != enInSampleRate) {
        mppReport(CallSite::here(),
                  "Resmp has been enable but the resamplerate:%d not the same as before:%d.\n",
                  shown(enInSampleRate), shown(channel.resample.enInSampleRate));
        return ERR_AO_NOT_PERM;
    }
    return 0;
}

std::int32_t HI_MPI_AO_DisableReSmp(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    if (operation.lock().failed()) {
        return operation.error();
    }
    AoChannel &channel = operation.channel();
    if (channel.resampleEnabled == 0) {
        return 0;
    }
    if (channel.engine != nullptr) { // a clear that failed leaves none
        AoEngineAttr attr = {};
        aoEngineGetAttr(channel.engine, &attr);
        attr.inRate = attr.outRate;
        const std::int32_t result = aoEngineReplace(&channel.engine, &attr);
        if (result != 0) {
            return result;
        }
    }
    channel.resampleEnabled = 0;
    dropUnneededEngine(channel);
    return 0;
}

std::int32_t HI_MPI_AO_SetVqeAttr(std::uint32_t AoDev, std::uint32_t AoChn,
                                  const AO_VQE_ATTR_S *pstAttr) {
    AoOperation operation(AoDev, AoChn);
    if (operation.given(pstAttr).failed()) {
        return operation.error();
    }
    if (!isAmong(vqeRates, pstAttr->u32WorkSampleRate) || pstAttr->u32FrameSample == 0 ||
        pstAttr->u32FrameSample > MAX_AO_POINT_NUM) {
        return ERR_AO_ILLEGAL_PARAM;
    }
    if (operation.lockEnabled().failed()) {
        return operation.error();
    }
    AoChannel &channel = operation.channel();
    AIO_ATTR_S attr = {};
    std::int32_t error = checkEffect(AoDev, AoChn, &attr);
    if (error != 0) {
        return error;
    }
    if (channel.vqeEnabled != 0) {
        return ERR_AO_NOT_PERM;
    }
    AoEngineAttr engine = engineAttr(channel, attr);
    engine.vqe = *pstAttr;
    error = aoEngineReplace(&channel.engine, &engine);
    if (error == 0) {
        channel.vqeSet = 1;
    }
    return error;
}

std::int32_t HI_MPI_AO_GetVqeAttr(std::uint32_t AoDev, std::uint32_t AoChn,
                                  AO_VQE_ATTR_S *pstAttr) {
    AoOperation operation(AoDev, AoChn);
    if (operation.given(pstAttr).lock().failed()) {
        return operation.error();
    }
    const AoChannel &channel = operation.channel();
    if (channel.vqeSet == 0 || channel.engine == nullptr) {
        return ERR_AO_NOT_CONFIG;
    }
    AoEngineAttr attr = {};
    aoEngineGetAttr(channel.engine, &attr);
    *pstAttr = attr.vqe;
    return 0;
}

std::int32_t HI_MPI_AO_EnableVqe(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    if (operation.lockEnabled().failed()) {
        return operation.error();
    }
    AoChannel &channel = operation.channel();
    AIO_ATTR_S attr = {};
    const std::int32_t error = checkEffect(AoDev, AoChn, &attr);
    if (error != 0) {
        return error;
    }
    if (channel.vqeSet == 0) {
        return ERR_AO_NOT_PERM;
    }
    channel.vqeEnabled = 1;
    return 0;
}

std::int32_t HI_MPI_AO_DisableVqe(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    if (operation.lock().failed()) {
        return operation.error();
    }
    operation.channel().vqeEnabled = 0;
    return 0;
}

std::int32_t HI_MPI_AO_EnableMBC(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    if (operation.lockEnabled().failed()) {
        return operation.error();
    }
    AoChannel &channel = operation.channel();
    AIO_ATTR_S attr = {};
    std::int32_t error = checkEffect(AoDev, AoChn, &attr);
    if (error == 0 && channel.engine == nullptr) {
        const AoEngineAttr engine = engineAttr(channel, attr);
        error = aoEngineReplace(&channel.engine, &engine);
    }
    if (error == 0) {
        channel.mbcEnabled = 1;
    }
    return error;
}

std::int32_t HI_MPI_AO_DisableMBC(std::uint32_t AoDev, std::uint32_t AoChn) {
    AoOperation operation(AoDev, AoChn);
    if (operation.lock().failed()) {
        return operation.error();
    }
    AoChannel &channel = operation.channel();
    channel.mbcEnabled = 0;
    dropUnneededEngine(channel);
    return 0;
}

std::int32_t MPI_AO_GetVqeAttr(std::uint32_t chn, AoEngineAttr *attr) {
    const MutexGuard guard(aoChannels[chn].lock);
    if (aoChannels[chn].engine == nullptr) {
        return ERR_AO_NOT_CONFIG;
    }
    aoEngineGetAttr(aoChannels[chn].engine, attr);
    return 0;
}
