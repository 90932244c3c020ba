// Driver commands and records of the video-buffer pools.
#pragma once

#include <cstdint>

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
