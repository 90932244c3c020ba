// Calls that name a file.
#include "vcam/camera/camera_paths.h"
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/limits.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// Passes a call of two arguments, the first a path, on to its next definition.
template <typename Result, typename Second>
Result passPath(const char *name, const char *path, Second second) {
    char buffer[cameraPathRoom];
    const auto next = nextDefinition<Result (*)(const char *, Second)>(name);
    return next(cameraPlaceOf(path, buffer), second);
}

// The same for the *at calls.
template <typename Status>
int passStatAt(const char *name, int dirFd, const char *path, Status *status, int flags) {
    char buffer[cameraPathRoom];
    const auto next = nextDefinition<int (*)(int, const char *, Status *, int)>(name);
    return next(dirFd, cameraPlaceOf(path, buffer), status, flags);
}

bool namesDevice(const char *path) {
    char plain[cameraPathRoom];
    if (path == nullptr || path[0] != '/' || std::strlen(path) >= sizeof plain) {
        return false;
    }
    writePlainPath(path, plain);
    return isDevicePath(plain);
}

int unlinkPath(const char *path, int flags, int dirFd = AT_FDCWD) {
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_unlinkat, dirFd, cameraPlaceOf(path, buffer), flags));
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses)

// A call of a path and something else, and one of a directory, a path, a status and flags.
#define INTERPOSE_PATH(result, name, type)                                                         \
    INTERPOSE(result, name, (const char *path, type second)) {                                     \
        return passPath<result>(#name, path, second);                                              \
    }
#define INTERPOSE_STAT_AT(name, type)                                                              \
    INTERPOSE(int, name, (int dirFd, const char *path, type *status, int flags)) {                 \
        return passStatAt(#name, dirFd, path, status, flags);                                      \
    }

// NOLINTEND(bugprone-macro-parentheses)

INTERPOSE_PATH(std::FILE *, fopen, const char *)
INTERPOSE_PATH(int, stat, struct stat *)
INTERPOSE_PATH(int, lstat, struct stat *)
INTERPOSE_STAT_AT(fstatat, struct stat)
INTERPOSE_PATH(char *, realpath, char *)
INTERPOSE_PATH(key_t, ftok, int)

#ifdef __GLIBC__
// The names of programs with 64-bit file offsets.
INTERPOSE_PATH(std::FILE *, fopen64, const char *)
INTERPOSE_PATH(int, stat64, struct stat64 *)
INTERPOSE_PATH(int, lstat64, struct stat64 *)
INTERPOSE_STAT_AT(fstatat64, struct stat64)
#ifndef __LP64__
// Names that 32-bit programs with 64-bit times reach.
INTERPOSE_PATH(int, __stat64_time64, void *)
INTERPOSE_STAT_AT(__fstatat64_time64, void)
#endif
#endif

INTERPOSE(int, access, (const char *path, int mode)) {
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_faccessat, AT_FDCWD, cameraPlaceOf(path, buffer), mode));
}

INTERPOSE(int, mkfifo, (const char *path, mode_t mode)) {
    char buffer[cameraPathRoom];
    return static_cast<int>(
        syscall(SYS_mknodat, AT_FDCWD, cameraPlaceOf(path, buffer), mode | S_IFIFO, 0));
}

INTERPOSE(int, chmod, (const char *path, mode_t mode)) {
    if (cameraDir() != nullptr && namesDevice(path)) {
        errno = EPERM; // what stands for it is a link to the PC's null device
        return -1;
    }
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_fchmodat, AT_FDCWD, cameraPlaceOf(path, buffer), mode));
}

INTERPOSE(int, unlink, (const char *path)) {
    return unlinkPath(path, 0);
}

INTERPOSE(int, unlinkat, (int dirFd, const char *path, int flags)) {
    return unlinkPath(path, flags, dirFd);
}

INTERPOSE(int, remove, (const char *path)) {
    const int result = unlinkPath(path, 0);
    return result != 0 && (errno == EISDIR || errno == EPERM) ? unlinkPath(path, AT_REMOVEDIR)
                                                              : result;
}

INTERPOSE(int, statx,
          (int dirFd, const char *path, int flags, unsigned mask, struct statx *status)) {
    char buffer[cameraPathRoom];
    return static_cast<int>(
        syscall(SYS_statx, dirFd, cameraPlaceOf(path, buffer), flags, mask, status));
}

INTERPOSE(DIR *, opendir, (const char *path)) {
    char buffer[cameraPathRoom];
    return nextDefinition<DIR *(*)(const char *)>("opendir")(cameraPlaceOf(path, buffer));
}

INTERPOSE(char *, __realpath_chk, (const char *path, char *resolved, std::size_t room)) {
    if (room < PATH_MAX) {
        __builtin_trap();
    }
    return passPath<char *>("realpath", path, resolved);
}

INTERPOSE(ssize_t, readlink, (const char *path, char *target, std::size_t size)) {
    char buffer[cameraPathRoom];
    return syscall(SYS_readlinkat, AT_FDCWD, cameraPlaceOf(path, buffer), target, size);
}

INTERPOSE(int, mkdir, (const char *path, mode_t mode)) {
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_mkdirat, AT_FDCWD, cameraPlaceOf(path, buffer), mode));
}

INTERPOSE(int, rmdir, (const char *path)) {
    return unlinkPath(path, AT_REMOVEDIR);
}

INTERPOSE(int, rename, (const char *from, const char *to)) {
    char fromBuffer[cameraPathRoom];
    char toBuffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, cameraPlaceOf(from, fromBuffer),
                                    AT_FDCWD, cameraPlaceOf(to, toBuffer), 0));
}
