// Dealing the samples of an interleaved block out to two buffers.
#pragma once

#include <cstdint>

// The first sample, the third, ... go to `even`, the others to `odd`; samples are `sampleBytes` (1,
// 2 or 3) bytes wide. Each buffer has room for its share of `bytes` bytes, rounded up to a sample.
void splitSamples(const void *block, std::uint32_t bytes, std::uint32_t sampleBytes,
                  unsigned char *even, unsigned char *odd);
