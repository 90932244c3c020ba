// The stream's socket, and those by which the settings daemon is asked.
#include "vcam/camera/camera_paths.h"
#include "vcam/preload/interpose.h"
#include "vcam/preload/socket_path.h"
#include "vcam/trace/descriptors.h"
#include "vcam/trace/trace_library.h"

#include <sys/socket.h>

#include <cstddef>
#include <cstring>

// The daemon binds one local socket, that of the stream, at the path that its configuration names.
INTERPOSE(int, bind, (int fd, const sockaddr *address, socklen_t length)) {
    using Bind = int (*)(int, const sockaddr *, socklen_t);
    const TracedCall made;
    const int result = NEXT(Bind, bind)(fd, address, length);
    const SocketPath path(address, length);
    if (path.get()[0] != '\0') {
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
    if (std::strcmp(path.get(), tesselSocketPath) == 0) {
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
