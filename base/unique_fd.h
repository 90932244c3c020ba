// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

// Owns one descriptor; -1 owns nothing. Close is the function that ends it, so that descriptors of
// different origins cannot be mixed up.
template <auto Close>
class BasicUniqueFd {
public:
    BasicUniqueFd() = default;
    explicit BasicUniqueFd(int fd) : fd_(fd) {}
    BasicUniqueFd(BasicUniqueFd &&other) noexcept : fd_(other.release()) {}
    BasicUniqueFd &operator=(BasicUniqueFd &&other) noexcept {
        reset(other.release());
        return *this;
    }
    ~BasicUniqueFd() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    int release() { return std::exchange(fd_, -1); }
    void reset(int fd = -1) {
        const int old = std::exchange(fd_, fd);
        if (old >= 0) {
            Close(old);
        }
    }

private:
    int fd_ = -1;
};

using UniqueFd = BasicUniqueFd<::close>;
