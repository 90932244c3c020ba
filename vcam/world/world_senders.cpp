#include "vcam/world/world_senders.h"

#include "vcam/sender/stream_sender.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

WorldSenders::WorldSenders(const CameraDir &dir, std::function<void(const Record &record)> onSent,
                           std::function<void()> onTaken)
    : dir_(dir), onSent_(std::move(onSent)), onTaken_(std::move(onTaken)) {}

void WorldSenders::sendRecord(Record record) {
    sources_.emplace_back([one = std::optional(std::move(record))]() mutable {
        return std::exchange(one, std::nullopt);
    });
}

bool WorldSenders::flush() {
    const bool messages = !messages_.empty() && flushMessages();
    if (isOnItsWay_ && hasBeenTaken()) {
        isOnItsWay_ = false;
        onTaken_();
    }
    return (!isOnItsWay_ && hasNext() && flushRecords()) || messages;
}

bool WorldSenders::hasNext() {
    while (!next_ && !sources_.empty()) {
        next_ = sources_.front()();
        if (!next_) {
            sources_.pop_front();
        }
    }
    return next_.has_value();
}

bool WorldSenders::hasBeenTaken() {
    int waiting = 0;
    return ioctl(stream_.get(), SIOCOUTQ, &waiting) == 0 && waiting == 0;
}

void WorldSenders::daemonEnded() {
    isOnItsWay_ = false;
    stream_.reset();
    fifo_.reset();
}

bool WorldSenders::connectStream() {
    if (stream_) {
        return true;
    }
    stream_.reset(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const CameraDir::Address address = dir_.socketAddress(streamPath(dir_));
    if (connect(stream_.get(), reinterpret_cast<const sockaddr *>(&address.address),
                address.length) != 0) {
        stream_.reset();
    }
    return static_cast<bool>(stream_);
}

bool WorldSenders::flushRecords() {
    if (!connectStream()) {
        return false;
    }
    if (send(stream_.get(), next_->data(), next_->size(), MSG_NOSIGNAL) < 0) {
        stream_.reset(); // the daemon that it was connected to has gone
        return false;
    }
    isOnItsWay_ = true;
    onSent_(*std::exchange(next_, std::nullopt));
    return true;
}

bool WorldSenders::flushMessages() {
    if (!fifo_) {
        fifo_.reset(open(dir_.place(controlFifoPath).c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    }
    bool sent = false;
    while (fifo_ && !messages_.empty()) {
        const std::string &message = messages_.front();
        if (write(fifo_.get(), message.data(), message.size()) < 0) {
            break;
        }
        messages_.pop_front();
        sent = true;
    }
    return sent;
}
