// Counts what a thread allocates.
#pragma once

#include <cstddef>

// Allocations of this thread since the object was made.
class AllocationCount {
public:
    AllocationCount();
    AllocationCount(const AllocationCount &) = delete;
    AllocationCount &operator=(const AllocationCount &) = delete;
    ~AllocationCount();

    std::size_t get() const;
};
