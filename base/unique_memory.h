// Memory from the C allocator that frees itself.
#pragma once

#include <cstdlib>
#include <memory>

struct MemoryFreer {
    void operator()(void *memory) const { std::free(memory); }
};

// Owns one block from malloc or calloc, or none. T must be trivially destructible: nothing but the
// memory is given back.
template <typename T>
using UniqueMemory = std::unique_ptr<T, MemoryFreer>;
