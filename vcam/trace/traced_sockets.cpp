// The stream's socket, and those by which the settings daemon is asked.
#include "vcam/camera/camera_paths.h"
#include "vcam/preload/interpose.h"
#include "vcam/trace/descriptors.h"
#include "vcam/trace/trace_library.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstring>

namespace {

// The path of a local socket's address, which need not end with a terminator; empty for any other
// address.
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
    bool is(const char *path) const { return std::strcmp(path_, path) == 0; }

private:
    char path_[sizeof(sockaddr_un::sun_path) + 1] = {};
};

} // namespace

INTERPOSE(int, bind, (int fd, const sockaddr *address, socklen_t length)) {
    using Bind = int (*)(int, const sockaddr *, socklen_t);
    const TracedCall made;
    const int result = NEXT(Bind, bind)(fd, address, length);
    const SocketPath path(address, length);
    if (path.is(streamSocketPath)) {
        noteRole(fd, result == 0 ? DescriptorRole::stream : DescriptorRole::none);
        made.recordPath(TraceKind::bind, {.result = result, .fd = fd}, path.get());
    }
    return result;
}

INTERPOSE(int, connect, (int fd, const sockaddr *address, socklen_t length)) {
    using Connect = int (*)(int, const sockaddr *, socklen_t);
    const TracedCall made;
    const int result = NEXT(Connect, connect)(fd, address, length);
    const SocketPath path(address, length);
    if (path.is(tesselSocketPath)) {
        noteRole(fd, DescriptorRole::settings);
        made.recordPath(TraceKind::connect, {.result = result, .fd = fd}, path.get());
    }
    return result;
}

INTERPOSE(ssize_t, send, (int fd, const void *data, std::size_t size, int flags)) {
    using Send = ssize_t (*)(int, const void *, std::size_t, int);
    const TracedCall made;
    const ssize_t count = NEXT(Send, send)(fd, data, size, flags);
    if (descriptorOf(fd).role == DescriptorRole::settings) {
        made.record(TraceKind::request,
                    {.result = static_cast<std::int32_t>(count),
                     .fd = fd,
                     .argument = static_cast<std::uint32_t>(size),
                     .more = static_cast<std::uint32_t>(flags)},
                    {{data, size}});
    }
    return count;
}
