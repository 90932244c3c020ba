// The audio-decoder module: started and stopped with the platform, and registered with the binder
// as a sender of 32 channels. It has no operations of its own here.
#pragma once

#include <cstdint>

// Starts the module; 0, also when it runs already. -1 when the binder does not take it.
std::int32_t MPI_ADEC_Init();

// Stops the module; 0, also when it does not run.
std::int32_t MPI_ADEC_Exit();
