// Time as the world counts it, and what is to happen when.
#pragma once

#include "vcam/board/board_time.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <map>

// Nanoseconds since the camera was switched on.
using Moment = std::uint64_t;

inline Moment momentOf(double seconds) {
    return static_cast<Moment>(std::llround(seconds * 1e9));
}

constexpr double secondsOf(Moment moment) {
    return static_cast<double>(moment) / 1e9;
}

// What is to happen, in order of time, and at the same time in the order in which it was put down.
class Agenda {
public:
    using Deed = std::function<void()>;

    void add(Moment when, Deed deed) { deeds_.emplace(when, std::move(deed)); }

    // When the next deed is due; endOfTime: there is none.
    Moment next() const { return deeds_.empty() ? endOfTime : deeds_.begin()->first; }

    // Carries out all that is due by `now`, and what that puts down for the same time. True: there
    // was something.
    bool carryOut(Moment now) {
        const bool isAny = next() <= now;
        while (next() <= now) {
            auto due = deeds_.extract(deeds_.begin());
            due.mapped()();
        }
        return isAny;
    }

private:
    std::multimap<Moment, Deed> deeds_;
};

// A digest of bytes in order: the 64-bit FNV-1a hash.
class Digest {
public:
    void add(const void *data, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            value_ = (value_ ^ static_cast<const unsigned char *>(data)[i]) * 0x100000001B3;
        }
    }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xCBF29CE484222325;
};
