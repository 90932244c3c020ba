// Doubling mono samples to stereo.
#pragma once

#include <cstddef>
#include <cstdint>

// Writes each of `samples` samples twice, left and right; `stereo` has room for twice as many.
inline void voxoDoubleToStereo(const std::int16_t *mono, std::uint32_t samples,
                               std::int16_t *stereo) {
    for (std::size_t i = 0; i < samples; ++i) {
        stereo[2 * i] = mono[i];
        stereo[2 * i + 1] = mono[i];
    }
}
