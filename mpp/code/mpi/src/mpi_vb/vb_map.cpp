#include "mpp/code/mpi/src/mpi_vb/vb_map.h"

#include "base/mutex_guard.h"
#include "mpp/code/mpi/src/mpi_vb/vb_device.h"
#include "mpp/code/mpi/src/mpi_vb/vb_record.h"
#include "mpp/code/mpp_report.h"
#include "mpp/include/mpp_sys.h"
#include "mpp/include/mpp_vb.h"

namespace {

struct PoolMapping {
    std::uint32_t isMapped;
    std::uint32_t pool;
    std::uint32_t size;
    std::uint32_t phys;
    void *virt;
};

// The locks exist from the process's start.
struct PoolEntry {
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    PoolMapping mapping = {};
};

PoolEntry pools[VB_MAX_POOLS];

bool isPool(std::uint32_t pool, CallSite site = CallSite::here()) {
    if (pool >= VB_MAX_POOLS) {
        mppReport(site, "Illegal poolid %d!\n", shown(pool));
    }
    return pool < VB_MAX_POOLS;
}

bool isMapped(const PoolMapping &mapping, std::uint32_t pool, CallSite site = CallSite::here()) {
    if (mapping.isMapped == 0) {
        mppReport(site, "Pool %d hasn't mapped!\n", shown(pool));
        return false;
    }
    mppAssert(mapping.virt != nullptr, "NULL != pstPoolInfo->pPoolVirAddr", site);
    return true;
}

} // namespace

void vbMapForget() {
    for (PoolEntry &entry : pools) {
        const MutexGuard guard(entry.lock);
        entry.mapping = {};
    }
}

std::int32_t HI_MPI_VB_MmapPool(std::uint32_t pool) {
    if (!isPool(pool)) {
        return ERR_VB_ILLEGAL_PARAM;
    }
    const MutexGuard guard(pools[pool].lock);
    PoolMapping &mapping = pools[pool].mapping;
    if (mapping.isMapped != 0) {
        mppReport(CallSite::here(), "Pool %d has mapped!\n", shown(pool));
        return 0;
    }
    VbPoolInfoRecord info = {.pool = pool, .size = 0, .phys = 0, .unused = 0};
    const std::int32_t result = vbDeviceCommand(VB_CMD_POOL_INFO, &info);
    if (result != 0) {
        mppReport(CallSite::here(), "Get vb pool %d's info failed!\n", shown(pool));
        return result;
    }
    void *const virt = HI_MPI_SYS_Mmap(info.phys, info.size);
    if (virt == nullptr) {
        mppReport(CallSite::here(), "Get vb pool %d' mmap user addr failed!\n", shown(pool));
        return ERR_VB_NOMEM;
    }
    mapping = {1, pool, info.size, info.phys, virt};
    return 0;
}

std::int32_t HI_MPI_VB_MunmapPool(std::uint32_t pool) {
    if (!isPool(pool)) {
        return ERR_VB_ILLEGAL_PARAM;
    }
    const MutexGuard guard(pools[pool].lock);
    PoolMapping &mapping = pools[pool].mapping;
    if (!isMapped(mapping, pool)) {
        return 0;
    }
    std::uint32_t poolInUseCount = pool;
    const std::int32_t result = vbDeviceCommand(VB_CMD_POOL_USE, &poolInUseCount);
    if (result != 0) {
        mppReport(CallSite::here(), "Query vb pool %d used stat failed!\n", shown(pool));
        return result;
    }
    if (poolInUseCount != 0) {
        mppReport(CallSite::here(), "Vb pool %d  is used by some modules!\n", shown(pool));
        return ERR_VB_BUSY;
    }
    HI_MPI_SYS_Munmap(mapping.virt, mapping.size);
    mapping.virt = nullptr;
    mapping.isMapped = 0;
    return 0;
}

std::int32_t HI_MPI_VB_GetBlkVirAddr(std::uint32_t pool, std::uint32_t phys, void **virt) {
    if (virt == nullptr) {
        return ERR_VB_NULL_PTR;
    }
    if (!isPool(pool)) {
        return ERR_VB_ILLEGAL_PARAM;
    }
    const MutexGuard guard(pools[pool].lock);
    const PoolMapping &mapping = pools[pool].mapping;
    if (!isMapped(mapping, pool)) {
        return ERR_VB_NOT_READY;
    }
    if (phys < mapping.phys || phys - mapping.phys > mapping.size) {
        mppReport(CallSite::here(), "Pool %d doesn't hold phys addr 0x%x!\n", shown(pool), phys);
        return ERR_VB_ILLEGAL_PARAM;
    }
    *virt = static_cast<char *>(mapping.virt) + (phys - mapping.phys);
    return 0;
}
