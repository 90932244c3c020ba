#include "tests/support/redirect.h"

#include "vcam/camera/camera_paths.h"
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"
#include "vcam/preload/world_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstring>

namespace fs = std::filesystem;

namespace {

constexpr long timeoutDivisor = 100;

char redirectedTo[cameraPathRoom];

} // namespace

// What the preloaded library's wrappers ask: this process is a daemon of the directory's camera.
const char *cameraDir() {
    return redirectedTo[0] != '\0' ? redirectedTo : nullptr;
}

int cameraDirFd() {
    return -1;
}

const char *cameraPlaceOf(const char *path, char *buffer) {
    return cameraDir() != nullptr ? placeOf(cameraDir(), path, buffer) : path;
}

int connectSocket(int fd, const sockaddr *address, socklen_t length) {
    return static_cast<int>(syscall(SYS_connect, fd, address, length));
}

INTERPOSE(int, setsockopt, (int fd, int level, int name, const void *value, socklen_t size)) {
    timeval timeout = {};
    if (cameraDir() != nullptr && (name == SO_RCVTIMEO || name == SO_SNDTIMEO)) {
        std::memcpy(&timeout, value, sizeof timeout);
        const long micro = timeout.tv_sec * 1'000'000 / timeoutDivisor;
        timeout = {micro / 1'000'000, micro % 1'000'000};
        value = &timeout;
    }
    return static_cast<int>(syscall(SYS_setsockopt, fd, level, name, value, size));
}

INTERPOSE(int, open, (const char *path, int flags, ...)) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    char buffer[cameraPathRoom];
    return static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, cameraPlaceOf(path, buffer), flags, mode));
}

RedirectedPaths::RedirectedPaths(const fs::path &dir) {
    std::strncpy(redirectedTo, dir.c_str(), sizeof redirectedTo - 1);
}

RedirectedPaths::~RedirectedPaths() {
    redirectedTo[0] = '\0';
}

std::size_t openDescriptorCount() {
    const auto count = std::distance(fs::directory_iterator("/proc/self/fd"), {});
    return static_cast<std::size_t>(count - 1); // the iterator's own
}
