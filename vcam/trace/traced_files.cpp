// Files by their names, and what is read from descriptors.
#include "vcam/preload/interpose.h"
#include "vcam/preload/optional_argument.h"
#include "vcam/trace/descriptors.h"
#include "vcam/trace/trace_library.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

void recordOpen(const TracedCall &made, int fd, const char *path, int flags) {
    if (fd >= 0) {
        noteOpened(fd, path, flags);
    }
    made.recordPath(TraceKind::open,
                    {.result = fd,
                     .argument = static_cast<std::uint32_t>(flags),
                     .more = descriptorOf(fd).device},
                    path);
}

int recordLook(const TracedCall &made, int result, TraceLook look, const char *path, int mode = 0) {
    made.recordPath(TraceKind::look,
                    {.result = result,
                     .argument = static_cast<std::uint32_t>(look),
                     .more = static_cast<std::uint32_t>(mode)},
                    path);
    return result;
}

std::FILE *recordStream(const TracedCall &made, std::FILE *stream, const char *path) {
    made.recordPath(TraceKind::openStream, {.result = stream != nullptr ? 0 : -1}, path);
    return stream;
}

// What reading from a descriptor of a role is recorded as.
TraceKind kindOf(DescriptorRole role) {
    switch (role) {
    case DescriptorRole::device:
        return TraceKind::deviceRead;
    case DescriptorRole::stream:
        return TraceKind::datagram;
    case DescriptorRole::fifo:
        return TraceKind::message;
    case DescriptorRole::settings:
        return TraceKind::reply;
    default:
        return TraceKind::fileBytes;
    }
}

using Read = ssize_t (*)(int, void *, std::size_t);

ssize_t readTraced(Read next, int fd, void *buffer, std::size_t size) {
    const Descriptor descriptor = descriptorOf(fd);
    if (!traceIsOn() || descriptor.role == DescriptorRole::none) {
        return next(fd, buffer, size);
    }
    TraceCall call = {.fd = fd, .argument = static_cast<std::uint32_t>(size)};
    const bool isFile = descriptor.role == DescriptorRole::file;
    if (isFile) {
        const int error = errno;
        call.more = static_cast<std::uint32_t>(syscall(SYS_lseek, fd, 0L, SEEK_CUR));
        errno = error;
    }
    const TracedCall made;
    const ssize_t count = next(fd, buffer, size);
    call.result = static_cast<std::int32_t>(count);
    const std::size_t bytes = count > 0 ? static_cast<std::size_t>(count) : 0;
    made.record(kindOf(descriptor.role), call,
                {{buffer, isFile ? takeFileBytes(fd, bytes) : bytes}});
    return count;
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses)

// The calls that are variadic to the compiler only.
#define INTERPOSE_TRACED_OPEN(name)                                                                \
    INTERPOSE(int, name, (const char *path, int flags, ...)) {                                     \
        OPTIONAL_MODE(flags)                                                                       \
        using Open = int (*)(const char *, int, ...);                                              \
        const TracedCall made;                                                                     \
        const int fd = NEXT(Open, name)(path, flags, mode);                                        \
        recordOpen(made, fd, path, flags);                                                         \
        return fd;                                                                                 \
    }

#define INTERPOSE_TRACED_OPEN_2(name)                                                              \
    INTERPOSE(int, name, (const char *path, int flags)) {                                          \
        using Open = int (*)(const char *, int);                                                   \
        const TracedCall made;                                                                     \
        const int fd = NEXT(Open, name)(path, flags);                                              \
        recordOpen(made, fd, path, flags);                                                         \
        return fd;                                                                                 \
    }

#define INTERPOSE_TRACED_STAT(name, type)                                                          \
    INTERPOSE(int, name, (const char *path, type *status)) {                                       \
        using Stat = int (*)(const char *, type *);                                                \
        const TracedCall made;                                                                     \
        return recordLook(made, NEXT(Stat, name)(path, status), TraceLook::stat, path);            \
    }

#define INTERPOSE_TRACED_FOPEN(name)                                                               \
    INTERPOSE(std::FILE *, name, (const char *path, const char *mode)) {                           \
        using Open = std::FILE *(*)(const char *, const char *);                                   \
        const TracedCall made;                                                                     \
        return recordStream(made, NEXT(Open, name)(path, mode), path);                             \
    }

// NOLINTEND(bugprone-macro-parentheses)

INTERPOSE_TRACED_OPEN(open)
INTERPOSE_TRACED_FOPEN(fopen)
INTERPOSE_TRACED_STAT(stat, struct stat)

INTERPOSE(int, access, (const char *path, int mode)) {
    using Access = int (*)(const char *, int);
    const TracedCall made;
    return recordLook(made, NEXT(Access, access)(path, mode), TraceLook::access, path, mode);
}

INTERPOSE(ssize_t, read, (int fd, void *buffer, std::size_t size)) {
    return readTraced(NEXT(Read, read), fd, buffer, size);
}

INTERPOSE(int, close, (int fd)) {
    if (isTraceFile(fd)) {
        errno = EBADF;
        return -1;
    }
    const Descriptor descriptor = descriptorOf(fd);
    forgetDescriptor(fd); // before another thread may get its number
    const TracedCall made;
    const int result = NEXT(int (*)(int), close)(fd);
    if (descriptor.role != DescriptorRole::none) {
        made.record(TraceKind::close, {.result = result, .fd = fd, .more = descriptor.device});
    }
    return result;
}

// A stream may have been made of a descriptor that is noted.
INTERPOSE(int, fclose, (std::FILE * stream)) {
    forgetDescriptor(fileno(stream));
    return NEXT(int (*)(std::FILE *), fclose)(stream);
}

#ifndef __LP64__
// Names that 32-bit programs with 64-bit times reach.
#ifdef __GLIBC__
INTERPOSE_TRACED_STAT(__stat64_time64, void)
#else
INTERPOSE_TRACED_STAT(__stat_time64, void)
#endif
#endif

#ifdef __GLIBC__
// The names of programs with 64-bit file offsets, and of programs whose buffers are guarded.
INTERPOSE_TRACED_OPEN(open64)
INTERPOSE_TRACED_OPEN_2(__open_2)
INTERPOSE_TRACED_OPEN_2(__open64_2)
INTERPOSE_TRACED_FOPEN(fopen64)
INTERPOSE_TRACED_STAT(stat64, struct stat64)

INTERPOSE(ssize_t, __read_chk, (int fd, void *buffer, std::size_t size, std::size_t room)) {
    if (size > room) {
        __builtin_trap();
    }
    return readTraced(NEXT(Read, read), fd, buffer, size);
}
#endif
