// What the fuzzers share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

// Ends the process with the promise's words unless it holds.
void require(bool holds, const char *promise);

// The input, taken from its front. Past its end there are zeros.
class Input {
public:
    explicit Input(std::string bytes) : left_(std::move(bytes)) {}

    bool isEmpty() const { return left_.empty(); }

    // As many characters, or what is left.
    std::string text(std::size_t length = std::string::npos) {
        std::string part = left_.substr(0, length);
        left_.erase(0, length);
        return part;
    }

    // Little-endian.
    std::uint32_t number(std::size_t bytes) {
        std::uint32_t value = 0;
        const std::string part = text(bytes);
        std::copy(part.begin(), part.end(), reinterpret_cast<char *>(&value));
        return value;
    }

    std::uint32_t below(std::uint32_t end) { return number(end > 256 ? 2 : 1) % end; }

private:
    std::string left_;
};

// The fuzzer: must hold for every input, and leaves things as it found them.
void fuzz(Input input);
