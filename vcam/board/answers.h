// The file of the answers that drivers have given in an earlier life. A head, the answers in order,
// then the bytes that they point at; offsets are from the file's beginning.
#pragma once

#include <cstdint>

struct AnswersHead {
    std::uint32_t count;
};

struct Answer {
    std::uint32_t command;
    std::int32_t result;
    std::int32_t error;   // errno, where the result is negative
    std::uint32_t size;   // of the record; 0: the command was issued without one
    std::uint32_t before; // offsets of the record as it was issued, and as it came back,
    std::uint32_t after;
    std::uint32_t sideSize; // of a period that the driver has taken
    std::uint32_t sides[2]; // offsets of its sides; 0: there is none
};
static_assert(sizeof(Answer) == 36);
