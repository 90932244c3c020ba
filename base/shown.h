// Numbers in messages.
#pragma once

// A number as messages show it: all of them know signed numbers of 32 bits only.
template <typename Number>
constexpr int shown(Number number) {
    return static_cast<int>(number);
}
