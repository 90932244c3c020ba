// Numbers that are random and the same in every run.
#pragma once

#include <cstdint>
#include <random>

class Random {
public:
    std::uint32_t next() { return static_cast<std::uint32_t>(engine_()); }
    std::uint32_t below(std::size_t end) { return next() % static_cast<std::uint32_t>(end); }
    bool oneIn(std::uint32_t n) { return below(n) == 0; }

private:
    std::mt19937 engine_{20261122};
};
