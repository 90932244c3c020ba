#include "vcam/sender/intruder.h"

#include "camera/message/message.h"
#include "vcam/sender/message_sender.h"
#include "vcam/sender/stream_records.h"
#include "vcam/sender/stream_sender.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace {

constexpr auto patience = std::chrono::seconds(20);
constexpr useconds_t lookMicroSec = 50;

// A message of a type that the daemon takes and does nothing for.
const std::string fence = framedMessage(MESSAGE_TYPE_FIRST, ".");

} // namespace

Intruder::Intruder(const CameraDir &dir)
    : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)), fifo_(openControlFifo(dir)) {
    const CameraDir::Address address = dir.socketAddress(streamPath(dir));
    if (connect(socket_.get(), reinterpret_cast<const sockaddr *>(&address.address),
                address.length) != 0) {
        throw CameraError("the daemon has no stream socket open");
    }
}

void Intruder::sendHostileDatagram(std::mt19937 &random) {
    const StreamRecord record = hostileRecord(random);
    send(socket_.get(), record.data(), record.size(), MSG_NOSIGNAL);
    ++count_;
}

void Intruder::sendBrokenMessages(std::mt19937 &random) {
    const std::string hugeHeader =
        framedMessage(MESSAGE_TYPE_DATA, std::string(0xFFFF, 'x')).substr(0, MESSAGE_HEADER_LENGTH);
    const std::string body = R"(<message><control class="1" value="1"/>)"; // has no end
    const std::string control = framedMessage(MESSAGE_TYPE_CONTROL, body);
    const std::string messages[] = {std::string(1 + random() % 3, '\2'),
                                    std::string(1 + random() % 2000, '\0'),
                                    std::string(1 + random() % 2000, '\7'),
                                    std::string("\2\0\0\0", 4),
                                    hugeHeader + std::string(3000, 'x'),
                                    control,
                                    framedMessage(MESSAGE_TYPE_DATA, body),
                                    control.substr(0, MESSAGE_HEADER_LENGTH),
                                    body};
    for (const std::string &message : messages) {
        write(message);
        settle();
        ++count_;
    }
}

void Intruder::settle() const {
    // The daemon has dealt with a message when it reads the next one.
    for (int i = 0; i < 2; ++i) {
        write(fence);
        const auto deadline = std::chrono::steady_clock::now() + patience;
        for (int waiting = 1; ioctl(fifo_.get(), FIONREAD, &waiting) == 0 && waiting > 0;) {
            if (std::chrono::steady_clock::now() > deadline) {
                throw CameraError("the daemon does not read its messages");
            }
            usleep(lookMicroSec);
        }
    }
}

void Intruder::write(const std::string &bytes) const {
    if (::write(fifo_.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        throw CameraError("the daemon no longer takes messages");
    }
}
