// Numbers in messages.
#pragma once

#include <cstdint>

// A number as messages show it: all of them know signed numbers of 32 bits only.
constexpr int shown(std::uint64_t number) {
    return static_cast<int>(number);
}
