// What a process holds of the system.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>

struct Holdings {
    std::uint64_t kilobytes = 0; // of memory of its own; pages of the board are not
    std::uint64_t descriptors = 0;
    std::uint64_t segments = 0; // of shared memory that it has attached
};

// Throws a CameraError when the process cannot be looked at.
Holdings holdingsOf(pid_t pid);

// Of each the least: now and then a process has a file open for a moment.
Holdings leastOf(const std::deque<Holdings> &looks);
