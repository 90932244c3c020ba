// WAV files for tests, built byte by byte.
#pragma once

#include "tests/support/temporary.h"

#include <cstdint>
#include <optional>
#include <string>

inline std::string word16(std::uint32_t value) {
    return {static_cast<char>(value), static_cast<char>(value >> 8)};
}

inline std::string word32(std::uint32_t value) {
    return word16(value & 0xFFFF) + word16(value >> 16);
}

inline std::string chunk(const std::string &id, const std::string &body) {
    return id + word32(static_cast<std::uint32_t>(body.size())) + body +
           std::string(body.size() % 2, '\0');
}

struct FmtFields {
    std::uint32_t tag = 1;
    std::uint32_t channels = 1;
    std::uint32_t rate = 8000;
    std::uint32_t bits = 16;
    std::string behind = {};                    // further bytes of the chunk
    std::optional<std::uint32_t> byteRate = {}; // else what the others make
    std::optional<std::uint32_t> blockAlign = {};
};

inline std::string fmtChunk(const FmtFields &fields = {}) {
    const std::uint32_t align = fields.bits / 8 * fields.channels;
    return chunk("fmt ", word16(fields.tag) + word16(fields.channels) + word32(fields.rate) +
                             word32(fields.byteRate.value_or(fields.rate * align)) +
                             word16(fields.blockAlign.value_or(align)) + word16(fields.bits) +
                             fields.behind);
}

// A file of these chunks, with the right RIFF size.
inline std::string riff(const std::string &chunks) {
    return "RIFF" + word32(static_cast<std::uint32_t>(4 + chunks.size())) + "WAVE" + chunks;
}

// Bytes that tell where they are.
inline std::string samples(std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes += static_cast<char>(i * 7 + i / 256);
    }
    return bytes;
}
