// The path in the address of a local socket.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstring>

// A caller's address need not end with a terminator. The path is empty for any other address.
class SocketPath {
public:
    SocketPath(const sockaddr *address, socklen_t length) {
        constexpr std::size_t pathOffset = offsetof(sockaddr_un, sun_path);
        if (address != nullptr && length > pathOffset && length <= sizeof(sockaddr_un) &&
            address->sa_family == AF_UNIX) {
            std::memcpy(path_, reinterpret_cast<const char *>(address) + pathOffset,
                        length - pathOffset);
        }
    }

    const char *get() const { return path_; }

private:
    char path_[sizeof(sockaddr_un::sun_path) + 1] = {};
};
