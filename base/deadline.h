// A moment by which a wait ends, on the clock that nobody sets.
#pragma once

#include <cstdint>
#include <ctime>

class Deadline {
public:
    // The moment so many milliseconds from now.
    explicit Deadline(std::int64_t milliseconds) : end_(now() + milliseconds) {}

    // Milliseconds that are left; 0 once it has passed.
    std::int64_t left() const {
        const std::int64_t difference = end_ - now();
        return difference > 0 ? difference : 0;
    }
    bool hasPassed() const { return left() == 0; }

private:
    static std::int64_t now() {
        timespec time = {};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
    }

    std::int64_t end_;
};
