#include "src/voxo/match_rate.h"

#include <cstring>

namespace {

constexpr std::uint32_t sameRate = 2;

struct StereoFrame {
    std::int16_t left;
    std::int16_t right;
};
static_assert(sizeof(StereoFrame) == 4);

std::uint32_t framesOf(std::uint32_t size) {
    return size / static_cast<std::uint32_t>(sizeof(StereoFrame));
}

StereoFrame load(const std::int16_t *block, std::uint32_t frame) {
    return {block[2 * std::size_t{frame}], block[2 * std::size_t{frame} + 1]};
}

std::int16_t *repeat(std::int16_t *out, StereoFrame frame, std::uint32_t times) {
    for (std::uint32_t i = 0; i < times; ++i) {
        *out++ = frame.left;
        *out++ = frame.right;
    }
    return out;
}

} // namespace

std::int16_t *voxoMatchRate(std::int16_t *in, std::int16_t *out, std::uint32_t *size,
                            std::uint32_t k) {
    if (k == sameRate) {
        return in;
    }
    const std::uint32_t frames = framesOf(*size);
    std::int16_t *next = out;
    for (std::uint32_t j = 0; j < frames; j += 2) {
        next = repeat(next, load(in, j), k / 2);
        next = repeat(next, load(in, j + 1), k - k / 2);
    }
    *size = *size / 2 * k;
    return out;
}

std::uint64_t voxoMatchRoom(std::uint32_t size, std::uint32_t k) {
    if (k == sameRate) {
        return 0;
    }
    const std::uint64_t pairs = (std::uint64_t{framesOf(size)} + 1) / 2;
    return pairs * k * sizeof(StereoFrame);
}
