// The processing engine's attributes, for whoever has to make it anew.
#pragma once

#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_engine.h"

#include <cstdint>

// The attributes of the channel's engine. Takes the channel's lock. ERR_AO_NOT_CONFIG when there is
// none.
std::int32_t MPI_AO_GetVqeAttr(std::uint32_t chn, AoEngineAttr *attr);
