// Counts what a thread allocates.
#pragma once

#include <cstddef>

// Allocations of this thread; sanitized programs count from the first call on.
std::size_t allocationCount();
