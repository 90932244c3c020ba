// The system block allocator.
#include "base/mutex_guard.h"
#include "mpp/code/lazy_device.h"
#include "mpp/code/mpi/src/mpi_vb/mmz_request.h"
#include "mpp/code/mpp_report.h"
#include "mpp/code/record_address.h"
#include "mpp/include/mpp_sys.h"
#include "mpp/include/mpp_vb.h"

#include <fcntl.h>

#include <cstdio>

namespace {

constexpr std::uint32_t cachedFlag = 1;

LazyDevice systemZoneDevice("/dev/mmz_userdev", 1, 1);
pthread_mutex_t zoneLock = PTHREAD_MUTEX_INITIALIZER;

// Makes sure that the device is open. 0, or ERR_SYS_NOT_READY after a report. The caller holds the
// zone lock.
std::int32_t openZone() {
    if (!systemZoneDevice.isOpened(systemZoneDevice.acquire(O_RDWR))) {
        std::perror("open mmz_userdev");
        return ERR_SYS_NOT_READY;
    }
    return 0;
}

std::int32_t issue(std::uint32_t command, void *record) {
    return Device_Ioctl(systemZoneDevice.get(), command, record);
}

std::int32_t allocate(std::uint32_t *phys, void **virt, MmzBlockRecord record,
                      std::uint32_t mapCommand, CallSite site = CallSite::here()) {
    if (phys == nullptr || virt == nullptr) {
        return ERR_SYS_NULL_PTR;
    }
    const MutexGuard guard(zoneLock);
    std::int32_t result = openZone();
    if (result != 0) {
        return result;
    }
    result = issue(MMZ_CMD_ALLOC, &record);
    if (result != 0) {
        mppReport(site, "System alloc mmz memory failed!\n");
        return result;
    }
    result = issue(mapCommand, &record);
    if (result == 0 && record.virt == 0) {
        result = ERR_SYS_NOMEM; // a driver's word is not taken for memory
    }
    if (result != 0) {
        mppReport(site, "System remap mmz memory failed!\n");
        MmzBlockRecord block = mmzReference(record.phys);
        issue(MMZ_CMD_FREE, &block);
        return result;
    }
    *phys = record.phys;
    *virt = addressFromRecord(record.virt);
    return 0;
}

} // namespace

std::int32_t HI_MPI_SYS_AllocBlock(std::uint32_t *phys, void **virt, const char *name,
                                   const char *zone, std::uint32_t size) {
    return allocate(phys, virt, mmzRequest(name, zone, size), MMZ_CMD_MAP);
}

std::int32_t HI_MPI_SYS_AllocBlockCached(std::uint32_t *phys, void **virt, const char *name,
                                         const char *zone, std::uint32_t size) {
    return allocate(phys, virt, mmzRequest(name, zone, size), MMZ_CMD_MAP_CACHED);
}

std::int32_t HI_MPI_SYS_FreeBlock(std::uint32_t phys) {
    const MutexGuard guard(zoneLock);
    std::int32_t result = openZone();
    if (result != 0) {
        return result;
    }
    MmzBlockRecord record = mmzReference(phys);
    result = issue(MMZ_CMD_UNMAP, &record);
    if (result != 0) {
        mppReport(CallSite::here(), "System unmap mmz memory failed!\n");
        return result;
    }
    result = issue(MMZ_CMD_FREE, &record);
    if (result != 0) {
        mppReport(CallSite::here(), "System free mmz memory failed!\n");
    }
    return result;
}

std::int32_t HI_MPI_SYS_LookUpBlock(const void *virt, std::uint32_t *phys, std::uint32_t *cached) {
    if (phys == nullptr || cached == nullptr) {
        return ERR_SYS_NULL_PTR;
    }
    const MutexGuard guard(zoneLock);
    std::int32_t result = openZone();
    if (result != 0) {
        return result;
    }
    MmzBlockRecord record = {};
    record.virt = recordAddress(virt);
    result = issue(MMZ_CMD_LOOK_UP, &record);
    if (result == 0) {
        *phys = record.phys & ~cachedFlag;
        *cached = record.phys & cachedFlag;
    }
    return result;
}

std::int32_t HI_MPI_SYS_FlushBlock(std::uint32_t phys, void *virt, std::uint32_t size) {
    const MutexGuard guard(zoneLock);
    const std::int32_t result = openZone();
    if (result != 0) {
        return result;
    }
    if (phys == 0) {
        return issue(MMZ_CMD_FLUSH_ALL, nullptr);
    }
    MmzRangeRecord record = {phys, recordAddress(virt), size};
    return issue(MMZ_CMD_FLUSH_RANGE, &record);
}
