// Names in drivers' records.
#pragma once

#include <cstring>

// Copies a name into a record's field, cut to leave a terminator; null leaves the field empty.
template <std::size_t Size>
void recordCopyName(char (&field)[Size], const char *name) {
    if (name != nullptr) {
        std::memcpy(field, name, strnlen(name, Size - 1));
    }
}
