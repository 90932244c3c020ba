// Addresses in driver records.
#pragma once

#include <cstdint>

// The 32-bit word that stands for an address in a driver's record: the one place where an address
// is cut. One that the word cannot hold becomes 0, which no driver takes for memory; what a driver
// is meant to reach comes from Device_AllocVisible or from a driver.
inline std::uint32_t recordAddress(const void *address) {
    const auto value = reinterpret_cast<std::uintptr_t>(address);
    return value <= UINT32_MAX ? static_cast<std::uint32_t>(value) : 0;
}

// The address that a driver has put into a record.
inline void *addressFromRecord(std::uint32_t word) {
    return reinterpret_cast<void *>(static_cast<std::uintptr_t>(word));
}
