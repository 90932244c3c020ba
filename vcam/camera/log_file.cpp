#include "vcam/camera/log_file.h"

#include "vcam/camera/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <utility>

LogFile::LogFile(std::filesystem::path path)
    : path_(std::move(path)),
      fd_(open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600)) {
    if (!fd_) {
        failAt("cannot write", path_);
    }
}

void LogFile::line(const std::string &text) {
    std::string bytes;
    if (lost_ > 0) {
        bytes.append("(").append(std::to_string(lost_)).append(" lines are lost)\n");
    }
    bytes.append(text).append("\n");
    if (write(bytes)) {
        lost_ = 0;
    } else if (++lost_ == 1) {
        std::cerr << "vcam: cannot write " << path_.string() << ": " << std::strerror(errno)
                  << std::endl;
    }
}

// Writes all, or leaves the file as it was.
bool LogFile::write(const std::string &bytes) {
    struct stat before = {};
    const bool isKnown = fstat(fd_.get(), &before) == 0;
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::write(fd_.get(), bytes.data() + done, bytes.size() - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            const int error = errno;
            if (done > 0 && isKnown && ftruncate(fd_.get(), before.st_size) != 0) {
                return false; // a piece of the line stays
            }
            errno = error;
            return false;
        }
    }
    return true;
}
