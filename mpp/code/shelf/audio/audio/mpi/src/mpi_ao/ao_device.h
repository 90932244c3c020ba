// The device behind all channels: its descriptors, its attributes, and the checks of its numbers.
#pragma once

#include "mpp/code/mpp_report.h"
#include "mpp/include/mpp_ao.h"

#include <cstdint>

// The slot, a channel's number, that commands to the device itself go through.
constexpr std::uint32_t deviceSlot = 0;

// The checks of the arguments, with their messages as from the calling operation.
std::int32_t aoCheckDev(std::uint32_t dev, CallSite site = CallSite::here());
std::int32_t aoCheckChn(std::uint32_t dev, std::uint32_t chn, CallSite site = CallSite::here());

// Makes sure that the slot's descriptor is open and bound: the channel's own, or deviceSlot.
// Returns the descriptor (above 0) or ERR_AO_NOT_READY.
std::int32_t aoAcquire(std::uint32_t slot);

// Acquires the slot's descriptor and issues a command: the driver's result, or ERR_AO_NOT_READY.
std::int32_t aoCommand(std::uint32_t slot, std::uint32_t command, void *record);

// The device's attributes: the driver's result, or ERR_AO_NOT_READY.
std::int32_t aoReadAttr(AIO_ATTR_S *attr);
