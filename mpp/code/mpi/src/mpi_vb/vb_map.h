// The mappings of whole pools.
#pragma once

#include <cstdint>

// Forgets all mappings and makes their locks. 0, or -1 when a lock cannot be made.
std::int32_t vbMapStart();

// Forgets all mappings.
void vbMapForget();
