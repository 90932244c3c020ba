// The circular buffers between callers' frames and the driver's periods. All operations are called
// with the channel's lock held.
#pragma once

#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_channel.h"
#include "mpp/include/mpp_ao.h"

#include <cstdint>

// Whether sub-channel `k` of the channel has room for the frame's bytes: 0, or -1.
std::int32_t MPI_AO_QueryCircleBufferWriteData(std::uint32_t chn, std::uint32_t k,
                                               const AUDIO_FRAME_S *frame);

// Appends the frame's bytes of sub-channel `k`. -1, after a message, when there is no room.
std::int32_t MPI_AO_PutDataToCircleBufferAndUpdateWritePtr(std::uint32_t chn, std::uint32_t k,
                                                           const AUDIO_FRAME_S *frame);

// Whether sub-channel `k` holds a whole period, whose size it asks of the device's attributes: 0
// with its bytes in *period, or -1 (after a message when the attributes cannot be read).
std::int32_t MPI_AO_QueryCircleBufferReadData(std::uint32_t chn, std::uint32_t k,
                                              std::uint32_t bitWidth, std::uint32_t *period);

// Copies the next `period` bytes of a buffer that holds them.
void aoCopyPeriod(const AoCircle &circle, std::uint32_t period, unsigned char *destination);

// Drops a period that has been handed to the driver, so that it is not heard twice. 0, or -1 when
// the device's attributes cannot be read any more (after a message) or have another period by now.
std::int32_t MPI_AO_UpdateCircleBufferReadPtr(std::uint32_t chn, std::uint32_t k,
                                              std::uint32_t bitWidth, std::uint32_t period);

// Drops what a buffer holds.
void aoClearCircle(AoCircle &circle);

// Bytes of a period and sub-channel for `points` points, or 0 when it is empty or too large.
std::uint32_t aoPeriodBytes(std::uint32_t points, std::uint32_t bitWidth);
