#include "audioout/hi3516a_acodec_ctrl.h"

#include "audioout/acodec_record.h"
#include "audioout/report.h"
#include "mpp/device/device_fd.h"
#include "mpp/include/mpp_ao.h"

#include <fcntl.h>

#include <algorithm>
#include <iterator>

namespace {

// The codec's word for each of the platform's sample rates.
constexpr std::uint32_t rateCodes[] = {24, 24, 24, 25, 25, 25, 26, 26, 26};
static_assert(std::size(rateCodes) == std::size(audioSampleRates));

std::int32_t hi3516a_acodec_ctrl_reset(int fd) {
    if (Device_Ioctl(fd, ACODEC_CMD_RESET, nullptr) < 0) {
        AUDIOOUT_REPORT_TEXT("reset audio codec error");
        return -1;
    }
    return 0;
}

std::int32_t hi3516a_acodec_ctrl_samprate(int fd, std::uint32_t rate) {
    const auto *const found =
        std::find(std::begin(audioSampleRates), std::end(audioSampleRates), rate);
    if (found == std::end(audioSampleRates)) {
        AUDIOOUT_REPORT_TEXT("audio codec not support enSample");
        return -1;
    }
    std::uint32_t code = rateCodes[found - audioSampleRates];
    if (Device_Ioctl(fd, ACODEC_CMD_SET_RATE, &code) != 0) {
        AUDIOOUT_REPORT_TEXT("set audio codec sample rate failed");
        return -1;
    }
    return 0;
}

std::int32_t hi3516a_acodec_ctrl_dacl_volume(int fd, std::uint32_t volume) {
    std::int32_t result = 0;
    AcodecVolumeRecord left = {volume, 0};
    if (Device_Ioctl(fd, ACODEC_CMD_SET_DACL_VOLUME, &left) != 0) {
        AUDIOOUT_REPORT_TEXT("set audio codec dacl volume failed");
        result = -1;
    }
    AcodecVolumeRecord right = {volume, 0};
    if (Device_Ioctl(fd, ACODEC_CMD_SET_DACR_VOLUME, &right) != 0) {
        AUDIOOUT_REPORT_TEXT("set audio codec dacr volume failed");
        result = -1;
    }
    return result;
}

std::int32_t hi3516a_acodec_ctrl_dacl_mute(int fd, std::uint32_t mute) {
    if (Device_Ioctl(fd, ACODEC_CMD_SET_DACL_MUTE, &mute) != 0) {
        AUDIOOUT_REPORT_TEXT("set audio codec dacl mute failed");
        return -1;
    }
    return 0;
}

} // namespace

std::int32_t hi3516a_acodec_ctrl(const ACODEC_CTRL_REQUEST *request) {
    const DeviceFd codec(Device_Open("/dev/acodec", O_RDWR));
    if (!codec) {
        AUDIOOUT_REPORT_TEXT("can't open codec");
        return -1;
    }
    const int fd = codec.get();
    const std::uint32_t steps = request->u32Flags;
    if ((steps & ACODEC_CTRL_RESET) != 0 && hi3516a_acodec_ctrl_reset(fd) != 0) {
        AUDIOOUT_REPORT_TEXT("reset audio codec failed");
        return -1;
    }
    if ((steps & ACODEC_CTRL_SAMPLE_RATE) != 0 &&
        hi3516a_acodec_ctrl_samprate(fd, request->u32SampleRate) != 0) {
        AUDIOOUT_REPORT_TEXT("set audio codec sample rate failed");
        return -1;
    }
    if ((steps & ACODEC_CTRL_DAC_VOLUME) != 0 &&
        hi3516a_acodec_ctrl_dacl_volume(fd, request->u32Volume) != 0) {
        AUDIOOUT_REPORT_TEXT("set audio codec dacl volume failed ");
        return -1;
    }
    if ((steps & ACODEC_CTRL_DACL_MUTE) != 0 &&
        hi3516a_acodec_ctrl_dacl_mute(fd, request->u32DaclMute) != 0) {
        AUDIOOUT_REPORT_TEXT("set audio codec dacl mute failed ");
        return -1;
    }
    return 0;
}
