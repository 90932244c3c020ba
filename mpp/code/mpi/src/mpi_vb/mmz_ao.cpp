// The block allocator of the audio output.
#include "mpp/code/lazy_device.h"
#include "mpp/code/mpi/src/mpi_vb/mmz_request.h"
#include "mpp/code/record_address.h"
#include "mpp/include/mpp_vb.h"

#include <fcntl.h>

#include <cstdio>

namespace {

LazyDevice aoZoneDevice("/dev/mmz_userdev", 1, 1);

bool openZone() {
    if (!aoZoneDevice.isOpened(aoZoneDevice.acquire(O_RDWR))) {
        std::perror("open /dev/mmz_userdev");
        return false;
    }
    return true;
}

bool issue(std::uint32_t command, MmzBlockRecord *record) {
    return Device_Ioctl(aoZoneDevice.get(), command, record) == 0;
}

} // namespace

std::int32_t VB_AllocAoBlock(const char *name, std::uint32_t *phys, void **virt,
                             std::uint32_t size) {
    if (!openZone()) {
        return -1;
    }
    MmzBlockRecord record = mmzRequest(name, nullptr, size);
    if (!issue(MMZ_CMD_ALLOC, &record) || !issue(MMZ_CMD_MAP, &record)) {
        return -1;
    }
    // A driver that maps nothing but says that it did must not have its word taken for memory.
    if (record.virt == 0) {
        VB_FreeAoBlock(record.phys);
        return -1;
    }
    *phys = record.phys;
    *virt = addressFromRecord(record.virt);
    return 0;
}

std::int32_t VB_FreeAoBlock(std::uint32_t phys) {
    if (!openZone()) {
        return -1;
    }
    MmzBlockRecord record = mmzReference(phys);
    return issue(MMZ_CMD_UNMAP, &record) && issue(MMZ_CMD_FREE, &record) ? 0 : -1;
}
