// Calls that the board has no part in, except that it can make them fail.
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"

#include <poll.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

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

INTERPOSE(int, pthread_create,
          (pthread_t * thread, const pthread_attr_t *attributes, void *(*run)(void *),
           void *argument)) {
    using Create = int (*)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    return callFails("pthread_create")
               ? errno
               : nextDefinition<Create>("pthread_create")(thread, attributes, run, argument);
}

// NOLINTBEGIN(bugprone-macro-parentheses)

// Defines a call that the board may fail under `fault` and that passes otherwise. `arguments` are
// the parameters' names in parentheses.
#define INTERPOSE_FAULT(result, failed, fault, name, parameters, arguments)                        \
    INTERPOSE(result, name, parameters) {                                                          \
        return callFails(fault) ? (failed)                                                         \
                                : nextDefinition<result(*) parameters>(#name) arguments;           \
    }

// NOLINTEND(bugprone-macro-parentheses)

INTERPOSE_FAULT(int, -1, "socket", socket, (int domain, int type, int protocol),
                (domain, type, protocol))
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

INTERPOSE_FAULT(int, -1, "fstat", fstat, (int fd, struct stat *status), (fd, status))
INTERPOSE_FAULT(int, -1, "fstat", fstat64, (int fd, struct stat64 *status), (fd, status))
INTERPOSE_FAULT(int, -1, "fchmod", fchmod, (int fd, mode_t mode), (fd, mode))
INTERPOSE_FAULT(off_t, -1, "lseek", lseek, (int fd, off_t offset, int whence), (fd, offset, whence))
INTERPOSE_FAULT(off64_t, -1, "lseek", lseek64, (int fd, off64_t offset, int whence),
                (fd, offset, whence))

INTERPOSE_FAULT(int, -1, "shmget", shmget, (key_t key, std::size_t size, int flags),
                (key, size, flags))
INTERPOSE_FAULT(void *, reinterpret_cast<void *>(-1), "shmat", shmat,
                (int segment, const void *address, int flags), (segment, address, flags))
INTERPOSE_FAULT(int, -1, "shmctl", shmctl, (int segment, int command, shmid_ds *status),
                (segment, command, status))
INTERPOSE_FAULT(int, -1, "semget", semget, (key_t key, int count, int flags), (key, count, flags))
INTERPOSE_FAULT(int, -1, "semop", semop, (int set, sembuf *operations, std::size_t count),
                (set, operations, count))
