#include "vcam/camera/text_file.h"

#include "vcam/camera/camera.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace fs = std::filesystem;

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
