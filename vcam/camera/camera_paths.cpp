#include "vcam/camera/camera_paths.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

constexpr const char *wholePaths[] = {runPath, tesselSocketPath, tesselProgramPath, devicesPath,
                                      logSocketPath};

bool startsWith(const char *text, const char *start) {
    return std::strncmp(text, start, std::strlen(start)) == 0;
}

bool isInside(const char *dir, const char *path) {
    return startsWith(path, dir) && path[std::strlen(dir)] == '/';
}

template <std::size_t Size>
bool isAmong(const char *const (&paths)[Size], const char *path) {
    return std::any_of(std::begin(paths), std::end(paths),
                       [path](const char *one) { return std::strcmp(path, one) == 0; });
}

} // namespace

void writePlainPath(const char *path, char *plain) {
    char *to = plain;
    for (const char *from = path; *from != '\0';) {
        from += std::strspn(from, "/");
        const std::size_t length = std::strcspn(from, "/");
        if (length == 2 && startsWith(from, "..")) {
            while (to > plain && *--to != '/') {
            }
        } else if (length > 0 && !(length == 1 && *from == '.')) {
            *to++ = '/';
            std::memcpy(to, from, length);
            to += length;
        }
        from += length;
    }
    *to = '\0';
}

bool isDevicePath(const char *path) {
    return isAmong(cameraDevicePaths, path);
}

bool isCameraPath(const char *path) {
    return isAmong(wholePaths, path) || isDevicePath(path) || isInside(runPath, path);
}

const char *placeOf(const char *dir, const char *path, char *buffer) {
    const std::size_t dirLength = std::strlen(dir);
    if (path == nullptr || path[0] != '/' || dirLength + std::strlen(path) >= cameraPathRoom) {
        return path;
    }
    char *const plain = buffer + dirLength;
    writePlainPath(path, plain);
    if (!isCameraPath(plain) || isInside(dir, plain)) {
        return path;
    }
    std::copy_n(dir, dirLength, buffer); // in front of the rest
    return buffer;
}

std::size_t socketAddressOf(const char *dir, int dirFd, const char *path, sockaddr_un *address) {
    char buffer[cameraPathRoom];
    const char *const place = placeOf(dir, path, buffer);
    *address = {};
    address->sun_family = AF_UNIX;
    std::size_t length = std::strlen(place);
    if (length < sizeof address->sun_path) {
        std::memcpy(address->sun_path, place, length);
    } else if (isInside(dir, place)) {
        length = static_cast<std::size_t>(std::snprintf(address->sun_path, sizeof address->sun_path,
                                                        "/proc/self/fd/%d%s", dirFd,
                                                        place + std::strlen(dir)));
    }
    return length < sizeof address->sun_path ? offsetof(sockaddr_un, sun_path) + length : 0;
}
