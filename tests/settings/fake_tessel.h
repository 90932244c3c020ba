// A settings daemon that behaves as a test likes.
#pragma once

#include "base/unique_fd.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// What a daemon's thread has been told, for the test's own thread.
class Requests {
public:
    void add(const std::string &request) {
        const std::lock_guard guard(mutex_);
        all_.push_back(request);
    }
    std::vector<std::string> all() const {
        const std::lock_guard guard(mutex_);
        return all_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> all_;
};

// Answers each connection to <dir>/tmp/tessel by a function of its descriptor.
class FakeTessel {
public:
    FakeTessel(const std::filesystem::path &dir, std::function<void(int fd)> serve)
        : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), serve_(std::move(serve)) {
        std::filesystem::create_directories(dir / "tmp");
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::filesystem::remove(dir / "tmp/tessel");
        (dir / "tmp/tessel").string().copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(
            0, ::bind(socket_.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address));
        EXPECT_EQ(0, ::listen(socket_.get(), 8));
        thread_ = std::thread([this] {
            for (;;) {
                const UniqueFd connection(accept(socket_.get(), nullptr, nullptr));
                if (!connection) {
                    return;
                }
                serve_(connection.get());
                ++served_;
            }
        });
    }
    FakeTessel(const FakeTessel &) = delete;
    FakeTessel &operator=(const FakeTessel &) = delete;
    ~FakeTessel() {
        shutdown(socket_.get(), SHUT_RDWR);
        thread_.join();
    }

    int served() const { return served_; }

    static std::string receive(int fd) {
        char request[16384];
        const ssize_t count = recv(fd, request, sizeof request, 0);
        return {request, static_cast<std::size_t>(count > 0 ? count : 0)};
    }

private:
    UniqueFd socket_;
    std::function<void(int)> serve_;
    std::atomic<int> served_{0};
    std::thread thread_;
};
