// The channel records.
#pragma once

#include "mpp/include/mpp_ao.h"

#include <pthread.h>

#include <cstdint>
#include <cstdio>

struct AoEngine;

// One file of a dump.
struct AoDumpFile {
    std::FILE *file;       // owned, or null
    std::uint64_t written; // bytes
};

// One sub-channel's buffer: a ring of `length` bytes. Filled is what lies between read and write
// offset; equal offsets mean empty, or, once the writer has wrapped (bWriteJump), full. The write
// offset is above the read offset only without the flag, below it only with it, and both are always
// below the length.
struct AoCircle {
    std::uint32_t phys;
    unsigned char *virt;
    std::uint32_t length;
    std::uint32_t u32Read;
    std::uint32_t u32Write;
    std::uint32_t bWriteJump;
};

constexpr std::uint32_t AO_SUB_CHN_NUM = 2;
constexpr std::uint32_t AO_STAGING_NUM = 3;

// What a channel's record holds besides its lock.
struct AoChannelState {
    std::uint32_t resampleEnabled;
    std::uint32_t mbcEnabled;
    std::uint32_t vqeSet;
    std::uint32_t vqeEnabled;
    AoEngine *engine; // owned, or null
    struct {
        std::uint32_t points; // per frame
        std::uint32_t enInSampleRate;
        std::uint32_t enOutSampleRate;
    } resample;
    AoCircle stCirBuf[AO_SUB_CHN_NUM];      // mono or left, right
    unsigned char *staging[AO_STAGING_NUM]; // AO_PERIOD_MAX bytes each, that the driver can reach
    AoDumpFile dumpIn;                      // both open, or none
    AoDumpFile dumpOut;
    std::uint32_t enabled;
};

// The lock guards the rest, and exists from process start, so that operations on a platform that
// has not started end with a result.
struct AoChannel : AoChannelState {
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
};

extern AoChannel aoChannels[AO_CHN_NUM];
