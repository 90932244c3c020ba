// What stands in the words of driver commands' records.
#pragma once

#include <cstddef>
#include <cstdint>

// Bytes of a command's record, as its number tells; 0: it has none.
constexpr std::size_t commandRecordSize(std::uint32_t command) {
    return command >> 16 & 0x3FFF;
}

// Whether a word holds an address of the caller's memory, which no two processes share.
bool isCallersAddress(std::uint32_t command, std::size_t word);

// Whether a command is about the board's memory, whose addresses are each board's own.
bool isAboutMemory(std::uint32_t command);
