// The processing engine of an output channel: the least that the module asks of one. It passes
// samples through for voice quality and compression, and resamples by linear interpolation.
#pragma once

#include "mpp/include/mpp_ao.h"

#include <cstdint>

struct AoEngine;

// What an engine is made from.
struct AoEngineAttr {
    std::uint32_t bitWidth; // AUDIO_BIT_WIDTH_... of the samples it takes and yields
    std::uint32_t inRate;   // Hz; with outRate the same, nothing is resampled
    std::uint32_t outRate;  // Hz
    AO_VQE_ATTR_S vqe;      // zero when none is set
};

// Makes an engine for frames of at most MAX_AO_POINT_NUM points. 0 with *engine set, or
// ERR_AO_ENGINE (attributes out of range, no memory) with *engine null.
std::int32_t aoEngineCreate(AoEngine **engine, const AoEngineAttr *attr);

// Puts a new engine in the place of *engine, which may be null. On failure the old one stays.
std::int32_t aoEngineReplace(AoEngine **engine, const AoEngineAttr *attr);

// Frees an engine; null is passed over.
void aoEngineDestroy(AoEngine *engine);

void aoEngineGetAttr(const AoEngine *engine, AoEngineAttr *attr);

// Gives the engine a frame of `points` samples of `bitWidth` in place of what it still holds. 0, or
// ERR_AO_ENGINE when there is no engine, it was made for another width, or the frame is too long.
std::int32_t aoEngineWriteFrame(AoEngine *engine, const void *data, std::uint32_t points,
                                std::uint32_t bitWidth);

// Takes at most `points` samples, and never more than MAX_AO_POINT_NUM, out of the engine. Returns
// how many, or -1 when it was given none.
std::int32_t aoEngineReadFrame(AoEngine *engine, void *data, std::uint32_t points);
