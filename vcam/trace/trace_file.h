// The file that a trace goes to, by system calls alone.
#pragma once

#include <cstddef>
#include <cstdint>

class TraceFile {
public:
    // Creates the file, or empties it.
    bool create(const char *path);

    // Writes whole records. False when not all of them fit: those that do are there, and the file
    // is closed. The signal of a file that grows too large does not come.
    bool write(const unsigned char *bytes, std::size_t size);

    void close();

    bool isOpen() const { return fd_ >= 0; }
    int descriptor() const { return fd_; }
    std::uint64_t size() const { return size_; }

private:
    int fd_ = -1;
    std::uint64_t size_ = 0;
};
