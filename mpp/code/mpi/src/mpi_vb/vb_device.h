// The video-buffer device, shared by the pool operations.
#pragma once

#include <cstdint>

// Makes sure that "/dev/vb" is open. 0, or ERR_VB_NOT_READY after a report.
std::int32_t vbDeviceOpen();

// Issues a command on the device. The driver's result, or ERR_VB_NOT_READY.
std::int32_t vbDeviceCommand(std::uint32_t command, void *record);

// Closes the device. The result of the close.
int vbDeviceClose();
