// The control FIFO: other processes name a clip and start or stop it.
#pragma once

#include <cstdint>

constexpr char voxoFifoPath[] = "/var/run/voxo/c0/controlfifo";

// Makes the FIFO unless it is there, and opens it. 0, or -1 after a report.
int voxoInitFIFO();

// Reads one message from the FIFO and acts on it. Never waits: a message whose body is not there
// yet is lost. 0 when a message was framed and handed on, whatever it held; -1 when not.
int voxoReceiveFIFOCmd(int fd);

// Acts on a message's body of `bodyLength` bytes. 0, or -1 after a report when it cannot be parsed.
int voxoParseFIFOMessage(const char *body, std::uint32_t bodyLength, std::uint32_t type);
