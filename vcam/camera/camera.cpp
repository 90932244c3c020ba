#include "vcam/camera/camera.h"

#include "base/unique_fd.h"
#include "vcam/preload/camera_paths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace fs = std::filesystem;

namespace {

std::string environment(const char *name) {
    const char *const value = std::getenv(name);
    return value != nullptr ? value : "";
}

fs::path defaultDirectory() {
    if (const std::string dir = environment(cameraDirVariable); !dir.empty()) {
        return dir;
    }
    if (const std::string runtime = environment("XDG_RUNTIME_DIR"); !runtime.empty()) {
        return fs::path(runtime) / "vcam";
    }
    return "/tmp/vcam-" + std::to_string(getuid());
}

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

void failAt(const std::string &what, const fs::path &path) {
    throw CameraError(what + " " + path.string() + ": " + std::strerror(errno));
}

void writeFile(const fs::path &path, const std::string &text) {
    errno = 0;
    std::ofstream file(path);
    file << text;
    file.close();
    if (!file) {
        const int error = errno;
        unlink(path.c_str()); // before anybody takes what there is of it for whole
        errno = error;
        failAt("cannot write", path);
    }
}

CameraDir::CameraDir(const std::string &named)
    : path_(fs::absolute(named.empty() ? defaultDirectory() : fs::path(named)).lexically_normal()) {
    if (!path_.has_filename()) {
        path_ = path_.parent_path();
    }
}

fs::path CameraDir::place(const std::string &cameraPath) const {
    char buffer[cameraPathRoom];
    return placeOf(path_.c_str(), cameraPath.c_str(), buffer);
}

CameraDir::Address CameraDir::socketAddress(const std::string &cameraPath) const {
    // The descriptor stays open: the address may name the directory by it.
    static const int dirFd = open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    Address result = {};
    result.length = static_cast<unsigned>(
        socketAddressOf(path_.c_str(), dirFd, cameraPath.c_str(), &result.address));
    if (result.length == 0) {
        throw CameraError("the path is too long for a socket: " + cameraPath);
    }
    return result;
}

fs::path CameraDir::registersFile() const {
    return path_.string() + cameraRegistersFile;
}

fs::path CameraDir::memoryFile() const {
    return path_.string() + cameraMemoryFile;
}

fs::path CameraDir::usedConfigFile() const {
    const fs::path other = place(otherConfigPath);
    return fs::exists(other) ? other : configFile();
}

void CameraDir::requireRunning() const {
    const UniqueFd lock(open(lockFile().c_str(), O_RDONLY | O_CLOEXEC));
    if (!lock || flock(lock.get(), LOCK_SH | LOCK_NB) == 0) {
        throw CameraError("no camera is running in " + path_.string() +
                          " (start one with: vcam run)");
    }
}

MappedBoard::MappedBoard(const CameraDir &dir, Mode mode)
    : registers_(mapRegisters(dir.registersFile(), mode)), board_{
                                                               *registers_,
                                                               openMemory(dir.memoryFile(), mode),
                                                               time_} {}

MappedBoard::~MappedBoard() {
    close(board_.memoryFd);
    munmap(registers_, sizeof(BoardRegisters));
}

std::optional<int> readPidFile(const fs::path &file) {
    std::ifstream in(file);
    int pid = 0;
    if (in >> pid && pid > 0) {
        return pid;
    }
    return std::nullopt;
}

void writePidFile(const fs::path &file, int pid) {
    writeFile(file, std::to_string(pid) + '\n');
}
