#include "mpp/code/mpi/src/mpi_vb/vb_device.h"

#include "mpp/code/lazy_device.h"
#include "mpp/include/mpp_errors.h"

#include <fcntl.h>

#include <cstdio>

namespace {

LazyDevice vbDevice("/dev/vb", 1, 1);

} // namespace

std::int32_t vbDeviceOpen() {
    if (!vbDevice.isOpened(vbDevice.acquire(O_RDWR))) {
        std::perror("open err\n");
        return ERR_VB_NOT_READY;
    }
    return 0;
}

std::int32_t vbDeviceCommand(std::uint32_t command, void *record) {
    const std::int32_t error = vbDeviceOpen();
    return error != 0 ? error : Device_Ioctl(vbDevice.get(), command, record);
}

int vbDeviceClose() {
    return vbDevice.close();
}
