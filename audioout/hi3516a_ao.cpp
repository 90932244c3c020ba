// Opening, closing and configuring the output unit.
#include "audioout/hi3516a_ao.h"

#include "audioout/channel_buffers.h"
#include "audioout/hi3516a_acodec_ctrl.h"
#include "audioout/report.h"
#include "base/among.h"
#include "base/shown.h"
#include "mpp/include/mpp_ao.h"
#include "mpp/include/mpp_sys.h"
#include "mpp/include/mpp_vb.h"

#include <sys/stat.h>
#include <unistd.h>

#include <iterator>

namespace {

constexpr char videoPidPath[] = "/var/run/venc.pid";
constexpr int videoLooks = 31;
constexpr unsigned videoLookSeconds = 2;
constexpr int configTries = 9;
constexpr unsigned configTrySeconds = 1;

constexpr std::int32_t openVolumeDb = -2;
constexpr std::uint32_t queuedFrames = 30;
constexpr std::uint32_t deviceChannels = 2;

constexpr std::int32_t supportedBits[] = {8, 16, 24}; // by the platform's bit-width code

void waitForVideoSide() {
    struct stat status = {};
    for (int look = 1; stat(videoPidPath, &status) != 0 && look < videoLooks; ++look) {
        sleep(videoLookSeconds);
    }
}

// Asks until the platform has the configuration. Returns 0, or the last error.
template <typename Query>
std::int32_t waitForConfig(Query query) {
    std::int32_t error = query();
    for (int tries = 1; error != 0 && tries < configTries; ++tries) {
        sleep(configTrySeconds);
        error = query();
    }
    return error;
}

std::int32_t configureCodec(std::uint32_t rate) {
    ACODEC_CTRL_REQUEST request = {};
    request.u32Flags = ACODEC_CTRL_RESET | ACODEC_CTRL_SAMPLE_RATE | ACODEC_CTRL_DACL_MUTE;
    request.u32SampleRate = rate;
    return hi3516a_acodec_ctrl(&request);
}

// Bits per sample of the device's width, or 0 for a width that there is not.
std::int32_t bitsOf(const AIO_ATTR_S &attr) {
    return attr.enBitwidth < std::size(supportedBits) ? supportedBits[attr.enBitwidth] : 0;
}

// Points of a block on a device of these attributes; below 1 when it has none or they make no
// sense.
std::int32_t pointsOf(const AIO_ATTR_S &attr, std::int32_t bytes) {
    const auto pointBytes =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(bitsOf(attr) / 8) * attr.u32ChnCnt);
    return pointBytes > 0 ? bytes / pointBytes : -1;
}

} // namespace

// The error-code form of hi3516a_ao_open.
#define REPORT_OPEN_ERROR(text, error)                                                             \
    AUDIOOUT_REPORT(" %s - ErrCode(%10x)\n", text, static_cast<unsigned>(error))

std::int32_t xfer_hi3516a_samp_rate(std::int32_t rate) {
    if (isAmong(audioSampleRates, static_cast<std::uint32_t>(rate))) {
        return rate;
    }
    AUDIOOUT_REPORT(" sample rate (%d) is not support \n", rate);
    return -1;
}

std::int32_t xfer_hi3516a_bit_width(std::int32_t bits) {
    for (std::size_t code = 0; code < std::size(supportedBits); ++code) {
        if (bits == supportedBits[code]) {
            return static_cast<std::int32_t>(code);
        }
    }
    AUDIOOUT_REPORT(" bit width (%d) is not support \n", bits);
    return -1;
}

std::int32_t hi3516a_sys_init() {
    if (HI_MPI_SYS_Init() != 0) {
        std::puts("HI_MPI_SYS_Init fail");
        return -1;
    }
    return 0;
}

std::int32_t hi3516a_ao_open(std::int32_t aoDevId, std::int32_t aoChn) {
    const auto device = static_cast<std::uint32_t>(aoDevId);
    const auto channel = static_cast<std::uint32_t>(aoChn);
    waitForVideoSide();
    VB_CONF_S vbConfig = {};
    std::int32_t error = waitForConfig([&] { return HI_MPI_VB_GetConfig(&vbConfig); });
    if (error != 0) {
        AUDIOOUT_REPORT(" %s - ErrCode(%8X) !! \n", "hi3516a's VB config is not ready",
                        static_cast<unsigned>(error));
        return -1;
    }
    std::uint32_t sysConfig = 0;
    error = waitForConfig([&] { return HI_MPI_SYS_GetConfig(&sysConfig); });
    if (error != 0) {
        AUDIOOUT_REPORT(" %s -ErrCode(%8x)\n", "hi3516a's System config is not ready",
                        static_cast<unsigned>(error));
        return -1;
    }
    error = HI_MPI_VB_Init();
    if (error != 0) {
        REPORT_OPEN_ERROR("HI_MPI_VB_Init failed", error);
        return -1;
    }
    error = HI_MPI_SYS_Init();
    if (error != 0) {
        REPORT_OPEN_ERROR("HI_MPI_SYS_Init failed", error);
        return -1;
    }
    error = HI_MPI_AO_Enable(device);
    if (error != 0) {
        REPORT_OPEN_ERROR("HI_MPI_AO_Enable failed", error);
        return -1;
    }
    error = HI_MPI_AO_EnableChn(device, channel);
    if (error != 0) {
        REPORT_OPEN_ERROR("HI_MPI_AO_EnableChn failed", error);
        return -1;
    }
    error = HI_MPI_AO_SetVolume(device, openVolumeDb);
    if (error != 0) {
        REPORT_OPEN_ERROR("HI_MPI_AO_SetVolume failed", error);
        return -1;
    }
    if (!channelBuffersAllocate()) {
        AUDIOOUT_REPORT_TEXT("malloc channel buffer failed");
        return -1;
    }
    return 0;
}

std::int32_t hi3516a_ao_close(std::int32_t aoDevId, std::int32_t aoChn) {
    std::int32_t error = HI_MPI_AO_DisableChn(static_cast<std::uint32_t>(aoDevId),
                                              static_cast<std::uint32_t>(aoChn));
    if (error != 0) {
        AUDIOOUT_REPORT_ERROR("HI_MPI_AO_DisableChn failed", error);
        return -1;
    }
    error = HI_MPI_AO_Disable(static_cast<std::uint32_t>(aoDevId));
    if (error != 0) {
        AUDIOOUT_REPORT_ERROR("HI_MPI_AO_Disable failed", error);
        return -1;
    }
    channelBuffersFree();
    return 0;
}

std::int32_t hi3516a_ao_clear_audio_buffer(std::int32_t aoDevId, std::int32_t aoChn) {
    const std::int32_t error = HI_MPI_AO_ClearChnBuf(static_cast<std::uint32_t>(aoDevId),
                                                     static_cast<std::uint32_t>(aoChn));
    if (error != 0) {
        AUDIOOUT_REPORT_ERROR("HI_MPI_AO_ClearChnBuf failed", error);
        return -1;
    }
    return 0;
}

std::int32_t hi3516a_ao_init_cfg(std::int32_t aoDevId, std::int32_t rate, std::int32_t bits,
                                 std::int32_t points) {
    AIO_ATTR_S attr = {};
    attr.enSamplerate = static_cast<std::uint32_t>(xfer_hi3516a_samp_rate(rate));
    attr.enBitwidth = static_cast<std::uint32_t>(xfer_hi3516a_bit_width(bits));
    attr.enSoundmode = AUDIO_SOUND_MODE_STEREO;
    attr.u32EXFlag = 1;
    attr.u32FrmNum = queuedFrames;
    attr.u32PtNumPerFrm = static_cast<std::uint32_t>(points);
    attr.u32ChnCnt = deviceChannels;
    const std::int32_t error = HI_MPI_AO_SetPubAttr(static_cast<std::uint32_t>(aoDevId), &attr);
    if (error != 0) {
        AUDIOOUT_REPORT_ERROR("HI_MPI_AO_SetPubAttr failed", error);
        return -1;
    }
    if (configureCodec(attr.enSamplerate) != 0) {
        AUDIOOUT_REPORT_TEXT("Configure audio codec failed");
        return -1;
    }
    return 0;
}

std::int32_t hi3516a_ao_reset_volume(std::uint32_t volume) {
    ACODEC_CTRL_REQUEST request = {};
    request.u32Flags = ACODEC_CTRL_DAC_VOLUME;
    request.u32Volume = volume;
    if (hi3516a_acodec_ctrl(&request) != 0) {
        AUDIOOUT_REPORT_TEXT("Configure audio codec failed");
        return -1;
    }
    return 0;
}

std::int32_t hi3516a_ao_frmPt_check(std::int32_t aoDevId, std::int32_t bytes) {
    AIO_ATTR_S attr = {};
    const std::int32_t error = HI_MPI_AO_GetPubAttr(static_cast<std::uint32_t>(aoDevId), &attr);
    if (error != 0) {
        AUDIOOUT_REPORT_ERROR("HI_MPI_AO_GetPubAttr failed", error);
        return -1;
    }
    const std::int32_t points = pointsOf(attr, bytes);
    if (points < 0 || static_cast<std::uint32_t>(points) != attr.u32PtNumPerFrm) {
        AUDIOOUT_REPORT(" ao's PtNumPerFrm(%d) is non match framesize(%d)\n",
                        shown(attr.u32PtNumPerFrm), points);
        return -1;
    }
    return 0;
}

std::int32_t hi3516a_ao_pcm_reset(std::int32_t aoDevId, std::int32_t aoChn, std::int32_t bytes) {
    AIO_ATTR_S attr = {};
    const std::int32_t error = HI_MPI_AO_GetPubAttr(static_cast<std::uint32_t>(aoDevId), &attr);
    if (error != 0) {
        AUDIOOUT_REPORT_ERROR("HI_MPI_AO_GetPubAttr failed", error);
        return -1;
    }
    const std::int32_t points = pointsOf(attr, bytes);
    if (points < 1) {
        AUDIOOUT_REPORT_TEXT("block is no frame of the device");
        return -1;
    }
    if (hi3516a_ao_close(aoDevId, aoChn) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_close failed");
        return -1;
    }
    if (hi3516a_ao_init_cfg(aoDevId, static_cast<std::int32_t>(attr.enSamplerate), bitsOf(attr),
                            points) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_init_cfg failed");
        return -1;
    }
    if (hi3516a_ao_open(aoDevId, aoChn) != 0) {
        AUDIOOUT_REPORT_TEXT("hi3516a_ao_open failed");
        return -1;
    }
    return 0;
}
