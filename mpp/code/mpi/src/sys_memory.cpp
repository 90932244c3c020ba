// Mappings of physical memory and what is done through them.
#include "mpp/code/mpi/src/sys_memory.h"

#include "mpp/code/lazy_device.h"
#include "mpp/code/mpi/src/sys_device.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/code/mpp_report.h"
#include "mpp/code/record_address.h"
#include "mpp/include/mpp_sys.h"

#include <fcntl.h>

#include <cstdio>

namespace {

constexpr std::uint32_t pageSize = 0x1000;
constexpr std::uint32_t pageMask = pageSize - 1;
constexpr std::uint32_t lineMask = 64 - 1;

LazyDevice memoryDevice("/dev/mem", 1, 0);

// A range of bytes widened to whole pages.
struct Pages {
    std::uint32_t shift; // of the range from the start of its first page
    std::uint64_t length;

    Pages(std::uintptr_t address, std::uint32_t size)
        : shift(static_cast<std::uint32_t>(address & pageMask)),
          length(((std::uint64_t{size} - 1 + shift) & ~std::uint64_t{pageMask}) + pageSize) {}
};

bool reportEmpty(const char *operation, std::uint32_t size) {
    if (size == 0) {
        std::printf("Func: %s u32Size can't be 0.\n", operation);
    }
    return size == 0;
}

// Refuses what no word can tell: `length` bytes from the start of a page or line that pass the 32
// bits of a physical address, or are all of them.
bool reportPastMemory(std::uint32_t start, std::uint64_t length, CallSite site) {
    const bool isPast = start + length > std::uint64_t{UINT32_MAX} + 1 || length > UINT32_MAX;
    if (isPast) {
        mppReport(site, "phys addr 0x%x: the range passes 32 bits!\n", start);
    }
    return isPast;
}

void *mapPages(int fd, std::uint32_t phys, std::uint32_t size, CallSite site = CallSite::here()) {
    const Pages pages(phys, size);
    if (reportPastMemory(phys - pages.shift, pages.length, site)) {
        return nullptr;
    }
    void *const mapping =
        Device_Mmap(fd, static_cast<std::size_t>(pages.length), phys - pages.shift);
    if (mapping == nullptr) {
        std::perror("mmap error");
        return nullptr;
    }
    return static_cast<char *>(mapping) + pages.shift;
}

} // namespace

void *HI_MPI_SYS_Mmap(std::uint32_t phys, std::uint32_t size) {
    const int fd = memoryDevice.acquire(O_RDWR | O_CREAT | O_DSYNC);
    if (!memoryDevice.isOpened(fd)) {
        std::perror("Open dev/mem error");
        return nullptr;
    }
    return reportEmpty(__func__, size) ? nullptr : mapPages(fd, phys, size);
}

void *HI_MPI_SYS_MmapCache(std::uint32_t phys, std::uint32_t size) {
    const int fd = sysDeviceAcquire();
    if (fd < 0) {
        return nullptr;
    }
    return reportEmpty(__func__, size) ? nullptr : mapPages(fd, phys, size);
}

std::int32_t HI_MPI_SYS_Munmap(void *virt, std::uint32_t size) {
    const Pages pages(reinterpret_cast<std::uintptr_t>(virt), size);
    return Device_Munmap(static_cast<char *>(virt) - pages.shift,
                         static_cast<std::size_t>(pages.length));
}

std::int32_t HI_MPI_SYS_MflushCache(std::uint32_t phys, void *virt, std::uint32_t size) {
    if (virt == nullptr) {
        mppReport(CallSite::here(), "Null point \n");
        return ERR_SYS_NULL_PTR;
    }
    if (sysDeviceAcquire() < 0) {
        return ERR_SYS_NOT_READY;
    }
    if (reportEmpty(__func__, size)) {
        return ERR_SYS_ILLEGAL_PARAM;
    }
    const std::uint32_t shift = phys & lineMask;
    const std::uint64_t length =
        (std::uint64_t{size} + shift + lineMask) & ~std::uint64_t{lineMask};
    if (reportPastMemory(phys - shift, length, CallSite::here())) {
        return ERR_SYS_ILLEGAL_PARAM;
    }
    SysFlushRecord record = {phys - shift, recordAddress(static_cast<char *>(virt) - shift),
                             static_cast<std::uint32_t>(length)};
    return sysDeviceCommand(SYS_CMD_FLUSH_CACHE, &record);
}

std::int32_t HI_MPI_SYS_SetReg(std::uint32_t phys, std::uint32_t value) {
    void *const place = HI_MPI_SYS_Mmap(phys, sizeof value);
    if (place == nullptr) {
        return -1;
    }
    *static_cast<volatile std::uint32_t *>(place) = value;
    HI_MPI_SYS_Munmap(place, sizeof value);
    return 0;
}

std::int32_t HI_MPI_SYS_GetReg(std::uint32_t phys, std::uint32_t *value) {
    if (value == nullptr) {
        return ERR_SYS_NULL_PTR;
    }
    void *const place = HI_MPI_SYS_Mmap(phys, sizeof *value);
    if (place == nullptr) {
        return -1;
    }
    *value = *static_cast<const volatile std::uint32_t *>(place);
    HI_MPI_SYS_Munmap(place, sizeof *value);
    return 0;
}

int sysMemoryClose() {
    return memoryDevice.close();
}
