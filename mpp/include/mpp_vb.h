// Frame memory: the video-buffer pools, and single named blocks of the media memory zones.
//
// All memory is physically contiguous and belongs to the kernel; an operation hands out what the
// driver has given. Results are 0, an error value of mpp_errors.h, or a driver's result passed
// through unchanged. What is reported is reported on standard error: a device that cannot be
// opened, an id that there is not, and, of pool mappings and system blocks, what fails. Null
// pointers, and a driver's result elsewhere, are not.
//
// All operations may be called from any thread at any time, but for the blocks of the audio output.
#pragma once

#include "mpp/include/mpp_errors.h"

#include <cstdint>

constexpr std::uint32_t VB_MAX_POOLS = 256;     // pool ids are 0 to 255
constexpr std::uint32_t VB_MAX_COMM_POOLS = 16; // common pools of the configuration
constexpr std::uint32_t VB_MAX_USER = 22;       // user ids are 0 to 22
constexpr std::uint32_t VB_INVALID_POOL = UINT32_MAX;
constexpr std::uint32_t VB_INVALID_HANDLE = UINT32_MAX;
constexpr std::uint32_t MMZ_ZONE_NAME_SIZE = 16;

// One common pool; unused when its block size or block count is 0.
struct VB_POOL_S {
    std::uint32_t u32BlkSize; // bytes
    std::uint32_t u32BlkCnt;
    char acMmzName[MMZ_ZONE_NAME_SIZE]; // terminated, at most 15 characters; empty: any zone
};

// The configuration, as the driver keeps it.
struct VB_CONF_S {
    std::uint32_t u32Header; // the driver's own
    VB_POOL_S astCommPool[VB_MAX_COMM_POOLS];
};
static_assert(sizeof(VB_CONF_S) == 388);

// Starts the pools and forgets all mappings made before. The driver's result; ERR_VB_NOT_READY when
// "/dev/vb" cannot be opened, as of every operation that needs it.
std::int32_t HI_MPI_VB_Init();

// Ends the pools, forgets all mappings, and closes the device if the driver agreed. The driver's
// result.
std::int32_t HI_MPI_VB_Exit();

// The pools' configuration. ERR_VB_NULL_PTR without a message. Setting it: ERR_VB_ILLEGAL_PARAM for
// a zone name of more than 15 characters (told on standard output).
std::int32_t HI_MPI_VB_GetConfig(VB_CONF_S *config);
std::int32_t HI_MPI_VB_SetConfig(const VB_CONF_S *config);

// Creates a pool of `blkCnt` blocks of `blkSize` bytes in a zone (null or empty: any). Returns its
// id, or VB_INVALID_POOL. Destroying it: the driver's result.
std::uint32_t HI_MPI_VB_CreatePool(std::uint32_t blkSize, std::uint32_t blkCnt, const char *zone);
std::int32_t HI_MPI_VB_DestroyPool(std::uint32_t pool);

// Takes a block from a pool, or, with VB_INVALID_POOL, one of at least `blkSize` bytes from any
// common pool of the zone (null or empty: any). Returns its handle, or VB_INVALID_HANDLE. Giving it
// back: the driver's result.
std::uint32_t HI_MPI_VB_GetBlock(std::uint32_t pool, std::uint32_t blkSize, const char *zone);
std::int32_t HI_MPI_VB_ReleaseBlock(std::uint32_t block);

// A block's physical address (0 on failure) and the id of its pool (VB_INVALID_POOL on failure).
std::uint32_t HI_MPI_VB_BlockToPhysAddr(std::uint32_t block);
std::uint32_t HI_MPI_VB_BlockToPool(std::uint32_t block);

// Lets a user (0 to 22) have pools of its own, and takes them back. ERR_VB_ILLEGAL_PARAM, or the
// driver's result.
std::int32_t HI_MPI_VB_InitUserPools(std::uint32_t user);
std::int32_t HI_MPI_VB_ExitUserPools(std::uint32_t user);

// Further queries, whose records are between the asking module and the driver: an exchange of two
// words, and one word set or got. ERR_VB_NULL_PTR, or the driver's result.
std::int32_t HI_MPI_VB_Query(std::uint32_t record[2]);
std::int32_t HI_MPI_VB_SetWord(const std::uint32_t *word);
std::int32_t HI_MPI_VB_GetWord(std::uint32_t *word);

// Maps a whole pool, so that HI_MPI_VB_GetBlkVirAddr finds its blocks. 0 also when it is mapped
// already (reported); ERR_VB_ILLEGAL_PARAM for a pool id above 255, ERR_VB_NOMEM when it cannot be
// mapped, or the driver's result.
std::int32_t HI_MPI_VB_MmapPool(std::uint32_t pool);

// Takes the mapping back. 0 also when there is none (reported); ERR_VB_ILLEGAL_PARAM, ERR_VB_BUSY
// while the pool is in use, or the driver's result.
std::int32_t HI_MPI_VB_MunmapPool(std::uint32_t pool);

// The address in the pool's mapping of physical address `phys`, which may also be the one just past
// the pool's end. ERR_VB_NULL_PTR without a place for it, ERR_VB_ILLEGAL_PARAM for a pool id above
// 255 or an address outside the pool, ERR_VB_NOT_READY when the pool is not mapped.
std::int32_t HI_MPI_VB_GetBlkVirAddr(std::uint32_t pool, std::uint32_t phys, void **virt);

// The block allocator of the audio output. Allocates `size` bytes under a name (cut to 15
// characters), mapped uncached, and stores the physical address and the mapping's, which fits 32
// bits. 0, or -1 with both places untouched. No lock: the caller serialises the blocks of one
// owner.
std::int32_t VB_AllocAoBlock(const char *name, std::uint32_t *phys, void **virt,
                             std::uint32_t size);

// Takes a block's mapping and the block back. 0, or -1.
std::int32_t VB_FreeAoBlock(std::uint32_t phys);

// The block allocator for everyone else: `name` (cut to 15 characters), `zone` (cut to 31; null or
// empty: any), mapped uncached or cached. ERR_SYS_NOT_READY when the device cannot be opened,
// ERR_SYS_NULL_PTR without a place for an address, ERR_SYS_NOMEM when the driver says that it has
// mapped the block and has not, or the driver's result.
std::int32_t HI_MPI_SYS_AllocBlock(std::uint32_t *phys, void **virt, const char *name,
                                   const char *zone, std::uint32_t size);
std::int32_t HI_MPI_SYS_AllocBlockCached(std::uint32_t *phys, void **virt, const char *name,
                                         const char *zone, std::uint32_t size);
std::int32_t HI_MPI_SYS_FreeBlock(std::uint32_t phys);

// The physical address behind a mapped address, and whether the mapping is cached (0 or 1).
std::int32_t HI_MPI_SYS_LookUpBlock(const void *virt, std::uint32_t *phys, std::uint32_t *cached);

// Writes cached data back to memory: the range that the three words describe to the driver, or,
// when the first is 0, everything.
std::int32_t HI_MPI_SYS_FlushBlock(std::uint32_t phys, void *virt, std::uint32_t size);
