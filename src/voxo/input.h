// The one place where the daemon waits for input.
#pragma once

#include <cstdint>

// Waits up to one second (`wait` not 0) or looks (0) for a datagram on the stream socket and a
// message on the control FIFO, where there is one, and handles the message. Returns 0 when a
// datagram of recvLength bytes was read into `buffer` of `size` bytes (a longer one is cut), -1
// when not, or when the message failed.
int voxoWaitInput(int fd, void *buffer, std::uint32_t size, int wait);
