#include "vcam/cli/stream_sender.h"

#include "camera/quill/quill.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr auto startPatience = std::chrono::seconds(5);
constexpr auto startLook = std::chrono::milliseconds(1);

constexpr auto settlePatience = std::chrono::seconds(5);
constexpr auto settleLook = std::chrono::milliseconds(1);

constexpr std::size_t headerSize = 44;
constexpr std::size_t codecInfoSize = 64;

void put(std::vector<std::uint8_t> &record, std::size_t offset, std::uint32_t word) {
    std::memcpy(record.data() + offset, &word, sizeof word);
}

void put(std::vector<std::uint8_t> &record, std::size_t offset, const char (&code)[5]) {
    std::memcpy(record.data() + offset, code, 4);
}

std::vector<std::uint8_t> newRecord(std::size_t size, const char (&type)[5]) {
    std::vector<std::uint8_t> record(size);
    put(record, 0, static_cast<std::uint32_t>(size));
    put(record, 4, type);
    return record;
}

// The stream socket that the camera's configuration names.
std::string streamPath(const CameraDir &dir) {
    char path[64] = {};
    const QUILL_ROW table[] = {
        {"/root/audioout/c0/s0/socket", QUILL_KIND_TEXT, sizeof path, path, nullptr}, {}};
    return Quill_ReadAll(dir.configFile().c_str(), table) == 0 && path[0] != '\0'
               ? path
               : streamSocketPath;
}

} // namespace

StreamSender::StreamSender(const CameraDir &dir)
    : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const CameraDir::Address address = dir.socketAddress(streamPath(dir));
    const auto deadline = std::chrono::steady_clock::now() + startPatience;
    while (connect(socket_.get(), reinterpret_cast<const sockaddr *>(&address.address),
                   address.length) != 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            throw CameraError("the daemon has no stream socket open");
        }
        std::this_thread::sleep_for(startLook);
    }
}

void StreamSender::sendLaw(Law law) {
    std::vector<std::uint8_t> record = newRecord(codecInfoSize, "CONF");
    put(record, 8, "G711");
    if (law == Law::a) {
        put(record, 44, "ALAW");
    } else {
        put(record, 44, "ULAW");
    }
    put(record, 48, std::uint32_t{1}); // channels
    put(record, 60, std::uint32_t{1}); // carries codec information
    send(record);
}

void StreamSender::sendPayload(std::span<const std::uint8_t> payload) {
    std::vector<std::uint8_t> record = newRecord(headerSize + payload.size(), "G711");
    std::copy(payload.begin(), payload.end(), record.begin() + headerSize);
    send(record);
}

void StreamSender::settle() {
    // A record has been dealt with when the next one is read. These are of no known type.
    for (int i = 0; i < 2; ++i) {
        send(newRecord(headerSize, "VCAM"));
        int before = 0;
        auto deadline = std::chrono::steady_clock::now() + settlePatience;
        for (int waiting = 1; ioctl(socket_.get(), SIOCOUTQ, &waiting) == 0 && waiting > 0;) {
            const auto now = std::chrono::steady_clock::now();
            if (waiting != before) {
                before = waiting;
                deadline = now + settlePatience;
            } else if (now >= deadline) {
                return;
            }
            std::this_thread::sleep_for(settleLook);
        }
    }
}

void StreamSender::send(std::span<const std::uint8_t> record) {
    ssize_t sent = -1;
    do {
        sent = ::send(socket_.get(), record.data(), record.size(), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    if (sent < 0) {
        throw CameraError(std::string("the daemon no longer takes the stream: ") +
                          std::strerror(errno));
    }
}
