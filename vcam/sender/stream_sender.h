// The sending side of the stream socket.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"
#include "vcam/sender/stream_records.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

// The stream socket that the configuration of the camera's daemon names.
std::string streamPath(const CameraDir &dir);

class StreamSender {
public:
    // Connects to the daemon's stream socket; waits a little for a daemon that is starting. Throws
    // when there is none. `patience`: how long the daemon may take nothing before a call below
    // throws, 0: without limit. It is reported to the user after two seconds.
    explicit StreamSender(const CameraDir &dir,
                          std::chrono::seconds patience = std::chrono::seconds(0));

    // Announces the law of the payloads to come.
    void sendLaw(Law law);

    // Sends one payload. Waits for as long as the daemon does not take it.
    void sendPayload(std::span<const std::uint8_t> payload);

    // Waits until the daemon has dealt with all records so far.
    void settle();

private:
    using Clock = std::chrono::steady_clock;

    void send(std::span<const std::uint8_t> record);
    void noteStall();

    UniqueFd socket_;
    std::chrono::seconds patience_;
    Clock::time_point lastTaken_; // when the daemon took something, or was first asked to
    bool isStallReported_ = false;
};
