#include "bench/tireless_driver.h"

#include "mpp/code/mpi/src/mpi_vb/mmz_record.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"
#include "mpp/device/device.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

bool makesCalls = false;
std::uint64_t commands = 0;
AIO_ATTR_S attributes;

int nullDevice() {
    static const int fd = open("/dev/null", O_RDWR | O_CLOEXEC);
    return fd;
}

} // namespace

void setDriverMakesCalls(bool makes) {
    makesCalls = makes;
}

std::uint64_t driverCommands() {
    return commands;
}

void makeDriverCall() {
    ioctl(nullDevice(), AO_CMD_GET_READY, nullptr);
}

int Device_Open(const char * /*path*/, int /*flags*/) {
    return fcntl(nullDevice(), F_DUPFD_CLOEXEC, 3);
}

int Device_Ioctl(int /*fd*/, std::uint32_t command, void *record) {
    ++commands;
    if (makesCalls) {
        makeDriverCall();
    }
    switch (command) {
    case AO_CMD_SET_PUB_ATTR:
        attributes = *static_cast<const AIO_ATTR_S *>(record);
        break;
    case AO_CMD_GET_PUB_ATTR:
        *static_cast<AIO_ATTR_S *>(record) = attributes;
        break;
    case AO_CMD_GET_READY:
        *static_cast<std::uint32_t *>(record) = AO_READY;
        break;
    case MMZ_CMD_ALLOC:
        static_cast<MmzBlockRecord *>(record)->phys = 0x80000000;
        break;
    case MMZ_CMD_MAP: {
        auto &block = *static_cast<MmzBlockRecord *>(record);
        block.virt = static_cast<std::uint32_t>(
            reinterpret_cast<std::uintptr_t>(Device_AllocVisible(block.size)));
        break;
    }
    default:
        break;
    }
    return 0;
}

void *Device_Mmap(int /*fd*/, std::size_t length, std::uint64_t /*offset*/) {
    return Device_AllocVisible(length);
}

int Device_Munmap(void *address, std::size_t length) {
    return munmap(address, length);
}

ssize_t Device_Read(int /*fd*/, void * /*buffer*/, std::size_t /*size*/) {
    return 0;
}

int Device_Close(int fd) {
    return close(fd);
}

void *Device_AllocVisible(std::size_t size) {
    void *const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

void Device_FreeVisible(void *memory, std::size_t size) {
    munmap(memory, size);
}

// The camera's video side is not waited for.
extern "C" unsigned sleep(unsigned /*seconds*/) {
    return 0;
}
