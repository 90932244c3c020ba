#include "vcam/board/vb_device.h"

#include "mpp/code/mpi/src/mpi_vb/vb_record.h"
#include "mpp/include/mpp_vb.h"
#include "vcam/board/zone_device.h"

#include <bit>
#include <cstring>

namespace {

// A block's handle names its pool and its place in it.
constexpr std::uint32_t handleShift = 8;
constexpr std::uint32_t handleMask = (1U << handleShift) - 1;

VbPoolRegisters *usedPool(VbRegisters &vb, std::uint32_t id) {
    return id < vbPoolCount && vb.pools[id].used != 0 ? &vb.pools[id] : nullptr;
}

int createPool(const Board &board, VbPoolRecord &record) {
    record.pool = VB_INVALID_POOL;
    if (record.blkSize == 0 || record.blkCnt == 0 || record.blkCnt > vbBlocksPerPool ||
        record.blkSize > zoneSize / record.blkCnt) {
        return ERR_VB_ILLEGAL_PARAM;
    }
    VbRegisters &vb = board.registers.vb;
    for (std::uint32_t id = 0; id < vbPoolCount; ++id) {
        VbPoolRegisters &pool = vb.pools[id];
        if (pool.used != 0) {
            continue;
        }
        pool.phys = zoneTake(board, record.blkSize * record.blkCnt, "VB pool", record.zone);
        if (pool.phys == 0) {
            return ERR_VB_NOMEM;
        }
        pool.blkSize = record.blkSize;
        pool.blkCnt = record.blkCnt;
        pool.taken = 0;
        pool.used = 1;
        record.pool = id;
        return 0;
    }
    return ERR_VB_NOMEM;
}

int destroyPool(const Board &board, std::uint32_t id) {
    VbPoolRegisters *const pool = usedPool(board.registers.vb, id);
    if (pool == nullptr) {
        return ERR_VB_ILLEGAL_PARAM;
    }
    if (pool->taken != 0) {
        return ERR_VB_BUSY;
    }
    zoneGiveBack(board, pool->phys);
    pool->used = 0;
    return 0;
}

bool takeBlock(VbRegisters &vb, std::uint32_t id, VbBlockRecord &record) {
    VbPoolRegisters *const pool = usedPool(vb, id);
    if (pool == nullptr) {
        return false;
    }
    const auto index = static_cast<std::uint32_t>(std::countr_one(pool->taken.load()));
    if (index >= pool->blkCnt) {
        return false;
    }
    pool->taken |= 1U << index;
    record.block = id << handleShift | index;
    return true;
}

int getBlock(VbRegisters &vb, VbBlockRecord &record) {
    record.block = VB_INVALID_HANDLE;
    if (record.anyPool == 0) {
        return takeBlock(vb, record.pool, record) ? 0 : ERR_VB_NOMEM;
    }
    for (std::uint32_t id = 0; id < vbPoolCount; ++id) {
        if (vb.pools[id].blkSize >= record.blkSize && takeBlock(vb, id, record)) {
            return 0;
        }
    }
    return ERR_VB_NOMEM;
}

// Forgets all pools.
void end(const Board &board) {
    VbRegisters &vb = board.registers.vb;
    for (std::uint32_t id = 0; id < vbPoolCount; ++id) {
        vb.pools[id].taken = 0;
        destroyPool(board, id);
    }
    vb.isStarted = 0;
}

int poolInfo(VbRegisters &vb, VbPoolInfoRecord &record) {
    const VbPoolRegisters *const pool = usedPool(vb, record.pool);
    if (pool == nullptr) {
        return ERR_VB_ILLEGAL_PARAM;
    }
    record.size = pool->blkSize * pool->blkCnt;
    record.phys = pool->phys;
    return 0;
}

} // namespace

int VbDevice::command(BoardFile & /*file*/, std::uint32_t command, void *record) {
    VbRegisters &vb = registers().vb;
    if (command == VB_CMD_INIT) {
        vb.isStarted = 1;
        return 0;
    }
    if (command == VB_CMD_EXIT) {
        end(board());
        return 0;
    }
    if (record == nullptr) {
        return refuseRecord();
    }
    auto *const word = static_cast<std::uint32_t *>(record);
    switch (command) {
    case VB_CMD_GET_CONFIG:
        std::memcpy(record, vb.config, sizeof vb.config);
        return 0;
    case VB_CMD_SET_CONFIG:
        std::memcpy(vb.config, record, sizeof vb.config);
        return 0;
    case VB_CMD_SET_WORD:
        vb.word = *word;
        return 0;
    case VB_CMD_GET_WORD:
        *word = vb.word;
        return 0;
    case VB_CMD_INIT_USER:
        vb.userPools |= 1U << (*word & 31U);
        return 0;
    case VB_CMD_EXIT_USER:
        vb.userPools &= ~(1U << (*word & 31U));
        return 0;
    default:
        return poolCommand(command, record);
    }
}

int VbDevice::poolCommand(std::uint32_t command, void *record) {
    VbRegisters &vb = registers().vb;
    auto *const word = static_cast<std::uint32_t *>(record);
    switch (command) {
    case VB_CMD_CREATE_POOL:
        return createPool(board(), *static_cast<VbPoolRecord *>(record));
    case VB_CMD_DESTROY_POOL:
        return destroyPool(board(), *word);
    case VB_CMD_GET_BLOCK:
        return getBlock(vb, *static_cast<VbBlockRecord *>(record));
    case VB_CMD_POOL_INFO:
        return poolInfo(vb, *static_cast<VbPoolInfoRecord *>(record));
    case VB_CMD_QUERY: { // blocks that a pool has left
        const VbPoolRegisters *const pool = usedPool(vb, word[0]);
        if (pool == nullptr) {
            return ERR_VB_ILLEGAL_PARAM;
        }
        word[1] = pool->blkCnt - static_cast<std::uint32_t>(std::popcount(pool->taken.load()));
        return 0;
    }
    case VB_CMD_POOL_USE: {
        const VbPoolRegisters *const pool = usedPool(vb, *word);
        *word = pool != nullptr ? static_cast<std::uint32_t>(std::popcount(pool->taken.load())) : 0;
        return pool != nullptr ? 0 : ERR_VB_ILLEGAL_PARAM;
    }
    default:
        return blockCommand(command, word);
    }
}

// Commands whose record is one word, a block's handle.
int VbDevice::blockCommand(std::uint32_t command, std::uint32_t *word) {
    if (command != VB_CMD_RELEASE_BLOCK && command != VB_CMD_BLOCK_TO_PHYS &&
        command != VB_CMD_BLOCK_TO_POOL) {
        return refuseCommand();
    }
    const std::uint32_t id = *word >> handleShift;
    const std::uint32_t index = *word & handleMask;
    VbPoolRegisters *const pool = usedPool(registers().vb, id);
    if (pool == nullptr || index >= pool->blkCnt || (pool->taken >> index & 1U) == 0) {
        return ERR_VB_ILLEGAL_PARAM;
    }
    if (command == VB_CMD_RELEASE_BLOCK) {
        pool->taken &= ~(1U << index);
    } else {
        *word = command == VB_CMD_BLOCK_TO_PHYS ? pool->phys + index * pool->blkSize : id;
    }
    return 0;
}
