// Calls of the C library that the board may make fail. A library of its own, preloaded in front of
// the board's, and only when failures are asked for: else the calls are what they are on a PC.
#include "vcam/board/library_calls.h"
#include "vcam/preload/call_fault.h"
#include "vcam/preload/interpose.h"
#include "vcam/preload/optional_argument.h"

#include <poll.h>
#include <pthread.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

// Fails the build on a name that is in no list: it is not a constant expression.
void noSuchLibraryCall() {}

struct FailingCall {
    consteval FailingCall(const char *name) : code(libraryCallCode(name)) {
        if (code == 0) {
            noSuchLibraryCall();
        }
    }
    std::uint32_t code;
};

// Counts a call. True, with errno set, when the board is to fail it this time.
bool callFails(FailingCall call) {
    if (!vcamCallFails(call.code)) {
        return false;
    }
    errno = libraryCalls[call.code - 1].error;
    return true;
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses)

// Defines a call that the board may fail under `fault` and that passes otherwise. `arguments` are
// the parameters' names in parentheses.
#define INTERPOSE_FAULT(result, failed, fault, name, parameters, arguments)                        \
    INTERPOSE(result, name, parameters) {                                                          \
        return callFails(fault) ? (failed)                                                         \
                                : nextDefinition<result(*) parameters>(#name) arguments;           \
    }

// The same for calls that are variadic to the compiler only.
#define INTERPOSE_FAULT_OPEN(name)                                                                 \
    INTERPOSE(int, name, (const char *path, int flags, ...)) {                                     \
        OPTIONAL_MODE(flags)                                                                       \
        using Open = int (*)(const char *, int, ...);                                              \
        return callFails("open") ? -1 : nextDefinition<Open>(#name)(path, flags, mode);            \
    }
#define INTERPOSE_FAULT_OPENAT(name)                                                               \
    INTERPOSE(int, name, (int dirFd, const char *path, int flags, ...)) {                          \
        OPTIONAL_MODE(flags)                                                                       \
        using OpenAt = int (*)(int, const char *, int, ...);                                       \
        return callFails("open") ? -1 : nextDefinition<OpenAt>(#name)(dirFd, path, flags, mode);   \
    }
#define INTERPOSE_FAULT_FCNTL(name)                                                                \
    INTERPOSE(int, name, (int fd, int command, ...)) {                                             \
        OPTIONAL_ARGUMENT(void *, command, argument);                                              \
        using Control = int (*)(int, int, ...);                                                    \
        return callFails("fcntl") ? -1 : nextDefinition<Control>(#name)(fd, command, argument);    \
    }

// NOLINTEND(bugprone-macro-parentheses)

#ifdef __GLIBC__
// What the allocator is called by those that stand in front of it: found without a look-up, which
// might allocate itself.
extern "C" {
void *__libc_malloc(std::size_t size);                    // NOLINT(bugprone-reserved-identifier)
void *__libc_calloc(std::size_t count, std::size_t size); // NOLINT(bugprone-reserved-identifier)
void *__libc_realloc(void *memory, std::size_t size);     // NOLINT(bugprone-reserved-identifier)
}

INTERPOSE(void *, malloc, (std::size_t size)) {
    return callFails("malloc") ? nullptr : __libc_malloc(size);
}

INTERPOSE(void *, calloc, (std::size_t count, std::size_t size)) {
    return callFails("calloc") ? nullptr : __libc_calloc(count, size);
}

INTERPOSE(void *, realloc, (void *memory, std::size_t size)) {
    return callFails("realloc") ? nullptr : __libc_realloc(memory, size);
}
#else
INTERPOSE_FAULT(void *, nullptr, "malloc", malloc, (std::size_t size), (size))
INTERPOSE_FAULT(void *, nullptr, "calloc", calloc, (std::size_t count, std::size_t size),
                (count, size))
INTERPOSE_FAULT(void *, nullptr, "realloc", realloc, (void *memory, std::size_t size),
                (memory, size))
#endif

INTERPOSE_FAULT_OPEN(open)
INTERPOSE_FAULT_OPENAT(openat)
INTERPOSE_FAULT_FCNTL(fcntl)
INTERPOSE_FAULT(ssize_t, -1, "read", read, (int fd, void *buffer, std::size_t size),
                (fd, buffer, size))
INTERPOSE_FAULT(void *, MAP_FAILED, "mmap", mmap,
                (void *address, std::size_t length, int protection, int flags, int fd, long offset),
                (address, length, protection, flags, fd, offset))
INTERPOSE_FAULT(int, -1, "fstat", fstat, (int fd, struct stat *status), (fd, status))
INTERPOSE_FAULT(int, -1, "fchmod", fchmod, (int fd, mode_t mode), (fd, mode))
INTERPOSE_FAULT(off_t, -1, "lseek", lseek, (int fd, off_t offset, int whence), (fd, offset, whence))

INTERPOSE_FAULT(std::FILE *, nullptr, "fopen", fopen, (const char *path, const char *mode),
                (path, mode))
INTERPOSE_FAULT(int, -1, "stat", stat, (const char *path, struct stat *status), (path, status))
INTERPOSE_FAULT(int, -1, "access", access, (const char *path, int mode), (path, mode))
INTERPOSE_FAULT(int, -1, "mkfifo", mkfifo, (const char *path, mode_t mode), (path, mode))
INTERPOSE_FAULT(int, -1, "chmod", chmod, (const char *path, mode_t mode), (path, mode))
INTERPOSE_FAULT(int, -1, "unlink", unlink, (const char *path), (path))
INTERPOSE_FAULT(int, -1, "remove", remove, (const char *path), (path))
INTERPOSE_FAULT(key_t, -1, "ftok", ftok, (const char *path, int project), (path, project))

INTERPOSE_FAULT(int, -1, "socket", socket, (int domain, int type, int protocol),
                (domain, type, protocol))
INTERPOSE_FAULT(int, -1, "bind", bind, (int fd, const sockaddr *address, socklen_t length),
                (fd, address, length))
INTERPOSE_FAULT(int, -1, "connect", connect, (int fd, const sockaddr *address, socklen_t length),
                (fd, address, length))
INTERPOSE_FAULT(int, -1, "setsockopt", setsockopt,
                (int fd, int level, int name, const void *value, socklen_t size),
                (fd, level, name, value, size))
INTERPOSE_FAULT(ssize_t, -1, "send", send, (int fd, const void *data, std::size_t size, int flags),
                (fd, data, size, flags))
INTERPOSE_FAULT(int, -1, "select", select,
                (int count, fd_set *readable, fd_set *writable, fd_set *exceptional,
                 timeval *timeout),
                (count, readable, writable, exceptional, timeout))
INTERPOSE_FAULT(int, -1, "poll", poll, (pollfd * fds, nfds_t count, int timeout),
                (fds, count, timeout))

INTERPOSE_FAULT(int, -1, "shmget", shmget, (key_t key, std::size_t size, int flags),
                (key, size, flags))
INTERPOSE_FAULT(void *, reinterpret_cast<void *>(-1), "shmat", shmat,
                (int segment, const void *address, int flags), (segment, address, flags))
INTERPOSE_FAULT(int, -1, "shmctl", shmctl, (int segment, int command, shmid_ds *status),
                (segment, command, status))
INTERPOSE_FAULT(int, -1, "semget", semget, (key_t key, int count, int flags), (key, count, flags))
INTERPOSE_FAULT(int, -1, "semop", semop, (int set, sembuf *operations, std::size_t count),
                (set, operations, count))

INTERPOSE(int, pthread_create,
          (pthread_t * thread, const pthread_attr_t *attributes, void *(*run)(void *),
           void *argument)) {
    using Create = int (*)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    return callFails("pthread_create")
               ? errno
               : nextDefinition<Create>("pthread_create")(thread, attributes, run, argument);
}

#ifdef __GLIBC__
// The names of programs with 64-bit file offsets, and of programs whose buffers are guarded.
INTERPOSE_FAULT_OPEN(open64)
INTERPOSE_FAULT_OPENAT(openat64)
INTERPOSE_FAULT_FCNTL(fcntl64)
INTERPOSE_FAULT(int, -1, "open", __open_2, (const char *path, int flags), (path, flags))
INTERPOSE_FAULT(int, -1, "open", __open64_2, (const char *path, int flags), (path, flags))
INTERPOSE_FAULT(ssize_t, -1, "read", __read_chk,
                (int fd, void *buffer, std::size_t size, std::size_t room),
                (fd, buffer, size, room))
INTERPOSE_FAULT(void *, MAP_FAILED, "mmap", mmap64,
                (void *address, std::size_t length, int protection, int flags, int fd,
                 off64_t offset),
                (address, length, protection, flags, fd, offset))
INTERPOSE_FAULT(int, -1, "fstat", fstat64, (int fd, struct stat64 *status), (fd, status))
INTERPOSE_FAULT(off64_t, -1, "lseek", lseek64, (int fd, off64_t offset, int whence),
                (fd, offset, whence))
INTERPOSE_FAULT(std::FILE *, nullptr, "fopen", fopen64, (const char *path, const char *mode),
                (path, mode))
INTERPOSE_FAULT(int, -1, "stat", stat64, (const char *path, struct stat64 *status), (path, status))
#ifndef __LP64__
// Names that 32-bit programs with 64-bit times reach.
INTERPOSE_FAULT(int, -1, "stat", __stat64_time64, (const char *path, void *status), (path, status))
INTERPOSE_FAULT(int, -1, "fstat", __fstat64_time64, (int fd, void *status), (fd, status))
INTERPOSE_FAULT_FCNTL(__fcntl_time64)
#endif
#endif
