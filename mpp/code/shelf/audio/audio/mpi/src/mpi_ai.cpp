#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ai.h"

// Without operations there is nothing to set up or to give back.

std::int32_t MPI_AI_Init() {
    return 0;
}

std::int32_t MPI_AI_Exit() {
    return 0;
}
