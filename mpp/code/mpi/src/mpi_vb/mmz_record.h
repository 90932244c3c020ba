// Driver commands and records of the memory zones.
#pragma once

#include <cstdint>

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
