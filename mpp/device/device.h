// The one door to the kernel drivers.
//
// Everything that the media platform and the codec control ask of a driver passes here, and nothing
// else opens, commands or maps a driver's device file. On the camera the calls are the system's
// own; a test links another implementation in their place.
//
// All calls may be made from any thread, also at once and with one descriptor; what a driver makes
// of that is its own. Descriptors are closed when the process executes another program.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

// Opens a device file with the flags of open(2). Returns the descriptor, or -1 with errno.
int Device_Open(const char *path, int flags);

// Issues a driver command (Linux ioctl encoding) with its record, or null where it has none.
// Returns the driver's result unchanged.
int Device_Ioctl(int fd, std::uint32_t command, void *record);

// Maps `length` bytes of the device at `offset` (whole pages), readable, writable and shared.
// Returns the address, or null with errno.
void *Device_Mmap(int fd, std::size_t length, std::uint64_t offset);

// Takes a mapping back. Returns 0, or -1 with errno.
int Device_Munmap(void *address, std::size_t length);

// Reads at most `size` bytes. Returns their count, or -1 with errno.
ssize_t Device_Read(int fd, void *buffer, std::size_t size);

// Closes the descriptor. Returns 0, or -1 with errno.
int Device_Close(int fd);

// Allocates memory, zero-filled, whose address fits the 32-bit address word of a driver's record.
// Returns null when there is none.
void *Device_AllocVisible(std::size_t size);

// Frees memory of Device_AllocVisible; `size` is the size that was asked for. Null is passed over.
void Device_FreeVisible(void *memory, std::size_t size);
