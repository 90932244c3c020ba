#include "vcam/camera/camera.h"

#include "base/unique_fd.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>

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

} // namespace

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

fs::path CameraDir::answersFile() const {
    return path_.string() + cameraAnswersFile;
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
