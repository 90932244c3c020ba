// Whether a table holds a value.
#pragma once

#include <cstddef>

template <typename Value, std::size_t Size>
constexpr bool isAmong(const Value (&values)[Size], Value value) {
    for (const Value &one : values) {
        if (one == value) {
            return true;
        }
    }
    return false;
}
