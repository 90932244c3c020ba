#include "tests/support/redirect.h"

#include "vcam/preload/camera_paths.h"
#include "vcam/preload/interpose.h"

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace fs = std::filesystem;

namespace {

constexpr long timeoutDivisor = 100;

char redirectedTo[cameraPathRoom];

const char *redirect(const char *path, char *buffer) {
    return redirectedTo[0] != '\0' ? placeOf(redirectedTo, path, buffer) : path;
}

// The address of a local socket, redirected.
class Redirected {
public:
    Redirected(const sockaddr *address, socklen_t length) : address_(address), length_(length) {
        if (redirectedTo[0] == '\0' || address->sa_family != AF_UNIX) {
            return;
        }
        char path[sizeof(sockaddr_un::sun_path) + 1] = {};
        std::memcpy(path, address->sa_data, length - offsetof(sockaddr_un, sun_path));
        length_ = static_cast<socklen_t>(socketAddressOf(redirectedTo, -1, path, &own_));
        address_ = reinterpret_cast<const sockaddr *>(&own_);
    }

    const sockaddr *address_;
    socklen_t length_;

private:
    sockaddr_un own_ = {};
};

} // namespace

INTERPOSE(int, connect, (int fd, const sockaddr *address, socklen_t length)) {
    const Redirected redirected(address, length);
    return static_cast<int>(syscall(SYS_connect, fd, redirected.address_, redirected.length_));
}

INTERPOSE(int, bind, (int fd, const sockaddr *address, socklen_t length)) {
    const Redirected redirected(address, length);
    return static_cast<int>(syscall(SYS_bind, fd, redirected.address_, redirected.length_));
}

INTERPOSE(int, setsockopt, (int fd, int level, int name, const void *value, socklen_t size)) {
    timeval timeout = {};
    if (redirectedTo[0] != '\0' && (name == SO_RCVTIMEO || name == SO_SNDTIMEO)) {
        std::memcpy(&timeout, value, sizeof timeout);
        const long micro = timeout.tv_sec * 1'000'000 / timeoutDivisor;
        timeout = {micro / 1'000'000, micro % 1'000'000};
        value = &timeout;
    }
    return static_cast<int>(syscall(SYS_setsockopt, fd, level, name, value, size));
}

INTERPOSE(key_t, ftok, (const char *path, int project)) {
    char buffer[cameraPathRoom];
    return nextDefinition<key_t (*)(const char *, int)>("ftok")(redirect(path, buffer), project);
}

INTERPOSE(int, stat, (const char *path, struct stat *status)) {
    char buffer[cameraPathRoom];
    return nextDefinition<int (*)(const char *, struct stat *)>("stat")(redirect(path, buffer),
                                                                        status);
}

INTERPOSE(int, access, (const char *path, int mode)) {
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_faccessat, AT_FDCWD, redirect(path, buffer), mode));
}

INTERPOSE(int, mkfifo, (const char *path, mode_t mode)) {
    char buffer[cameraPathRoom];
    return static_cast<int>(
        syscall(SYS_mknodat, AT_FDCWD, redirect(path, buffer), mode | S_IFIFO, 0));
}

INTERPOSE(int, open, (const char *path, int flags, ...)) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, redirect(path, buffer), flags, mode));
}

INTERPOSE(int, unlink, (const char *path)) {
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, redirect(path, buffer), 0));
}

INTERPOSE(int, chmod, (const char *path, mode_t mode)) {
    char buffer[cameraPathRoom];
    return static_cast<int>(syscall(SYS_fchmodat, AT_FDCWD, redirect(path, buffer), mode));
}

TemporaryDirectory::TemporaryDirectory() {
    char name[] = "/tmp/voxo-test-XXXXXX";
    path_ = mkdtemp(name);
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

RedirectedPaths::RedirectedPaths(const fs::path &dir) {
    std::strncpy(redirectedTo, dir.c_str(), sizeof redirectedTo - 1);
}

RedirectedPaths::~RedirectedPaths() {
    redirectedTo[0] = '\0';
}

std::size_t openDescriptorCount() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count - 1; // the iterator's own
}
