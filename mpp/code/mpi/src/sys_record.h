// Driver commands and records of the system and log devices.
#pragma once

#include <cstdint>

enum : std::uint32_t {
    SYS_CMD_INIT = 0x00005900,
    SYS_CMD_EXIT = 0x00005901,
    SYS_CMD_SET_CONFIG = 0x40045902,
    SYS_CMD_GET_CONFIG = 0x80045903,
    SYS_CMD_GET_KERNEL_CONFIG = 0x8008590E,
    SYS_CMD_FLUSH_CACHE = 0x400C5915,
    SYS_CMD_GET_TUNING_MODE = 0x80045918,
    SYS_CMD_WAIT_TUNING = 0xC008591A,
    SYS_CMD_WAKE_TUNING = 0x0000591B,
};

struct SysKernelConfigRecord {
    std::uint32_t highResolutionTimer;
    std::uint32_t unused;
};
static_assert(sizeof(SysKernelConfigRecord) == 8);

struct SysTuningRecord {
    std::uint32_t request; // 1: wait for a run to begin, 0: report the run over
    std::uint32_t argument;
};
static_assert(sizeof(SysTuningRecord) == 8);

struct SysFlushRecord {
    std::uint32_t phys;
    std::uint32_t virt;
    std::uint32_t length;
};
static_assert(sizeof(SysFlushRecord) == 12);

enum : std::uint32_t {
    LOG_CMD_SET_LEVEL = 0x40184C00,
    LOG_CMD_GET_LEVEL = 0xC0184C01,
    LOG_CMD_SET_WAIT_FLAG = 0x40044C03,
};

constexpr std::uint32_t LOG_LEVEL_RECORD_SIZE = 24;
