#include "src/voxo/stereo.h"

#include <cstddef>

void voxoDoubleToStereo(const std::int16_t *mono, std::uint32_t samples, std::int16_t *stereo) {
    for (std::size_t i = 0; i < samples; ++i) {
        stereo[2 * i] = mono[i];
        stereo[2 * i + 1] = mono[i];
    }
}
