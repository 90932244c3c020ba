#include "vcam/trace/descriptors.h"

#include "vcam/camera/camera_paths.h"
#include "vcam/trace/trace_library.h"

#include <fcntl.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr int descriptorCount = 1024;
constexpr char devicesBegin[] = "/dev/";

// A descriptor passes from thread to thread as the daemon hands it on, which orders what is noted
// of it too.
Descriptor descriptors[descriptorCount];

std::uint8_t deviceNumber(const char *path) {
    for (std::size_t i = 0; i < std::size(cameraDevicePaths); ++i) {
        if (std::strcmp(path, cameraDevicePaths[i]) == 0) {
            return static_cast<std::uint8_t>(i + 1);
        }
    }
    return 0;
}

bool isNotable(int fd) {
    return fd >= 0 && fd < descriptorCount;
}

void note(int fd, const Descriptor &descriptor) {
    if (isNotable(fd)) {
        descriptors[fd] = descriptor;
    }
}

bool isDevice(const char *path) {
    return std::strncmp(path, devicesBegin, sizeof devicesBegin - 1) == 0 &&
           std::strcmp(path, "/dev/null") != 0;
}

} // namespace

void noteOpened(int fd, const char *path, int flags) {
    forgetDescriptor(fd);
    if (isDevice(path)) {
        note(fd, {DescriptorRole::device, deviceNumber(path), 0});
    } else if (std::strcmp(path, controlFifoPath) == 0) {
        noteRole(fd, DescriptorRole::fifo);
    } else if ((flags & O_ACCMODE) == O_RDONLY) {
        noteRole(fd, DescriptorRole::file);
    }
}

void noteRole(int fd, DescriptorRole role) {
    note(fd, {role, 0, 0});
}

void forgetDescriptor(int fd) {
    noteRole(fd, DescriptorRole::none);
}

Descriptor descriptorOf(int fd) {
    return isNotable(fd) ? descriptors[fd] : Descriptor{};
}

std::size_t takeFileBytes(int fd, std::size_t count) {
    if (!isNotable(fd)) {
        return 0;
    }
    std::uint32_t &recorded = descriptors[fd].recorded;
    const std::size_t taken =
        std::min<std::size_t>(count, traceClipLimit() - std::min(traceClipLimit(), recorded));
    recorded += static_cast<std::uint32_t>(taken);
    return taken;
}
