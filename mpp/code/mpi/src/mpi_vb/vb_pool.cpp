// Start, configuration, pools and blocks of the video buffers.
#include "mpp/code/mpi/src/mpi_vb/vb_device.h"
#include "mpp/code/mpi/src/mpi_vb/vb_map.h"
#include "mpp/code/mpi/src/mpi_vb/vb_record.h"
#include "mpp/code/mpp_report.h"
#include "mpp/code/record_name.h"
#include "mpp/include/mpp_vb.h"

#include <cstdio>
#include <cstring>

namespace {

static_assert(VB_ZONE_NAME_SIZE == MMZ_ZONE_NAME_SIZE);

bool isZoneTooLong(const VB_POOL_S &pool) {
    if (pool.u32BlkSize == 0 || pool.u32BlkCnt == 0) {
        return false;
    }
    const std::size_t length = strnlen(pool.acMmzName, sizeof pool.acMmzName);
    if (length < sizeof pool.acMmzName) {
        return false;
    }
    std::printf("mmz name len:%d,it's too long\n", shown(length));
    return true;
}

std::int32_t userCommand(std::uint32_t command, std::uint32_t user,
                         CallSite site = CallSite::here()) {
    if (user > VB_MAX_USER) {
        mppReport(site, "Illegal user id %d!\n", shown(user));
        return ERR_VB_ILLEGAL_PARAM;
    }
    return vbDeviceCommand(command, &user);
}

} // namespace

std::int32_t HI_MPI_VB_Init() {
    vbMapForget();
    return vbDeviceCommand(VB_CMD_INIT, nullptr);
}

std::int32_t HI_MPI_VB_Exit() {
    const std::int32_t error = vbDeviceOpen();
    if (error != 0) {
        return error;
    }
    const std::int32_t result = vbDeviceCommand(VB_CMD_EXIT, nullptr);
    vbMapForget();
    if (result == 0 && vbDeviceClose() != 0) {
        std::perror("Close vb Fail");
    }
    return result;
}

std::int32_t HI_MPI_VB_GetConfig(VB_CONF_S *config) {
    return config == nullptr ? ERR_VB_NULL_PTR : vbDeviceCommand(VB_CMD_GET_CONFIG, config);
}

std::int32_t HI_MPI_VB_SetConfig(const VB_CONF_S *config) {
    if (config == nullptr) {
        return ERR_VB_NULL_PTR;
    }
    for (const VB_POOL_S &pool : config->astCommPool) {
        if (isZoneTooLong(pool)) {
            return ERR_VB_ILLEGAL_PARAM;
        }
    }
    VB_CONF_S record = *config;
    return vbDeviceCommand(VB_CMD_SET_CONFIG, &record);
}

std::uint32_t HI_MPI_VB_CreatePool(std::uint32_t blkSize, std::uint32_t blkCnt, const char *zone) {
    VbPoolRecord record = {VB_INVALID_POOL, blkSize, blkCnt, UINT32_MAX, 0, {}};
    recordCopyName(record.zone, zone);
    return vbDeviceCommand(VB_CMD_CREATE_POOL, &record) == 0 ? record.pool : VB_INVALID_POOL;
}

std::int32_t HI_MPI_VB_DestroyPool(std::uint32_t pool) {
    return vbDeviceCommand(VB_CMD_DESTROY_POOL, &pool);
}

std::uint32_t HI_MPI_VB_GetBlock(std::uint32_t pool, std::uint32_t blkSize, const char *zone) {
    VbBlockRecord record = {.pool = pool,
                            .blkSize = 0,
                            .zero = 0,
                            .block = VB_INVALID_HANDLE,
                            .anyPool = 0,
                            .zone = {}};
    if (pool == VB_INVALID_POOL) {
        record.blkSize = blkSize;
        record.anyPool = 1;
        recordCopyName(record.zone, zone);
    }
    return vbDeviceCommand(VB_CMD_GET_BLOCK, &record) == 0 ? record.block : VB_INVALID_HANDLE;
}

std::int32_t HI_MPI_VB_ReleaseBlock(std::uint32_t block) {
    return vbDeviceCommand(VB_CMD_RELEASE_BLOCK, &block);
}

std::uint32_t HI_MPI_VB_BlockToPhysAddr(std::uint32_t block) {
    return vbDeviceCommand(VB_CMD_BLOCK_TO_PHYS, &block) == 0 ? block : 0;
}

std::uint32_t HI_MPI_VB_BlockToPool(std::uint32_t block) {
    return vbDeviceCommand(VB_CMD_BLOCK_TO_POOL, &block) == 0 ? block : VB_INVALID_POOL;
}

std::int32_t HI_MPI_VB_InitUserPools(std::uint32_t user) {
    return userCommand(VB_CMD_INIT_USER, user);
}

std::int32_t HI_MPI_VB_ExitUserPools(std::uint32_t user) {
    return userCommand(VB_CMD_EXIT_USER, user);
}

std::int32_t HI_MPI_VB_Query(std::uint32_t record[2]) {
    return record == nullptr ? ERR_VB_NULL_PTR : vbDeviceCommand(VB_CMD_QUERY, record);
}

std::int32_t HI_MPI_VB_SetWord(const std::uint32_t *word) {
    if (word == nullptr) {
        return ERR_VB_NULL_PTR;
    }
    std::uint32_t record = *word;
    return vbDeviceCommand(VB_CMD_SET_WORD, &record);
}

std::int32_t HI_MPI_VB_GetWord(std::uint32_t *word) {
    return word == nullptr ? ERR_VB_NULL_PTR : vbDeviceCommand(VB_CMD_GET_WORD, word);
}
