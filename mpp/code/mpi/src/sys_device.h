// The system device, shared by everything that needs "/dev/sys".
#pragma once

#include <cstdint>

// Makes sure that the system device is open. Returns its descriptor, or a negative value after a
// report.
int sysDeviceAcquire();

// Issues a command on the system device. Returns the driver's result, or ERR_SYS_NOT_READY when the
// device cannot be opened.
std::int32_t sysDeviceCommand(std::uint32_t command, void *record);

// Closes the system device. Returns the result of the close.
int sysDeviceClose();
