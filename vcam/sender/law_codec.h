// G.711 by libsndfile: independent of the daemon's own decoder, so that each checks the other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Mono samples of 16 bits at 8000 Hz.
using Samples = std::vector<std::int16_t>;

enum class Law { a, u };

// Reads an audio file, mixes it to mono and brings it to 8000 Hz. Throws CameraError.
Samples readAudio(const std::string &file);

// Law bytes of the samples, and samples of the law bytes.
std::vector<std::uint8_t> lawEncode(const Samples &samples, Law law);
Samples lawDecode(const std::vector<std::uint8_t> &bytes, Law law);
