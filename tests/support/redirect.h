// Lets a test's own process find a camera's fixed paths in a directory, and waits pass faster.
#pragma once

#include "tests/support/temporary.h"

// While it lasts, calls that name a file or a local socket find the camera's paths under the
// directory, and socket time-outs are a hundredth of what is asked for.
class RedirectedPaths {
public:
    explicit RedirectedPaths(const std::filesystem::path &dir);
    RedirectedPaths(const RedirectedPaths &) = delete;
    RedirectedPaths &operator=(const RedirectedPaths &) = delete;
    ~RedirectedPaths();
};

// How many descriptors this process has open.
std::size_t openDescriptorCount();
