// The two buffers from which frames are sent: one for each channel, of HI3516A_AO_CHN_BUFFER_SIZE
// bytes, there while the output is open.
#pragma once

#include <cstdint>

// Makes sure that both exist. False: no memory, and neither exists.
bool channelBuffersAllocate();

void channelBuffersFree();

// The buffer of the first (0) or second (1) channel, or null while the output is not open.
unsigned char *channelBuffer(std::uint32_t index);
