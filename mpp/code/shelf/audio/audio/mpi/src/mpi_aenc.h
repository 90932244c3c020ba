// The audio-encoder module: started and stopped with the platform, which is all that it does here.
#pragma once

#include <cstdint>

// Both return 0, and may be called again.
std::int32_t MPI_AENC_Init();
std::int32_t MPI_AENC_Exit();
