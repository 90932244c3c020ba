// What the library of failing calls asks the board's library.
#pragma once

#include <cstdint>

// Counts a call by its code (vcam/board/library_calls.h). True when the board is to fail it this
// time.
extern "C" [[gnu::visibility("default")]] bool vcamCallFails(std::uint32_t code);
