#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_device.h"

#include "mpp/code/lazy_device.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"

#include <fcntl.h>

namespace {

constexpr std::uint32_t widestClkDir = 1;

// A descriptor of the driver, bound to its channel once, right after opening. 0 is not kept.
struct Slot : LazyDevice {
    constexpr Slot() : LazyDevice("/dev/ao", 1, 1) {}
};

Slot slots[AO_CHN_NUM];

// A command on the device with its record, after the check of the device number.
std::int32_t deviceCommand(std::uint32_t dev, std::uint32_t command, void *record,
                           CallSite site = CallSite::here()) {
    const std::int32_t error = aoCheckDev(dev, site);
    return error != 0 ? error : aoCommand(deviceSlot, command, record);
}

std::int32_t checkAttr(std::uint32_t dev, const AIO_ATTR_S *attr,
                       CallSite site = CallSite::here()) {
    const std::int32_t error = aoCheckDev(dev, site);
    if (error == 0 && attr == nullptr) {
        mppReport(site, "the AIO_ATTR_S pointer for AoDev%d is NULL!\n", shown(dev));
        return ERR_AO_NULL_PTR;
    }
    return error;
}

} // namespace

std::int32_t aoCheckDev(std::uint32_t dev, CallSite site) {
    if (dev >= AO_DEV_NUM) {
        mppReport(site, "ao dev %d is invalid\n", shown(dev));
        return ERR_AO_INVALID_DEV;
    }
    return 0;
}

std::int32_t aoCheckChn(std::uint32_t dev, std::uint32_t chn, CallSite site) {
    const std::int32_t error = aoCheckDev(dev, site);
    if (error != 0) {
        return error;
    }
    if (chn >= AO_CHN_NUM) {
        mppReport(site, "ao chnid %d is invalid\n", shown(chn));
        return ERR_AO_INVALID_CHN;
    }
    return 0;
}

std::int32_t aoAcquire(std::uint32_t slot) {
    const int fd = slots[slot].acquire(O_RDWR, [slot](int fresh) {
        std::uint32_t channel = slot;
        return Device_Ioctl(fresh, AO_CMD_BIND, &channel);
    });
    return slots[slot].isOpened(fd) ? fd : ERR_AO_NOT_READY;
}

std::int32_t aoCommand(std::uint32_t slot, std::uint32_t command, void *record) {
    const std::int32_t fd = aoAcquire(slot);
    return fd < 0 ? fd : Device_Ioctl(fd, command, record);
}

std::int32_t aoReadAttr(AIO_ATTR_S *attr) {
    return aoCommand(deviceSlot, AO_CMD_GET_PUB_ATTR, attr);
}

std::int32_t HI_MPI_AO_SetPubAttr(std::uint32_t AoDev, const AIO_ATTR_S *pstAttr) {
    const std::int32_t error = checkAttr(AoDev, pstAttr);
    if (error != 0) {
        return error;
    }
    AIO_ATTR_S record = *pstAttr;
    return aoCommand(deviceSlot, AO_CMD_SET_PUB_ATTR, &record);
}

std::int32_t HI_MPI_AO_GetPubAttr(std::uint32_t AoDev, AIO_ATTR_S *pstAttr) {
    const std::int32_t error = checkAttr(AoDev, pstAttr);
    return error != 0 ? error : aoReadAttr(pstAttr);
}

std::int32_t HI_MPI_AO_ClrPubAttr(std::uint32_t AoDev) {
    return deviceCommand(AoDev, AO_CMD_CLR_PUB_ATTR, nullptr);
}

std::int32_t HI_MPI_AO_Enable(std::uint32_t AoDev) {
    return deviceCommand(AoDev, AO_CMD_ENABLE, nullptr);
}

std::int32_t HI_MPI_AO_Disable(std::uint32_t AoDev) {
    return deviceCommand(AoDev, AO_CMD_DISABLE, nullptr);
}

std::int32_t HI_MPI_AO_GetFd(std::uint32_t AoDev, std::uint32_t AoChn) {
    const std::int32_t error = aoCheckChn(AoDev, AoChn);
    return error != 0 ? error : aoAcquire(AoChn);
}

std::int32_t HI_MPI_AO_GetFileHandle(std::uint32_t AoDev) {
    const std::int32_t error = aoCheckDev(AoDev);
    return error != 0 ? error : aoAcquire(deviceSlot);
}

std::int32_t HI_MPI_AO_SetTrackMode(std::uint32_t AoDev, std::uint32_t enTrackMode) {
    return deviceCommand(AoDev, AO_CMD_SET_TRACK_MODE, &enTrackMode);
}

std::int32_t HI_MPI_AO_GetTrackMode(std::uint32_t AoDev, std::uint32_t *penTrackMode) {
    const std::int32_t error = aoCheckDev(AoDev);
    if (error != 0) {
        return error;
    }
    if (penTrackMode == nullptr) {
        mppReport(CallSite::here(), "the penTrackMode pointer for AoDev%d is NULL!\n",
                  shown(AoDev));
        return ERR_AO_NULL_PTR;
    }
    return aoCommand(deviceSlot, AO_CMD_GET_TRACK_MODE, penTrackMode);
}

std::int32_t HI_MPI_AO_SetClkDir(std::uint32_t AoDev, std::uint32_t enClkDir) {
    std::int32_t error = aoCheckDev(AoDev);
    if (error != 0) {
        return error;
    }
    error = aoAcquire(deviceSlot);
    if (error < 0) {
        return error;
    }
    if (enClkDir > widestClkDir) {
        mppReport(CallSite::here(), "illegal param: enClkDir(%d)!\n", shown(enClkDir));
        return ERR_AO_ILLEGAL_PARAM;
    }
    return aoCommand(deviceSlot, AO_CMD_SET_CLK_DIR, &enClkDir);
}

std::int32_t HI_MPI_AO_GetClkDir(std::uint32_t AoDev, std::uint32_t *penClkDir) {
    const std::int32_t error = aoCheckDev(AoDev);
    if (error != 0) {
        return error;
    }
    return penClkDir == nullptr ? ERR_AO_NULL_PTR
                                : aoCommand(deviceSlot, AO_CMD_GET_CLK_DIR, penClkDir);
}
