// How the two block allocators fill the zone driver's record.
#pragma once

#include "mpp/code/mpi/src/mpi_vb/mmz_record.h"
#include "mpp/code/record_name.h"

// The record that asks for a block.
inline MmzBlockRecord mmzRequest(const char *name, const char *zone, std::uint32_t size) {
    MmzBlockRecord record = {};
    record.size = size;
    record.mapping = MMZ_SHARED_READ_WRITE;
    recordCopyName(record.name, name);
    recordCopyName(record.zone, zone);
    return record;
}

// The record that names a block by its physical address.
inline MmzBlockRecord mmzReference(std::uint32_t phys) {
    MmzBlockRecord record = {};
    record.phys = phys;
    return record;
}
