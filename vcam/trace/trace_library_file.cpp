#include "vcam/trace/trace_file.h"

#include "vcam/trace/trace_format.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

// Out of the way of the daemon's, whose numbers it prints.
constexpr int lowestDescriptor = 200;

// How large a file this process may write.
std::uint64_t largestFile() {
    struct {
        std::uint64_t current;
        std::uint64_t highest;
    } limit = {};
    const long result = syscall(SYS_prlimit64, 0, RLIMIT_FSIZE, nullptr, &limit);
    return result == 0 ? limit.current : UINT64_MAX;
}

// Bytes of the records that are whole in the first `size` bytes. What the file begins with counts
// as one that has no header.
std::size_t wholeRecords(const unsigned char *bytes, std::size_t size, bool isBeginning) {
    std::size_t whole = isBeginning ? sizeof(TraceFileHead) : 0;
    if (whole > size) {
        return 0;
    }
    while (size - whole >= sizeof(TraceHeader)) {
        TraceHeader header = {};
        std::memcpy(&header, bytes + whole, sizeof header);
        const std::size_t length = sizeof header + header.size;
        if (size - whole < length) {
            break;
        }
        whole += length;
    }
    return whole;
}

std::size_t writeAll(int fd, const unsigned char *bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const long count = syscall(SYS_write, fd, bytes + done, size - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

} // namespace

bool TraceFile::create(const char *path) {
    const long low =
        syscall(SYS_openat, AT_FDCWD, path,
                O_WRONLY | O_CREAT | O_TRUNC | O_NOCTTY | O_NONBLOCK | O_CLOEXEC, 0600);
    if (low < 0) {
        return false;
    }
    fd_ = static_cast<int>(syscall(SYS_fcntl, low, F_DUPFD_CLOEXEC, lowestDescriptor));
    syscall(SYS_close, low);
    return isOpen();
}

bool TraceFile::write(const unsigned char *bytes, std::size_t size) {
    const std::uint64_t largest = largestFile();
    const std::uint64_t room = largest - std::min(largest, size_);
    const auto fitting = static_cast<std::size_t>(std::min<std::uint64_t>(size, room));
    const std::size_t written = writeAll(fd_, bytes, fitting);
    if (written == size) {
        size_ += size;
        return true;
    }
    size_ += wholeRecords(bytes, written, size_ == 0);
    syscall(SYS_ftruncate, fd_, static_cast<long>(size_));
    close();
    return false;
}

void TraceFile::close() {
    syscall(SYS_close, fd_);
    fd_ = -1;
}
