#include "vcam/board/board.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// The calls are made past the C library: in the preloaded board its names are the board's own.
void *rawMap(std::uintptr_t hint, std::size_t length, int flags, int fd, std::uint64_t offset) {
#ifdef SYS_mmap2
    const long address = syscall(SYS_mmap2, hint, length, PROT_READ | PROT_WRITE, flags, fd,
                                 static_cast<unsigned long>(offset / pageSize));
#else
    const long address = syscall(SYS_mmap, hint, length, PROT_READ | PROT_WRITE, flags, fd, offset);
#endif
    return address == -1 ? nullptr : reinterpret_cast<void *>(address);
}

bool fitsWord(const void *address, std::size_t length) {
    const auto begin = reinterpret_cast<std::uintptr_t>(address);
    return begin <= UINT32_MAX && length <= UINT32_MAX - begin;
}

// Room on the disk for a piece of physical memory: to touch a page without any is a bus error.
bool makeRoom(int fd, std::uint32_t phys, std::size_t length) {
#ifdef __GLIBC__
    const int error = posix_fallocate64(fd, phys, static_cast<off64_t>(length));
#else
    const int error = posix_fallocate(fd, phys, static_cast<off_t>(length));
#endif
    if (error != 0) {
        errno = error;
    }
    return error == 0;
}

} // namespace

void *boardMapMemory(const Board &board, std::uint32_t phys, std::size_t length) {
    if (!makeRoom(board.memoryFd, phys, length)) {
        return nullptr;
    }
    constexpr std::uint64_t firstHint = 0x10000000;
    constexpr std::uint64_t hintStep = 0x01000000;
    for (std::uint64_t hint = firstHint; hint <= UINT32_MAX; hint += hintStep) {
        void *const address =
            rawMap(static_cast<std::uintptr_t>(hint), length, MAP_SHARED, board.memoryFd, phys);
        if (address == nullptr || fitsWord(address, length)) {
            return address;
        }
        boardUnmapMemory(address, length);
    }
    errno = ENOMEM;
    return nullptr;
}

void boardUnmapMemory(void *address, std::size_t length) {
    syscall(SYS_munmap, address, length);
}

bool boardCopyFromCaller(const CallerBlock *blocks, std::size_t count, std::size_t size) {
    iovec local[2] = {};
    iovec remote[2] = {};
    for (std::size_t i = 0; i < count; ++i) {
        local[i] = {blocks[i].to, size};
        remote[i] = {reinterpret_cast<void *>(static_cast<std::uintptr_t>(blocks[i].from)), size};
    }
    const ssize_t copied = process_vm_readv(getpid(), local, count, remote, count, 0);
    if (copied == static_cast<ssize_t>(count * size)) {
        return true;
    }
    // Where the system cannot check the addresses, only the obvious is refused.
    const bool isUnchecked = copied == -1 && (errno == ENOSYS || errno == EPERM);
    for (std::size_t i = 0; i < count; ++i) {
        if (!isUnchecked || blocks[i].from < pageSize) {
            errno = EFAULT;
            return false;
        }
        std::memcpy(blocks[i].to, remote[i].iov_base, size);
    }
    return true;
}

void boardLog(const Board &board, const char *format, ...) {
    char line[128];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    LogRegisters &log = board.registers.log;
    const auto count =
        static_cast<std::uint32_t>(std::clamp(length, 0, static_cast<int>(sizeof line) - 1));
    const std::uint32_t begin = log.written.load();
    for (std::uint32_t i = 0; i < count; ++i) {
        log.text[(begin + i) % logRoom] = line[i];
    }
    log.written = begin + count;
    board.time.wake(log.written);
}

void boardMark(const Board &board, Register &mark) {
    if (mark == 0 && board.start != 0) {
        const std::uint64_t micros = (board.time.now() - board.start) / nanosecondsPerMicrosecond;
        mark = static_cast<std::uint32_t>(std::max<std::uint64_t>(micros, 1));
    }
}

bool isProcessAlive(std::uint32_t pid) {
    const int error = errno;
    char path[32];
    std::snprintf(path, sizeof path, "/proc/%u/exe", static_cast<unsigned>(pid));
    char program; // what has ended, and only waits for its parent to take note, has none
    const bool alive = readlink(path, &program, sizeof program) > 0 || errno == EACCES;
    errno = error;
    return alive;
}

int refuseCommand() {
    errno = ENOTTY;
    return -1;
}

int refuseRecord() {
    errno = EFAULT;
    return -1;
}

int BoardDevice::command(BoardFile & /*file*/, std::uint32_t /*command*/, void * /*record*/) {
    return refuseCommand();
}

void *BoardDevice::map(BoardFile & /*file*/, std::size_t /*length*/, std::uint64_t /*offset*/) {
    errno = ENODEV;
    return nullptr;
}

ssize_t BoardDevice::read(BoardFile & /*file*/, void * /*buffer*/, std::size_t /*size*/) {
    errno = EINVAL;
    return -1;
}
