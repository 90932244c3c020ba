// Doubling mono samples to stereo.
#pragma once

#include <cstdint>

// Writes each of `samples` samples twice, left and right; `stereo` has room for twice as many.
void voxoDoubleToStereo(const std::int16_t *mono, std::uint32_t samples, std::int16_t *stereo);
