#include "vcam/sender/stream_sender.h"

#include "camera/quill/quill.h"
#include "vcam/sender/stream_records.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <iostream>
#include <thread>

namespace {

constexpr auto startPatience = std::chrono::seconds(5);
constexpr auto startLook = std::chrono::milliseconds(1);

constexpr timeval sendLook = {0, 100000};
constexpr auto longStall = std::chrono::seconds(2);
constexpr auto settleLook = std::chrono::milliseconds(1);

} // namespace

std::string streamPath(const CameraDir &dir) {
    char path[64] = {};
    const QUILL_ROW table[] = {
        {"/root/audioout/c0/s0/socket", QUILL_KIND_TEXT, sizeof path, path, nullptr}, {}};
    const std::filesystem::path file = dir.usedConfigFile();
    if (Quill_ReadAll(file.c_str(), table) != 0 || path[0] == '\0') {
        throw CameraError("no stream socket is named in " + file.string());
    }
    return path;
}

StreamSender::StreamSender(const CameraDir &dir, std::chrono::seconds patience)
    : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)), patience_(patience) {
    setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &sendLook, sizeof sendLook);
    const CameraDir::Address address = dir.socketAddress(streamPath(dir));
    const auto deadline = std::chrono::steady_clock::now() + startPatience;
    while (connect(socket_.get(), reinterpret_cast<const sockaddr *>(&address.address),
                   address.length) != 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            throw CameraError("the daemon has no stream socket open at " +
                              dir.place(streamPath(dir)).string());
        }
        std::this_thread::sleep_for(startLook);
    }
}

void StreamSender::sendLaw(Law law) {
    send(lawRecord(law));
}

void StreamSender::sendPayload(std::span<const std::uint8_t> payload) {
    send(audioRecord(payload));
}

void StreamSender::settle() {
    // A record has been dealt with when the next one is read. These are of no known type.
    for (int i = 0; i < 2; ++i) {
        send(unknownRecord());
        int before = 0;
        for (int waiting = 1; ioctl(socket_.get(), SIOCOUTQ, &waiting) == 0 && waiting > 0;) {
            if (waiting != before) {
                before = waiting;
                lastTaken_ = Clock::now();
            }
            noteStall();
            std::this_thread::sleep_for(settleLook);
        }
    }
}

void StreamSender::send(std::span<const std::uint8_t> record) {
    lastTaken_ = Clock::now();
    while (::send(socket_.get(), record.data(), record.size(), MSG_NOSIGNAL) < 0) {
        if (errno != EINTR && errno != EAGAIN) {
            throw CameraError(std::string("the daemon no longer takes the stream: ") +
                              std::strerror(errno));
        }
        noteStall();
    }
}

// Tells the user of a daemon that takes nothing, and gives up when told to.
void StreamSender::noteStall() {
    const auto stall = Clock::now() - lastTaken_;
    if (patience_.count() > 0 && stall >= patience_) {
        throw CameraError("the daemon has taken nothing for " + std::to_string(patience_.count()) +
                          " s; given up");
    }
    if (stall >= longStall && !isStallReported_) {
        isStallReported_ = true;
        std::cerr << "vcam: the daemon has taken nothing for " << longStall.count()
                  << " s; still waiting\n";
    }
}
