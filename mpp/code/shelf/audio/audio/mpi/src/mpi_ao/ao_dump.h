// The dump of voice-quality processing: the data before and after it, written to files when the
// driver's dump configuration asks for it.
#pragma once

#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_channel.h"

#include <cstdint>

// One frame's dump: the unprocessed data of `inPoints` points in staging buffer 0, and the
// processed in staging buffer 2. Called with the channel's lock held. Nothing that goes wrong here
// stops the frame.
void AoSaveFile(AoChannel &channel, std::uint32_t chn, std::uint32_t inPoints,
                std::uint32_t bitWidth);

// Closes the channel's dump files, if they are open.
void aoDumpEnd(AoChannelState &channel);
