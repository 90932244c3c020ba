#include "audioout/split_samples.h"

#include <algorithm>
#include <cstring>

namespace {

// A sample of 24 bits, as it lies in a block.
struct Sample24 {
    unsigned char bytes[3];
};
static_assert(sizeof(Sample24) == 3);

// Deals the samples out in turn: the first to `even`, the next to `odd`; a block that ends inside a
// sample gives what it has of it. The loop is typed by the sample's width, so that the compiler can
// make the most of it.
template <typename Sample>
void split(const void *block, std::uint32_t bytes, void *even, void *odd) {
    // A block may begin at any address.
    struct [[gnu::packed]] Pair {
        Sample first;
        Sample second;
    };
    const auto *const from = static_cast<const Pair *>(block);
    auto *const toEven = static_cast<Sample *>(even);
    auto *const toOdd = static_cast<Sample *>(odd);
    const auto pairs = bytes / static_cast<std::uint32_t>(sizeof(Pair));
    for (std::uint32_t i = 0; i < pairs; ++i) {
        toEven[i] = from[i].first;
        toOdd[i] = from[i].second;
    }
    const auto *const rest = reinterpret_cast<const unsigned char *>(from + pairs);
    const std::size_t restBytes = bytes % (2 * sizeof(Sample));
    const std::size_t restOfEven = std::min(restBytes, sizeof(Sample));
    std::memcpy(toEven + pairs, rest, restOfEven);
    std::memcpy(toOdd + pairs, rest + restOfEven, restBytes - restOfEven);
}

} // namespace

void splitSamples(const void *block, std::uint32_t bytes, std::uint32_t sampleBytes,
                  unsigned char *even, unsigned char *odd) {
    switch (sampleBytes) {
    case 1:
        split<std::uint8_t>(block, bytes, even, odd);
        break;
    case 2:
        split<std::int16_t>(block, bytes, even, odd);
        break;
    default:
        split<Sample24>(block, bytes, even, odd);
        break;
    }
}
