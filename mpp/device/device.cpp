#include "mpp/device/device.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

int Device_Open(const char *path, int flags) {
    return open(path, flags | O_CLOEXEC, 0600);
}

int Device_Ioctl(int fd, std::uint32_t command, void *record) {
    // C libraries disagree on the type of the request; all take these 32 bits.
    return ioctl(fd, command, record);
}

void *Device_Mmap(int fd, std::size_t length, std::uint64_t offset) {
    void *const address =
        mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, static_cast<off_t>(offset));
    return address == MAP_FAILED ? nullptr : address;
}

int Device_Munmap(void *address, std::size_t length) {
    return munmap(address, length);
}

ssize_t Device_Read(int fd, void *buffer, std::size_t size) {
    return read(fd, buffer, size);
}

int Device_Close(int fd) {
    return close(fd);
}

#if UINTPTR_MAX == UINT32_MAX

void *Device_AllocVisible(std::size_t size) {
    return std::calloc(1, size);
}

void Device_FreeVisible(void *memory, std::size_t /*size*/) {
    std::free(memory);
}

#else

namespace {

constexpr std::uintptr_t visibleEnd = std::uintptr_t{1} << 32;
constexpr std::uintptr_t firstHint = std::uintptr_t{1} << 28;
constexpr std::uintptr_t hintStep = std::uintptr_t{1} << 24;

// Maps at the hint or wherever the system likes.
void *mapNear(std::uintptr_t hint, std::size_t size) {
    void *const address = mmap(reinterpret_cast<void *>(hint), size, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return address == MAP_FAILED ? nullptr : address;
}

bool isVisible(const void *memory, std::size_t size) {
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    return begin < visibleEnd && size <= visibleEnd - begin;
}

} // namespace

// The system honours a hint that is free, so the low addresses are offered one after another.
void *Device_AllocVisible(std::size_t size) {
    for (std::uintptr_t hint = firstHint; hint < visibleEnd; hint += hintStep) {
        void *const memory = mapNear(hint, size);
        if (memory == nullptr || isVisible(memory, size)) {
            return memory;
        }
        munmap(memory, size);
    }
    return nullptr;
}

void Device_FreeVisible(void *memory, std::size_t size) {
    if (memory != nullptr) {
        munmap(memory, size);
    }
}

#endif
