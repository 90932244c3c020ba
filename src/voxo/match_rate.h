// Rate matching of stereo blocks.
#pragma once

#include <cstdint>

// Matches a block of stereo frames of 4 bytes to the output's rate by `k`, twice the ratio of the
// rates: of each pair of frames (A, B) it writes k / 2 times A and then the rest of k times B. With
// k = 2 the block is left where it is.
//
// *size: in and out, in bytes. Returns the matched block, `in` or `out`. An odd last frame is
// paired with the frame behind the block, which must be readable; `out` must have room for k frames
// of each pair, the last one counted in full, although *size then counts less.
std::int16_t *voxoMatchRate(std::int16_t *in, std::int16_t *out, std::uint32_t *size,
                            std::uint32_t k);

// Bytes that voxoMatchRate writes to `out` for a block of `size` bytes.
std::uint64_t voxoMatchRoom(std::uint32_t size, std::uint32_t k);
