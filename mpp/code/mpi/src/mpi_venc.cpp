#include "mpp/code/mpi/src/mpi_venc.h"

// Without operations there is nothing to set up or to give back.

std::int32_t MPI_VENC_Init() {
    return 0;
}

std::int32_t MPI_VENC_Exit() {
    return 0;
}
