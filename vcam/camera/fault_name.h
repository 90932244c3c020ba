// What can be made to fail, by the names that users give it.
#pragma once

#include <cstdint>
#include <string>

// The code of a call of the C library ("read"), or of a driver's command by its number
// ("0xC0785805"); 0: neither.
std::uint32_t faultCode(const std::string &name);
