// Driver commands and records of the audio output.
#pragma once

#include "mpp/include/mpp_ao.h"

#include <cstddef>
#include <cstdint>

enum : std::uint32_t {
    AO_CMD_BIND = 0x40045800,
    AO_CMD_SET_PUB_ATTR = 0x40245801,
    AO_CMD_GET_PUB_ATTR = 0x80245802,
    AO_CMD_ENABLE = 0x00005803,
    AO_CMD_DISABLE = 0x00005804,
    AO_CMD_SEND = 0xC0785805,
    AO_CMD_ENABLE_CHN = 0x00005806,
    AO_CMD_DISABLE_CHN = 0x00005807,
    AO_CMD_PAUSE_CHN = 0x00005808,
    AO_CMD_RESUME_CHN = 0x00005809,
    AO_CMD_CLEAR_CHN_BUF = 0x0000580C,
    AO_CMD_QUERY_CHN_STAT = 0x800C580D,
    AO_CMD_SET_RESMP_DBG = 0x4010580E,
    AO_CMD_SET_VQE_DBG = 0x4440580F,
    AO_CMD_SET_TRACK_MODE = 0x40045810,
    AO_CMD_GET_TRACK_MODE = 0x80045811,
    AO_CMD_SET_CLK_DIR = 0x40045812,
    AO_CMD_GET_CLK_DIR = 0x80045813,
    AO_CMD_SET_VOLUME = 0x40045814,
    AO_CMD_GET_VOLUME = 0x80045815,
    AO_CMD_SET_MUTE = 0x40105816,
    AO_CMD_GET_MUTE = 0xC0105817,
    AO_CMD_CLR_PUB_ATTR = 0x00005818,
    AO_CMD_SET_DUMP = 0x42085819,
    AO_CMD_GET_DUMP = 0x8208581A,
    AO_CMD_GET_READY = 0x8004581B,
};

constexpr std::uint32_t AO_READY = 1;

// An AUDIO_FRAME_S as the driver knows it: twelve words.
struct AoFrameRecord {
    std::uint32_t enBitwidth;
    std::uint32_t enSoundmode;
    std::uint32_t virAddr[2];
    std::uint32_t phyAddr[2];
    std::uint32_t timeStampLow;
    std::uint32_t timeStampHigh;
    std::uint32_t seq;
    std::uint32_t len;
    std::uint32_t poolId[2];
};
static_assert(sizeof(AoFrameRecord) == 48);
#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(AUDIO_FRAME_S) == sizeof(AoFrameRecord));
static_assert(offsetof(AUDIO_FRAME_S, u64TimeStamp) == offsetof(AoFrameRecord, timeStampLow));
static_assert(offsetof(AUDIO_FRAME_S, u32PoolId) == offsetof(AoFrameRecord, poolId));
#endif

// One period on its way to the driver.
struct AoSendRecord {
    AoFrameRecord frame;
    std::uint32_t unused1[16];
    std::int32_t s32MilliSec;
    std::uint32_t unused2;
};
static_assert(sizeof(AoSendRecord) == 120 && offsetof(AoSendRecord, s32MilliSec) == 112);

struct AoMuteRecord {
    std::uint32_t bEnable;
    AO_FADE_S fade;
};
static_assert(sizeof(AoMuteRecord) == 16);

// The word of AO_VQE_DBG_S that tells the driver that no processing is on: a rate above every rate.
constexpr std::size_t AO_VQE_DBG_RATE_WORD = 28 / sizeof(std::uint32_t);
constexpr std::uint32_t AO_VQE_DBG_NO_RATE = 96001;

// The driver's record of a frame.
AoFrameRecord aoFrameRecord(const AUDIO_FRAME_S &frame);
