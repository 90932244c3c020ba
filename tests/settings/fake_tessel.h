// A settings daemon that behaves as a test likes.
#pragma once

#include "base/unique_fd.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// Answers each connection to <dir>/tmp/tessel by a reply, or by a function of its descriptor.
class FakeTessel {
public:
    FakeTessel(const std::filesystem::path &dir, std::function<void(FakeTessel &, int fd)> serve)
        : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), serve_(std::move(serve)) {
        const std::filesystem::path path = dir / "tmp/tessel";
        std::filesystem::create_directories(path.parent_path());
        std::filesystem::remove(path);
        sockaddr_un address = {AF_UNIX, {}};
        path.string().copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(
            0, ::bind(socket_.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address));
        EXPECT_EQ(0, ::listen(socket_.get(), 8));
        thread_ = std::thread([this] {
            while (const UniqueFd connection{accept(socket_.get(), nullptr, nullptr)}) {
                serve_(*this, connection.get());
                ++served_;
            }
        });
    }
    FakeTessel(const std::filesystem::path &dir, const std::string &reply)
        : FakeTessel(dir, [reply](FakeTessel &self, int fd) {
              self.receive(fd);
              self.reply(fd, reply);
          }) {}
    FakeTessel(const FakeTessel &) = delete;
    FakeTessel &operator=(const FakeTessel &) = delete;
    ~FakeTessel() {
        shutdown(socket_.get(), SHUT_RDWR);
        thread_.join();
    }

    // For the function: takes a request, which requests() then tells, and replies.
    void receive(int fd) {
        char request[16384];
        const ssize_t count = recv(fd, request, sizeof request, 0);
        const std::lock_guard guard(mutex_);
        requests_.emplace_back(request, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    static void reply(int fd, const std::string &text) {
        send(fd, text.data(), text.size(), MSG_NOSIGNAL);
    }

    std::vector<std::string> requests() const {
        const std::lock_guard guard(mutex_);
        return requests_;
    }
    int served() const { return served_; }

private:
    UniqueFd socket_;
    std::function<void(FakeTessel &, int)> serve_;
    mutable std::mutex mutex_;
    std::vector<std::string> requests_;
    std::atomic<int> served_{0};
    std::thread thread_;
};
