// Whoever sends the daemon what makes no sense.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"

#include <cstddef>
#include <random>
#include <string>

class Intruder {
public:
    // Reaches for the socket and the FIFO of a daemon that runs. Throws when there are none.
    explicit Intruder(const CameraDir &dir);

    // Sends a datagram that is no record: empty, short, too long, or with sizes that lie.
    void sendHostileDatagram(std::mt19937 &random);

    // Writes messages to the FIFO that are malformed, too short, too long or split in two. Each has
    // been dealt with before the next: what comes with a bad message is lost with it.
    void sendBrokenMessages(std::mt19937 &random);

    // Waits until the daemon has dealt with all messages so far. Throws when it does not.
    void settle() const;

    std::size_t count() const { return count_; }

private:
    void write(const std::string &bytes) const;

    UniqueFd socket_;
    UniqueFd fifo_;
    std::size_t count_ = 0;
};
