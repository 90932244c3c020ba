// Driver commands and records of the audio codec.
#pragma once

#include <cstdint>

enum : std::uint32_t {
    ACODEC_CMD_RESET = 0x00004100,
    ACODEC_CMD_SET_RATE = 0xC0044106,
    ACODEC_CMD_SET_DACL_VOLUME = 0xC008410C,
    ACODEC_CMD_SET_DACR_VOLUME = 0xC008410D,
    ACODEC_CMD_SET_DACL_MUTE = 0xC0044112,
};

struct AcodecVolumeRecord {
    std::uint32_t volume;
    std::uint32_t mute;
};
static_assert(sizeof(AcodecVolumeRecord) == 8);
