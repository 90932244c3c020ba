// The sending side of the stream socket.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"
#include "vcam/cli/law_codec.h"

#include <cstdint>
#include <span>

constexpr std::size_t streamPayload = 640; // bytes of a record: 80 ms

class StreamSender {
public:
    // Connects to the daemon's stream socket; waits a little for a daemon that is starting. Throws
    // when there is none.
    explicit StreamSender(const CameraDir &dir);

    // Announces the law of the payloads to come.
    void sendLaw(Law law);

    // Sends one payload. Waits for as long as the daemon does not take it.
    void sendPayload(std::span<const std::uint8_t> payload);

    // Waits until the daemon has dealt with all records so far, or takes no more for a while.
    void settle();

private:
    void send(std::span<const std::uint8_t> record);

    UniqueFd socket_;
};
