#include "bench/tireless_driver.h"

#include "mpp/device/device.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

namespace {

enum : std::uint32_t {
    setPubAttr = 0x40245801,
    getPubAttr = 0x80245802,
    getReady = 0x8004581B,
    allocBlock = 0xC04C6D0A,
    mapBlock = 0xC04C6D14,
};

constexpr std::size_t blockSize = 65536;
constexpr std::size_t blockAddressWord = 4;

bool makesCalls = false;
std::uint64_t commands = 0;
std::uint32_t attributes[9];

int nullDevice() {
    static const int fd = open("/dev/null", O_RDWR | O_CLOEXEC);
    return fd;
}

void putWord(void *record, std::size_t index, std::uint32_t word) {
    std::memcpy(static_cast<char *>(record) + index * sizeof word, &word, sizeof word);
}

} // namespace

void setDriverMakesCalls(bool makes) {
    makesCalls = makes;
}

std::uint64_t driverCommands() {
    return commands;
}

void makeDriverCall() {
    ioctl(nullDevice(), getReady, nullptr);
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
    case setPubAttr:
        std::memcpy(attributes, record, sizeof attributes);
        break;
    case getPubAttr:
        std::memcpy(record, attributes, sizeof attributes);
        break;
    case getReady:
        putWord(record, 0, 1);
        break;
    case allocBlock:
        putWord(record, 0, 0x80000000);
        break;
    case mapBlock: {
        const auto address = reinterpret_cast<std::uintptr_t>(Device_AllocVisible(blockSize));
        putWord(record, blockAddressWord, static_cast<std::uint32_t>(address));
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
