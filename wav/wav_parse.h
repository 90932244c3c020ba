// The chunk walk of the WAV reader.
#pragma once

#include "wav/wav.h"

// Walks the chunks of the open file, records them in the handle's chunk list and fills its format
// and data fields. `fileSize` is the true size in bytes. Returns 0, or -1 with whatever chunks were
// met left in the list.
std::int32_t wavParse(WAV_FILE *wav, std::uint64_t fileSize);

// Frees the chunk list.
void wavFreeChunks(WAV_FILE *wav);
