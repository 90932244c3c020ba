// Descriptors: opening device files and what is done with them.
#include "vcam/camera/camera_paths.h"
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"
#include "vcam/preload/optional_argument.h"
#include "vcam/preload/world_socket.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int openPath(int dirFd, const char *path, int flags, mode_t mode) {
    int device = -1;
    if (path != nullptr && path[0] == '/' && openDevice(path, &device)) {
        return device;
    }
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_openat, dirFd, cameraPlaceOf(path, buffer), flags, mode));
}

#ifdef O_LARGEFILE
constexpr int largeFile = O_LARGEFILE;
#else
constexpr int largeFile = 0;
#endif

void *mapFile(void *address, std::size_t length, int protection, int flags, int fd,
              std::uint64_t offset) {
    OpenDevice *const open = openDeviceOf(fd);
    if (open != nullptr && (flags & MAP_ANONYMOUS) == 0) {
        void *const mapping = open->device->map(open->file, length, offset);
        return mapping != nullptr ? mapping : MAP_FAILED;
    }
#ifdef SYS_mmap2
    return reinterpret_cast<void *>(syscall(SYS_mmap2, address, length, protection, flags, fd,
                                            static_cast<unsigned long>(offset >> 12)));
#else
    return reinterpret_cast<void *>(
        syscall(SYS_mmap, address, length, protection, flags, fd, offset));
#endif
}

ssize_t readFile(int fd, void *buffer, std::size_t size) {
    OpenDevice *const open = openDeviceOf(fd);
    return open != nullptr ? open->device->read(open->file, buffer, size)
                           : readFromFile(fd, buffer, size);
}

int controlFile(int fd, int command, void *argument) {
#ifdef SYS_fcntl64
    const auto result = static_cast<int>(syscall(SYS_fcntl64, fd, command, argument));
#else
    const auto result = static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
#endif
    const bool isCopy = command == F_DUPFD || command == F_DUPFD_CLOEXEC;
    return isCopy ? copyDevice(fd, result) : result;
}

} // namespace

INTERPOSE(int, open, (const char *path, int flags, ...)) {
    OPTIONAL_MODE(flags)
    return openPath(AT_FDCWD, path, flags, mode);
}

INTERPOSE(int, openat, (int dirFd, const char *path, int flags, ...)) {
    OPTIONAL_MODE(flags)
    return openPath(dirFd, path, flags, mode);
}

INTERPOSE(int, __open_2, (const char *path, int flags)) {
    return openPath(AT_FDCWD, path, flags, 0);
}

INTERPOSE(int, close, (int fd)) {
    forgetDevice(fd);
    forgetSocket(fd);
    return static_cast<int>(syscall(SYS_close, fd));
}

INTERPOSE(int, dup, (int fd)) {
    return copyDevice(fd, static_cast<int>(syscall(SYS_dup, fd)));
}

INTERPOSE(int, dup2, (int fd, int copy)) {
    if (fd == copy) {
        return controlFile(fd, F_GETFD, nullptr) < 0 ? -1 : copy;
    }
    return copyDevice(fd, static_cast<int>(syscall(SYS_dup3, fd, copy, 0)));
}

INTERPOSE(int, dup3, (int fd, int copy, int flags)) {
    return copyDevice(fd, static_cast<int>(syscall(SYS_dup3, fd, copy, flags)));
}

INTERPOSE(int, fcntl, (int fd, int command, ...)) {
    OPTIONAL_ARGUMENT(void *, command, argument);
    return controlFile(fd, command, argument);
}

INTERPOSE(int, ioctl, (int fd, unsigned long request, ...)) {
    OPTIONAL_ARGUMENT(void *, request, argument);
    OpenDevice *const open = openDeviceOf(fd);
    return open != nullptr ? deviceCommand(*open, request, argument)
                           : static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}

INTERPOSE(ssize_t, read, (int fd, void *buffer, std::size_t size)) {
    return readFile(fd, buffer, size);
}

INTERPOSE(ssize_t, __read_chk, (int fd, void *buffer, std::size_t size, std::size_t room)) {
    if (size > room) {
        __builtin_trap();
    }
    return readFile(fd, buffer, size);
}

INTERPOSE(void *, mmap,
          (void *address, std::size_t length, int protection, int flags, int fd, long offset)) {
    return mapFile(address, length, protection, flags, fd, static_cast<unsigned long>(offset));
}

#ifdef __GLIBC__
// The names of programs with 64-bit file offsets.
INTERPOSE(int, open64, (const char *path, int flags, ...)) {
    OPTIONAL_MODE(flags)
    return openPath(AT_FDCWD, path, flags | largeFile, mode);
}

INTERPOSE(int, openat64, (int dirFd, const char *path, int flags, ...)) {
    OPTIONAL_MODE(flags)
    return openPath(dirFd, path, flags | largeFile, mode);
}

INTERPOSE(int, __open64_2, (const char *path, int flags)) {
    return openPath(AT_FDCWD, path, flags | largeFile, 0);
}

INTERPOSE(int, fcntl64, (int fd, int command, ...)) {
    OPTIONAL_ARGUMENT(void *, command, argument);
    return controlFile(fd, command, argument);
}

INTERPOSE(void *, mmap64,
          (void *address, std::size_t length, int protection, int flags, int fd, off64_t offset)) {
    return mapFile(address, length, protection, flags, fd, static_cast<std::uint64_t>(offset));
}
#endif

#ifndef __LP64__
// Names that 32-bit programs with 64-bit times reach.
INTERPOSE(int, __fcntl_time64, (int fd, int command, ...)) {
    OPTIONAL_ARGUMENT(void *, command, argument);
    return controlFile(fd, command, argument);
}

INTERPOSE(int, __ioctl_time64, (int fd, unsigned long request, ...)) {
    OPTIONAL_ARGUMENT(void *, request, argument);
    OpenDevice *const open = openDeviceOf(fd);
    return open != nullptr ? deviceCommand(*open, request, argument)
                           : static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}
#endif
