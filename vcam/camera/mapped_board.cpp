#include "vcam/camera/mapped_board.h"

#include "base/unique_fd.h"
#include "vcam/camera/text_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace fs = std::filesystem;

namespace {

BoardRegisters *mapRegisters(const fs::path &path, MappedBoard::Mode mode) {
    const bool create = mode == MappedBoard::Mode::create;
    if (create) {
        unlink(path.c_str());
    }
    const UniqueFd fd(
        open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT | O_EXCL : 0), 0600));
    if (!fd) {
        failAt("cannot open the board", path);
    }
    // Room for all of it: a page without any would be a bus error, later and anywhere.
    if (create && (errno = posix_fallocate(fd.get(), 0, sizeof(BoardRegisters))) != 0) {
        failAt("cannot make the board", path);
    }
    void *const address =
        mmap(nullptr, sizeof(BoardRegisters), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (address == MAP_FAILED) {
        failAt("cannot map the board", path);
    }
    auto *const registers = static_cast<BoardRegisters *>(address);
    if (create) {
        registers->layout = boardLayout;
        registers->magic = boardMagic;
        registers->dacPid = static_cast<std::uint32_t>(getpid());
        registers->sys.hasConfig = 1; // the video side has set the platform up
    } else if (registers->magic != boardMagic || registers->layout != boardLayout) {
        munmap(address, sizeof(BoardRegisters));
        throw CameraError(path.string() + " is no board of this kind");
    }
    return registers;
}

int openMemory(const fs::path &path, MappedBoard::Mode mode) {
    const bool create = mode == MappedBoard::Mode::create;
    UniqueFd fd(open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT | O_TRUNC : 0), 0600));
    if (!fd || (create && ftruncate(fd.get(), static_cast<off_t>(physicalMemorySize)) != 0)) {
        failAt("cannot make the board's memory", path);
    }
    return fd.release();
}

} // namespace

MappedBoard::MappedBoard(const CameraDir &dir, Mode mode)
    : registers_(mapRegisters(dir.registersFile(), mode)), board_{
                                                               *registers_,
                                                               openMemory(dir.memoryFile(), mode),
                                                               time_} {}

MappedBoard::~MappedBoard() {
    close(board_.memoryFd);
    munmap(registers_, sizeof(BoardRegisters));
}
