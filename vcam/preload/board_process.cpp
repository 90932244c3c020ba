#include "vcam/preload/board_process.h"

#include "vcam/camera/camera_paths.h"
#include "vcam/preload/call_fault.h"
#include "vcam/preload/command_digest.h"
#include "vcam/preload/replayed_commands.h"
#include "vcam/preload/world_turn.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr int descriptorCount = 1024;
constexpr int lowestDescriptor = 3;

char directory[cameraPathRoom];
int directoryFd = -1;

alignas(Board) unsigned char boardMemory[sizeof(Board)];
alignas(BoardDevices) unsigned char devicesMemory[sizeof(BoardDevices)];
SystemBoardTime systemTime;
VirtualBoardTime virtualTime;

OpenDevice openDevices[descriptorCount];
std::atomic<bool> isOpenDevice[descriptorCount];

BoardDevices &devices() {
    return *std::launder(reinterpret_cast<BoardDevices *>(devicesMemory));
}

int rawOpen(const char *path, int flags) {
#ifdef O_LARGEFILE
    flags |= O_LARGEFILE;
#endif
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, 0600));
}

int openInDirectory(const char *file) {
    char path[cameraPathRoom];
    const int length = std::snprintf(path, sizeof path, "%s%s", directory, file);
    return length < static_cast<int>(sizeof path) ? rawOpen(path, O_RDWR) : -1;
}

BoardRegisters *mapRegisters() {
    const int fd = openInDirectory(cameraRegistersFile);
    if (fd < 0) {
        return nullptr;
    }
#ifdef SYS_mmap2
    const long address = syscall(SYS_mmap2, nullptr, sizeof(BoardRegisters), PROT_READ | PROT_WRITE,
                                 MAP_SHARED, fd, 0);
#else
    const long address = syscall(SYS_mmap, nullptr, sizeof(BoardRegisters), PROT_READ | PROT_WRITE,
                                 MAP_SHARED, fd, 0);
#endif
    syscall(SYS_close, fd);
    return address == -1 ? nullptr : reinterpret_cast<BoardRegisters *>(address);
}

// A file of an earlier life that lies in the camera's directory, in place of this PC's.
const char *replayedPlaceOf(const char *path, char *buffer) {
    if (path == nullptr || path[0] != '/') {
        return path;
    }
    const int length = std::snprintf(buffer, cameraPathRoom, "%s%s", directory, path);
    if (length >= static_cast<int>(cameraPathRoom)) {
        return path;
    }
    return syscall(SYS_faccessat, AT_FDCWD, buffer, F_OK) == 0 ? buffer : path;
}

[[noreturn]] void refuseToRun(const char *reason) {
    std::fprintf(stderr, "vcam: %s in %s\n", reason, directory);
    _exit(1);
}

std::uint64_t startTime() {
    const char *const text = std::getenv(startTimeVariable);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : 0;
}

// Takes the camera's directory from the environment, before the daemon's first call.
[[gnu::constructor]] void powerUp() {
    const char *const dir = std::getenv(cameraDirVariable);
    if (dir == nullptr || dir[0] != '/') {
        return;
    }
    std::snprintf(directory, sizeof directory, "%s", dir);
    BoardRegisters *const registers = mapRegisters();
    if (registers == nullptr || registers->magic != boardMagic ||
        registers->layout != boardLayout) {
        refuseToRun("no board of this kind");
    }
    const int memoryFd = openInDirectory(cameraMemoryFile);
    directoryFd = rawOpen(directory, O_PATH | O_DIRECTORY);
    if (memoryFd < 0 || directoryFd < 0) {
        refuseToRun("no memory of the board");
    }
    BoardTime &time =
        registers->world.isOn != 0 ? static_cast<BoardTime &>(virtualTime) : systemTime;
    auto *const board = new (boardMemory) Board{*registers, memoryFd, time, startTime()};
    new (devicesMemory) BoardDevices(*board);
    if (registers->replay.isOn != 0 && !loadAnswers(openInDirectory(cameraAnswersFile))) {
        refuseToRun("no answers of an earlier life");
    }
    if (std::getenv(probeVariable) != nullptr) {
        _exit(boardIsLoaded);
    }
}

} // namespace

const char *cameraDir() {
    return directoryFd >= 0 ? directory : nullptr;
}

int cameraDirFd() {
    return directoryFd;
}

Board &processBoard() {
    return *std::launder(reinterpret_cast<Board *>(boardMemory));
}

const char *cameraPlaceOf(const char *path, char *buffer) {
    if (cameraDir() == nullptr) {
        return path;
    }
    const char *const place = placeOf(directory, path, buffer);
    return place == path && isReplaying() ? replayedPlaceOf(path, buffer) : place;
}

bool vcamCallFails(std::uint32_t code) {
    std::int32_t ignored = 0;
    return cameraDir() != nullptr && boardIssueFails(processBoard().registers, code, &ignored);
}

bool openDevice(const char *path, int *fd) {
    char plain[cameraPathRoom];
    if (cameraDir() == nullptr || std::strlen(path) >= sizeof plain) {
        return false;
    }
    writePlainPath(path, plain);
    BoardDevice *const device = devices().find(plain);
    if (device == nullptr) {
        return false;
    }
    const int low = rawOpen("/dev/null", O_RDWR);
    *fd = static_cast<int>(syscall(SYS_fcntl, low, F_DUPFD_CLOEXEC, lowestDescriptor));
    const int error = errno;
    syscall(SYS_close, low);
    errno = error;
    if (*fd >= descriptorCount) {
        syscall(SYS_close, *fd);
        *fd = -1;
        errno = EMFILE;
    } else if (*fd >= 0) {
        openDevices[*fd] = {device, {UINT32_MAX}};
        isOpenDevice[*fd] = true;
    }
    return true;
}

OpenDevice *openDeviceOf(int fd) {
    return fd >= 0 && fd < descriptorCount && isOpenDevice[fd] ? &openDevices[fd] : nullptr;
}

int deviceCommand(OpenDevice &open, unsigned long request, void *record) {
    const auto command = static_cast<std::uint32_t>(request);
    ReplayRegisters &replay = processBoard().registers.replay;
    if (isReplaying()) {
        compareWithRecorded(replay, command, record);
    }
    int result = devices().command(*open.device, open.file, command, record);
    if (isReplaying()) {
        result = answerAsRecorded(replay, command, record, result);
    }
    if (isTimeVirtual()) {
        addToDigest(processBoard().registers.world, command, record, result);
    }
    return result;
}

void forgetDevice(int fd) {
    if (openDeviceOf(fd) != nullptr) {
        isOpenDevice[fd] = false;
    }
}

int copyDevice(int fd, int copy) {
    const OpenDevice *const open = openDeviceOf(fd);
    if (copy >= descriptorCount && open != nullptr) {
        syscall(SYS_close, copy);
        errno = EMFILE;
        return -1;
    }
    if (copy >= 0 && copy < descriptorCount) {
        if (open != nullptr) {
            openDevices[copy] = *open;
        }
        isOpenDevice[copy] = open != nullptr;
    }
    return copy;
}
