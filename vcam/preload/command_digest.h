// The digest of a life's driver commands: two lives that are alike have the same one, on whatever
// processor.
#pragma once

#include "vcam/board/registers.h"

#include <cstdint>

// Adds a command that a driver has carried out, and its record as it came back.
void addToDigest(WorldRegisters &world, std::uint32_t command, const void *record, int result);
