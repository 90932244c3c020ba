// The video-encoder module: started and stopped with the platform, which is all that it does here.
#pragma once

#include <cstdint>

// Both return 0, and may be called again.
std::int32_t MPI_VENC_Init();
std::int32_t MPI_VENC_Exit();
