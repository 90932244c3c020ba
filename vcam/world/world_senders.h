// What other processes of a camera send the daemon, on the virtual clock. Whoever sends waits while
// the daemon is not there or does not take it, as a sender on a camera does.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class WorldSenders {
public:
    using Record = std::vector<std::uint8_t>;

    // `onSent` hears of each record when it is on its way, in order, `onTaken` when the daemon has
    // taken it.
    WorldSenders(const CameraDir &dir, std::function<void(const Record &record)> onSent,
                 std::function<void()> onTaken);

    // Records one after the other, until it gives none.
    using Source = std::function<std::optional<Record>()>;

    void sendRecord(Record record);
    void sendRecords(Source source) { sources_.push_back(std::move(source)); }
    void sendMessage(std::string message) { messages_.push_back(std::move(message)); }

    // Sends what can be sent. One record at a time is on its way, so that nothing hangs on how many
    // datagrams this PC's sockets hold. True: something was sent.
    bool flush();

    // The daemon has ended: what was on its way is lost.
    void daemonEnded();

    // Whether all records have been taken.
    bool isIdle() const { return sources_.empty() && !next_; }

private:
    bool hasNext();
    bool flushRecords();
    bool flushMessages();
    bool hasBeenTaken();
    bool connectStream();

    const CameraDir &dir_;
    std::function<void(const Record &record)> onSent_;
    std::function<void()> onTaken_;
    bool isOnItsWay_ = false; // a record
    UniqueFd stream_;
    UniqueFd fifo_;
    std::deque<Source> sources_;
    std::optional<Record> next_; // that the daemon has not taken yet
    std::deque<std::string> messages_;
};
