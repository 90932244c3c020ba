// The platform's system layer: start and exit of the platform, mappings of physical memory,
// register access, the log device.
//
// Results are 0, an error value of mpp_errors.h, or a driver's result passed through unchanged.
// Failures are reported on standard error (a size of 0, on standard output); silent are a driver's
// result, the end of a mapping, a register without a place for its value, and reading and closing
// the log device. The devices are opened when they are first needed and stay open until
// HI_MPI_SYS_Exit.
//
// There are no locks: HI_MPI_SYS_Init and HI_MPI_SYS_Exit are for one thread at a time.
#pragma once

#include "mpp/include/mpp_errors.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

// Starts the kernel side, the binder and every module. May be called again: modules, registrations
// and bindings that are there stay as they are. With the driver in tuning mode it starts the thread
// that runs the tuning library "libaqcontrol.so" on demand. A start that fails halfway leaves the
// modules that have started in place. Returns 0, the result of the kernel start-up command,
// ERR_SYS_NOT_READY when the system device cannot be opened, or -1 when a module cannot start.
std::int32_t HI_MPI_SYS_Init();

// Stops every module and the kernel side and closes the devices. Waits for a frame that is being
// delivered, for as long as the driver takes, and for the tuning thread. Returns 0, the result of
// the kernel shutdown command (the devices then stay open), ERR_SYS_NOT_READY, or the failure of a
// close.
std::int32_t HI_MPI_SYS_Exit();

// The platform's configuration: one word that the driver defines. ERR_SYS_NULL_PTR,
// ERR_SYS_NOT_READY, or the driver's result.
std::int32_t HI_MPI_SYS_GetConfig(std::uint32_t *config);
std::int32_t HI_MPI_SYS_SetConfig(const std::uint32_t *config);

// Maps `size` bytes of physical memory at `phys`, which need not begin on a page: uncached, or
// cached (flush with HI_MPI_SYS_MflushCache). Returns the address, or null. HI_MPI_SYS_Munmap takes
// either mapping back, with the address and size it was made with; its result is that of munmap(2).
// A range that passes 32 bits, or is as long, is refused.
void *HI_MPI_SYS_Mmap(std::uint32_t phys, std::uint32_t size);
void *HI_MPI_SYS_MmapCache(std::uint32_t phys, std::uint32_t size);
std::int32_t HI_MPI_SYS_Munmap(void *virt, std::uint32_t size);

// Writes the cache lines (64 bytes each) that hold `size` bytes at `phys`, mapped at `virt`, back
// to memory. ERR_SYS_NULL_PTR, ERR_SYS_ILLEGAL_PARAM for a size of 0 or lines that pass 32 bits,
// ERR_SYS_NOT_READY, or the driver's result.
std::int32_t HI_MPI_SYS_MflushCache(std::uint32_t phys, void *virt, std::uint32_t size);

// Writes or reads one 32-bit register at a physical address (a multiple of 4). -1 when it cannot be
// mapped, ERR_SYS_NULL_PTR without a place for the value.
std::int32_t HI_MPI_SYS_SetReg(std::uint32_t phys, std::uint32_t value);
std::int32_t HI_MPI_SYS_GetReg(std::uint32_t phys, std::uint32_t *value);

// The platform's log device. The level record is the driver's own.
struct LOG_LEVEL_S {
    std::uint32_t au32Word[6];
};

// Log levels: -1 for null, errno when the device cannot be opened, or the driver's result.
std::int32_t HI_MPI_LOG_SetLevel(const LOG_LEVEL_S *level);
std::int32_t HI_MPI_LOG_GetLevel(LOG_LEVEL_S *level);

// Whether HI_MPI_LOG_Read waits for text (1) or returns at once (0). errno when the device cannot
// be opened, or the driver's result.
std::int32_t HI_MPI_LOG_SetWaitFlag(std::uint32_t wait);

// Reads at most `size` bytes of log text, not terminated. Returns their count, -1 with errno, or
// errno when the device cannot be opened.
std::int32_t HI_MPI_LOG_Read(char *text, std::uint32_t size);

// Closes the log device, which the next operation opens again.
void HI_MPI_LOG_Close();
