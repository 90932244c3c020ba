// Sockets that the daemon has connected, which it waits at.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>

#include <cstddef>

// Connects to an address of this PC. On the virtual clock it waits in the world, as long as the
// socket is set to.
int connectSocket(int fd, const sockaddr *address, socklen_t length);

// Reads from a descriptor that is no device's; from a connected socket in the same manner.
ssize_t readFromFile(int fd, void *buffer, std::size_t size);

// Notes that a descriptor has been closed.
void forgetSocket(int fd);
