#include "mpp/code/mpi/src/sys_device.h"

#include "mpp/code/lazy_device.h"
#include "mpp/include/mpp_errors.h"

#include <fcntl.h>

#include <cstdio>

namespace {

LazyDevice systemDevice("/dev/sys", 0, 0);

} // namespace

int sysDeviceAcquire() {
    const int fd = systemDevice.acquire(O_RDWR);
    if (fd < 0) {
        std::perror("open sys");
    }
    return fd;
}

std::int32_t sysDeviceCommand(std::uint32_t command, void *record) {
    const int fd = sysDeviceAcquire();
    return fd < 0 ? ERR_SYS_NOT_READY : Device_Ioctl(fd, command, record);
}

int sysDeviceClose() {
    return systemDevice.close();
}
