// Driver commands and records of the video-buffer pools and of the memory zones.
#pragma once

#include <cstdint>
#include <cstring>

// Copies a name into a record's field, cut to leave a terminator; null leaves the field empty.
template <std::size_t Size>
void recordCopyName(char (&field)[Size], const char *name) {
    if (name != nullptr) {
        std::memcpy(field, name, strnlen(name, Size - 1));
    }
}

enum : std::uint32_t {
    VB_CMD_CREATE_POOL = 0xC0244201,
    VB_CMD_DESTROY_POOL = 0xC0044202,
    VB_CMD_GET_BLOCK = 0xC0244203,
    VB_CMD_RELEASE_BLOCK = 0xC0044204,
    VB_CMD_BLOCK_TO_PHYS = 0xC0044205,
    VB_CMD_BLOCK_TO_POOL = 0xC0044206,
    VB_CMD_INIT = 0x00004207,
    VB_CMD_EXIT = 0x00004208,
    VB_CMD_GET_CONFIG = 0x81844209,
    VB_CMD_SET_CONFIG = 0x4184420A,
    VB_CMD_POOL_INFO = 0xC010420B,
    VB_CMD_POOL_USE = 0xC004420C,
    VB_CMD_INIT_USER = 0x4004420D,
    VB_CMD_EXIT_USER = 0x4004420E,
    VB_CMD_SET_WORD = 0x40044211,
    VB_CMD_GET_WORD = 0x80044212,
    VB_CMD_QUERY = 0xC0084213,
};

constexpr std::uint32_t VB_ZONE_NAME_SIZE = 16;

struct VbPoolRecord {
    std::uint32_t pool; // out; all ones in
    std::uint32_t blkSize;
    std::uint32_t blkCnt;
    std::uint32_t none; // all ones
    std::uint32_t zero;
    char zone[VB_ZONE_NAME_SIZE];
};
static_assert(sizeof(VbPoolRecord) == 36);

struct VbBlockRecord {
    std::uint32_t pool;    // all ones: any
    std::uint32_t blkSize; // any pool only
    std::uint32_t zero;
    std::uint32_t block; // out; all ones in
    std::uint32_t anyPool;
    char zone[VB_ZONE_NAME_SIZE]; // any pool only
};
static_assert(sizeof(VbBlockRecord) == 36);

struct VbPoolInfoRecord {
    std::uint32_t pool;
    std::uint32_t size;
    std::uint32_t phys;
    std::uint32_t unused;
};
static_assert(sizeof(VbPoolInfoRecord) == 16);

enum : std::uint32_t {
    MMZ_CMD_ALLOC = 0xC04C6D0A,
    MMZ_CMD_FREE = 0x404C6D0C,
    MMZ_CMD_MAP = 0xC04C6D14,
    MMZ_CMD_MAP_CACHED = 0xC04C6D15,
    MMZ_CMD_UNMAP = 0xC04C6D16,
    MMZ_CMD_LOOK_UP = 0xC04C6D17,
    MMZ_CMD_FLUSH_RANGE = 0x400C6432,
    MMZ_CMD_FLUSH_ALL = 0x00006328,
};

constexpr std::uint32_t MMZ_BLOCK_NAME_SIZE = 16;
constexpr std::uint32_t MMZ_BLOCK_ZONE_SIZE = 32;
constexpr std::uint32_t MMZ_SHARED_READ_WRITE = 0x103; // protection 3, flags 1 from bit 8

struct MmzBlockRecord {
    std::uint32_t phys; // after a look-up: the cached flag in bit 0
    std::uint32_t zero1;
    std::uint32_t size;
    std::uint32_t zero2;
    std::uint32_t virt;
    std::uint32_t mapping; // MMZ_SHARED_READ_WRITE
    char name[MMZ_BLOCK_NAME_SIZE];
    char zone[MMZ_BLOCK_ZONE_SIZE];
    std::uint32_t zero3;
};
static_assert(sizeof(MmzBlockRecord) == 76);

struct MmzRangeRecord {
    std::uint32_t phys;
    std::uint32_t virt;
    std::uint32_t size;
};
static_assert(sizeof(MmzRangeRecord) == 12);
