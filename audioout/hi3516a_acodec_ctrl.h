// Control of the SoC's built-in audio codec, whose DAC drives the loudspeaker, through its driver
// "/dev/acodec". The device is open only during a call. For one thread.
#pragma once

#include <cstdint>

// Steps of a request, in the order in which they are taken.
enum : std::uint32_t {
    ACODEC_CTRL_RESET = 0x1,
    ACODEC_CTRL_SAMPLE_RATE = 0x2,
    ACODEC_CTRL_DAC_VOLUME = 0x40,
    ACODEC_CTRL_DACL_MUTE = 0x80,
};

struct ACODEC_CTRL_REQUEST {
    std::uint32_t u32Flags;      // ACODEC_CTRL_..., combined
    std::uint32_t u32SampleRate; // Hz: 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000
    std::uint32_t u32Volume;     // attenuation of both DAC sides, 0 the loudest; the driver's range
    std::uint32_t u32DaclMute;   // 0: left side not muted
};

// Takes the requested steps: soft reset, sample rate, volume (left, then right even when left
// failed), mute of the left side. The first step that fails ends the call; the codec is left as far
// as the steps got. Returns 0, or -1 after reports on standard output.
std::int32_t hi3516a_acodec_ctrl(const ACODEC_CTRL_REQUEST *request);
