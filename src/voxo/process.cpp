#include "src/voxo/process.h"

#include "audioout/audioout.h"
#include "base/unique_fd.h"
#include "base/unique_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <utility>

namespace {

constexpr mode_t newFileMode = 0666; // as far as the process's mask lets it
constexpr mode_t pidFileMode = 0644;

// Opens a PID file to read (mode "r") or to write ("w"), as fopen does, except that a pipe in its
// place keeps nobody waiting for whoever holds the other end.
UniqueFile openReported(const char *path, const char *mode) {
    const int access = *mode == 'r' ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    UniqueFd fd(open(path, access | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, newFileMode));
    UniqueFile file(fd ? fdopen(fd.get(), mode) : nullptr);
    if (file == nullptr) {
        std::fprintf(stderr, "can't open %s\n", path);
    } else {
        fd.release();
    }
    return file;
}

// The process id that a PID file holds, or 0: a file without a number, or with one that is no id.
pid_t readPid(const char *path) {
    const UniqueFile file = openReported(path, "r");
    int pid = 0;
    if (file == nullptr || std::fscanf(file.get(), "%6d\n", &pid) != 1 || pid < 0) {
        return 0;
    }
    return pid;
}

// Writes this process's id; false when it does not reach the file, which then goes, with errno as
// the failure left it.
bool writePid(UniqueFile file) {
    if (std::fprintf(file.get(), "%d\n", getpid()) > 0 && std::fflush(file.get()) == 0) {
        fchmod(fileno(file.get()), pidFileMode);
        return true;
    }
    const int error = errno;
    struct stat status = {};
    if (fstat(fileno(file.get()), &status) == 0 && S_ISREG(status.st_mode)) {
        std::remove(pidFilePath);
    }
    file.reset();
    errno = error;
    return false;
}

} // namespace

void voxoHoldStandardStreams() {
    int fd = 0;
    do {
        fd = open("/dev/null", O_RDWR);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) {
        close(fd);
    }
}

int voxoCreatePidFile() {
    if (pidFilePath[0] == '\0') {
        return 0;
    }
    UniqueFile file = openReported(pidFilePath, "w");
    return file != nullptr && writePid(std::move(file)) ? 0 : -1;
}

void voxoNotifyEncoder(const char *path) {
    if (path[0] == '\0') {
        return;
    }
    const pid_t pid = readPid(path);
    if (pid > 0) {
        kill(pid, SIGUSR1);
    }
}

int voxoCleanup(VoxoContext *context) {
    if (context->streamFd > 0) {
        close(context->streamFd);
        context->streamFd = 0;
    }
    audioout_close(context->audioOut.aoDevId, context->audioOut.aoChn);
    if (pidFilePath[0] != '\0' && readPid(pidFilePath) == getpid()) {
        std::remove(pidFilePath);
    }
    voxoNotifyEncoder(context->aencPidPath);
    return 0;
}
