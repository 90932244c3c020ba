// The control FIFO: other processes name a clip and start or stop it.
#pragma once

#include <cstdint>

constexpr char voxoFifoPath[] = "/var/run/voxo/c0/controlfifo";

// Makes the FIFO unless it is there, and opens it. 0, or -1 after a report.
int voxoInitFIFO();

// Reads one message from the FIFO and acts on it. A header's body is waited for, 100 ms at most;
// what is there of it by its first byte is the body, so writers send a message in one write. A
// message of 1023 bytes or more is refused, and taken out of the pipe as far as it is there. 0 when
// a message was framed and handed on, whatever it held; -1 when not.
int voxoReceiveFIFOCmd(int fd);

// Acts on a message's body of `bodyLength` bytes. 0, or -1 after a report when it cannot be parsed.
int voxoParseFIFOMessage(const char *body, std::uint32_t bodyLength, std::uint32_t type);
