// What the daemon's descriptors stand for.
#pragma once

#include <cstddef>
#include <cstdint>

enum class DescriptorRole : std::uint8_t { none, device, stream, fifo, settings, file };

struct Descriptor {
    DescriptorRole role;
    std::uint8_t device;    // its path's number, see trace_format.h
    std::uint32_t recorded; // bytes of a file
};

// Notes what a path that has been opened stands for.
void noteOpened(int fd, const char *path, int flags);

void noteRole(int fd, DescriptorRole role);
void forgetDescriptor(int fd);

// What is noted of a descriptor; of one that nothing is noted of, that it has no role.
Descriptor descriptorOf(int fd);

// How many of so many bytes that have been read from a file are to be recorded. They count as
// recorded.
std::size_t takeFileBytes(int fd, std::size_t count);
