// What operations on a channel begin with.
#pragma once

#include "base/mutex_guard.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_channel.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_device.h"

#include <cstdint>
#include <optional>

// The steps that come before an operation's own, in the order in which it asks for them. Each is
// taken only when those before it have succeeded; failed() is then false. Messages are the
// operation's. The lock is held until the operation ends or gives it back.
class AoOperation {
public:
    // Checks the numbers.
    AoOperation(std::uint32_t dev, std::uint32_t chn, CallSite site = CallSite::here())
        : site_(site), chn_(chn), error_(aoCheckChn(dev, chn, site)) {}

    // Opens the channel's descriptor unless it is open.
    AoOperation &acquire() {
        if (error_ == 0) {
            fd_ = aoAcquire(chn_);
            error_ = fd_ < 0 ? fd_ : 0;
        }
        return *this;
    }

    // Refuses a null argument, without a message.
    AoOperation &given(const void *argument) {
        if (error_ == 0 && argument == nullptr) {
            error_ = ERR_AO_NULL_PTR;
        }
        return *this;
    }

    // Takes the channel's lock.
    AoOperation &lock() {
        if (error_ == 0) {
            guard_.emplace(channel().lock);
        }
        return *this;
    }

    // Takes the lock, and gives it back to refuse a channel that is not enabled.
    AoOperation &lockEnabled() {
        lock();
        if (error_ == 0 && channel().enabled == 0) {
            unlock();
            mppReport(site_, "AO chn %d is not enable\n", shown(chn_));
            error_ = ERR_AO_NOT_ENABLED;
        }
        return *this;
    }

    bool failed() const { return error_ != 0; }
    std::int32_t error() const { return error_; }

    // Only of an operation that has not failed.
    int fd() const { return fd_; }
    AoChannel &channel() const { return aoChannels[chn_]; }

    void unlock() { guard_.reset(); }

private:
    CallSite site_;
    std::uint32_t chn_;
    std::int32_t error_;
    int fd_ = -1;
    std::optional<MutexGuard> guard_;
};
