// Turning interleaved blocks into the platform's frames.
#include "audioout/channel_buffers.h"
#include "audioout/hi3516a_ao.h"
#include "audioout/report.h"
#include "audioout/split_samples.h"
#include "mpp/include/mpp_ao.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::int32_t sendMilliSec = 1000;
constexpr std::uint64_t timeStamp = 2;
constexpr std::uint32_t sequence = 1;
constexpr auto bufferSize = static_cast<std::uint32_t>(HI3516A_AO_CHN_BUFFER_SIZE);

// Bytes that the larger share of the block takes in a channel buffer, whole samples.
std::uint32_t largestShare(std::uint32_t bytes, std::uint32_t sampleBytes, std::int32_t channels) {
    if (channels == 1) {
        return bytes;
    }
    const std::uint32_t pairBytes = 2 * sampleBytes;
    return (bytes / pairBytes + (bytes % pairBytes != 0 ? 1 : 0)) * sampleBytes;
}

AUDIO_FRAME_S makeFrame(std::uint32_t width, std::int32_t channels, std::uint32_t length) {
    AUDIO_FRAME_S frame = {};
    frame.enBitwidth = width;
    frame.enSoundmode = channels > 1 ? AUDIO_SOUND_MODE_STEREO : AUDIO_SOUND_MODE_MONO;
    frame.pVirAddr[0] = channelBuffer(0);
    frame.pVirAddr[1] = channelBuffer(1);
    frame.u64TimeStamp = timeStamp;
    frame.u32Seq = sequence;
    frame.u32Len = length;
    return frame;
}

} // namespace

std::int32_t hi3516a_ao_pcm_write(std::int32_t aoDevId, std::int32_t aoChn, const void *block,
                                  std::int32_t bytes) {
    const auto device = static_cast<std::uint32_t>(aoDevId);
    AIO_ATTR_S attr = {};
    std::int32_t error = HI_MPI_AO_GetPubAttr(device, &attr);
    if (error != 0) {
        AUDIOOUT_REPORT_ERROR("HI_MPI_AO_GetPubAttr failed", error);
        return -1;
    }
    if (attr.enBitwidth > AUDIO_BIT_WIDTH_24) {
        return -1;
    }
    const std::uint32_t sampleBytes = attr.enBitwidth + 1;
    const std::int32_t channels = std::max(static_cast<std::int32_t>(attr.u32ChnCnt), 1);
    const auto size = static_cast<std::uint32_t>(std::max(bytes, 0));
    if (channelBuffer(0) == nullptr || channelBuffer(1) == nullptr) {
        AUDIOOUT_REPORT_TEXT("no channel buffer, the output is not open");
        return -1;
    }
    if (largestShare(size, sampleBytes, channels) > bufferSize) {
        AUDIOOUT_REPORT_TEXT("block does not fit the channel buffers");
        return -1;
    }
    if (channels == 1) {
        std::memcpy(channelBuffer(0), block, size);
    } else {
        splitSamples(block, size, sampleBytes, channelBuffer(1), channelBuffer(0));
    }
    const AUDIO_FRAME_S frame =
        makeFrame(attr.enBitwidth, channels, static_cast<std::uint32_t>(bytes / channels));
    error = HI_MPI_AO_SendFrame(device, static_cast<std::uint32_t>(aoChn), &frame, sendMilliSec);
    if (error != 0) {
        AUDIOOUT_REPORT_ERROR("HI_MPI_AO_SendFrame failed", error);
        return -1;
    }
    return 0;
}
