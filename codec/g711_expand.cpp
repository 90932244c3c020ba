#include "codec/g711_expand.h"

#include <array>

namespace {

using MagnitudeTable = std::array<std::uint16_t, 128>;

// Magnitude of a u-law code by its low seven bits as transmitted: the table absorbs the complement
// that the law puts on the line (ITU-T G.711, table 2a, times 4).
constexpr std::uint16_t ulawMagnitude(unsigned index) {
    const unsigned code = 127 - index;
    return static_cast<std::uint16_t>(((((code & 0x0F) * 8) + 132) << ((code & 0x70) / 16)) - 132);
}

// Magnitude of an A-law code by its low seven bits after the even bits were inverted back (ITU-T
// G.711, table 1a, times 8).
constexpr std::uint16_t alawMagnitude(unsigned index) {
    const unsigned segment = index / 16;
    const unsigned step = index & 0x0F;
    return static_cast<std::uint16_t>(segment == 0 ? (16 * step) + 8
                                                   : ((16 * step) + 264) << (segment - 1));
}

constexpr MagnitudeTable makeTable(std::uint16_t (*magnitude)(unsigned)) {
    MagnitudeTable table{};
    for (unsigned index = 0; index < table.size(); ++index) {
        table[index] = magnitude(index);
    }
    return table;
}

constexpr MagnitudeTable ulawTable = makeTable(ulawMagnitude);
constexpr MagnitudeTable alawTable = makeTable(alawMagnitude);
static_assert(ulawTable[0] == 32124 && ulawTable[112] == 120 && ulawTable[127] == 0);
static_assert(alawTable[0] == 8 && alawTable[32] == 528 && alawTable[127] == 32256);

// The samples of all code bytes: positive when bit 7 is set. Looking the sign up as well keeps a
// branch, which speech changes far too often to be predicted, and its arithmetic out of the loop.
using SampleTable = std::array<std::int16_t, 256>;

constexpr SampleTable withSigns(const MagnitudeTable &magnitudes) {
    SampleTable samples{};
    for (unsigned code = 0; code < samples.size(); ++code) {
        const int magnitude = magnitudes[code & 0x7F];
        samples[code] = static_cast<std::int16_t>((code & 0x80) != 0 ? magnitude : -magnitude);
    }
    return samples;
}

constexpr SampleTable ulawSamples = withSigns(ulawTable);
constexpr SampleTable alawSamples = withSigns(alawTable);

inline void lookUp(const SampleTable &samples, const G711LawIO &io, std::uint32_t count) {
    const std::uint8_t *const input = io.input;
    std::int16_t *const output = io.output;
    for (std::uint32_t i = 0; i < count; ++i) {
        output[i] = samples[input[i]];
    }
}

} // namespace

void G711_UlawExpand(const G711LawIO *io, std::uint32_t count) {
    lookUp(ulawSamples, *io, count);
}

void G711_AlawExpand(const G711LawIO *io, std::uint32_t count) {
    std::uint8_t *const input = io->input;
    for (std::uint32_t i = 0; i < count; ++i) {
        input[i] ^= 0x55;
    }
    lookUp(alawSamples, *io, count);
}
