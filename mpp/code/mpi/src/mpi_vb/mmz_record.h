// How the two block allocators fill the zone driver's record.
#pragma once

#include "mpp/code/mpi/src/mpi_vb/vb_record.h"

#include <algorithm>
#include <cstring>

// Copies a name into a field, cut to leave a terminator; null leaves the field empty.
template <std::size_t Size>
void mmzCopyName(char (&field)[Size], const char *name) {
    if (name != nullptr) {
        std::memcpy(field, name, strnlen(name, Size - 1));
    }
}

// The record that asks for a block.
inline MmzBlockRecord mmzRequest(const char *name, const char *zone, std::uint32_t size) {
    MmzBlockRecord record = {};
    record.size = size;
    record.mapping = MMZ_SHARED_READ_WRITE;
    mmzCopyName(record.name, name);
    mmzCopyName(record.zone, zone);
    return record;
}

// The record that names a block by its physical address.
inline MmzBlockRecord mmzReference(std::uint32_t phys) {
    MmzBlockRecord record = {};
    record.phys = phys;
    return record;
}
