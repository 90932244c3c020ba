// A driver's descriptor that closes itself.
#pragma once

#include "base/unique_fd.h"
#include "mpp/device/device.h"

using DeviceFd = BasicUniqueFd<Device_Close>;
