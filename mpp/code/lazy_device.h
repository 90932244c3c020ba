// A driver's device file that is opened when it is first needed and kept open.
#pragma once

#include "mpp/device/device.h"

#include <atomic>

// Two threads that need the device first at the same moment both get one descriptor; no lock is
// taken. Modules differ in which descriptors they take for open, so each states its own bounds.
class LazyDevice {
public:
    // A kept descriptor below `lowestKept` is opened anew; an open that yields less than
    // `lowestOpened` has failed.
    constexpr LazyDevice(const char *path, int lowestKept, int lowestOpened)
        : path_(path), lowestKept_(lowestKept), lowestOpened_(lowestOpened) {}

    int get() const { return fd_.load(std::memory_order_acquire); }

    // Makes sure that the device is open. `prepare`, called with a fresh descriptor, makes it ready
    // and returns 0, or else the descriptor is closed again. Returns the descriptor, or the failing
    // result of the open (errno set), or -1 when it could not be made ready.
    template <typename Prepare>
    int acquire(int flags, Prepare prepare) {
        int kept = get();
        if (kept >= lowestKept_) {
            return kept;
        }
        const int fresh = Device_Open(path_, flags);
        if (fresh < lowestOpened_) {
            return keepUnlessOpened(kept, fresh);
        }
        if (prepare(fresh) != 0) {
            Device_Close(fresh);
            return keepUnlessOpened(kept, -1);
        }
        if (!fd_.compare_exchange_strong(kept, fresh, std::memory_order_acq_rel)) {
            Device_Close(fresh);
            return kept;
        }
        return fresh;
    }

    int acquire(int flags) {
        return acquire(flags, [](int) { return 0; });
    }

    // Whether a result of acquire() is a descriptor.
    bool isOpened(int result) const { return result >= lowestOpened_; }

    // Closes the device when its descriptor is greater than 0. Returns the result of the close; a
    // descriptor that could not be closed stays.
    int close() {
        const int fd = get();
        if (fd <= 0) {
            return 0;
        }
        const int result = Device_Close(fd);
        if (result == 0) {
            forget();
        }
        return result;
    }

    // Lets the next use open the device anew.
    void forget() { fd_.store(-1, std::memory_order_release); }

private:
    // Keeps a failing result in place of `kept`, unless another thread has opened the device
    // meanwhile; then its descriptor is the result.
    int keepUnlessOpened(int kept, int failure) {
        const bool isKept = fd_.compare_exchange_strong(kept, failure, std::memory_order_acq_rel);
        return isKept || kept < lowestKept_ ? failure : kept;
    }

    const char *path_;
    int lowestKept_;
    int lowestOpened_;
    std::atomic<int> fd_{-1};
};
