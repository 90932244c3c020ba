#include "vcam/camera/camera_files.h"

#include "vcam/camera/sample_config.h"
#include "vcam/camera/text_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace fs = std::filesystem;

namespace {

// A camera's path in the directory, whatever the directory is: what is removed is never the PC's.
fs::path inside(const CameraDir &dir, const char *path) {
    return dir.path() / fs::path(path).relative_path();
}

} // namespace

UniqueFd lockDirectory(const CameraDir &dir) {
    std::error_code error;
    fs::create_directories(dir.path(), error);
    if (!fs::exists(dir.lockFile()) && fs::exists(dir.path()) && !fs::is_empty(dir.path(), error)) {
        throw CameraError(dir.path().string() +
                          " holds other files; a camera needs a directory of its own");
    }
    UniqueFd lock(open(dir.lockFile().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock) {
        throw CameraError("cannot use the directory " + dir.path().string() + ": " +
                          std::strerror(errno));
    }
    if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        throw CameraError("a camera is already running in " + dir.path().string());
    }
    return lock;
}

CameraFiles::CameraFiles(const CameraDir &dir) : dir_(dir) {
    removeRunning();
    for (const char *path : {streamSocketPath, tesselSocketPath, logSocketPath}) {
        fs::create_directories(dir.place(path).parent_path());
    }
    for (const char *path : cameraDevicePaths) {
        fs::create_symlink("/dev/null", dir.place(path));
    }
    writePidFile(dir.place(videoPidPath), getpid());
    writePidFile(dir.place(encoderPidPath), getpid());
    if (!fs::exists(dir.configFile())) {
        writeFile(dir.configFile(), sampleConfig);
    }
}

CameraFiles::~CameraFiles() {
    removeRunning();
    std::error_code ignored;
    fs::remove_all(inside(dir_, tesselProgramPath).parent_path(), ignored);
    for (const char *parent : {"var", "tmp", "usr"}) {
        fs::remove(dir_.path() / parent, ignored); // unless there is something else in it
    }
}

void CameraFiles::removeRunning() {
    std::error_code ignored;
    for (const char *path : {runPath, tesselSocketPath, devicesPath}) {
        fs::remove_all(inside(dir_, path), ignored);
    }
    fs::remove(dir_.registersFile(), ignored);
    fs::remove(dir_.memoryFile(), ignored);
    fs::remove(dir_.answersFile(), ignored);
}
