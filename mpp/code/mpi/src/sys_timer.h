// What the kernel tells the modules of its timers.
#pragma once

#include <cstdint>

// 1 when the kernel has high-resolution timers: modules that poll then sleep 10 ms at a time, else
// 1 ms. Taken at each start of the platform.
extern std::int32_t g_s32HRTimer;
