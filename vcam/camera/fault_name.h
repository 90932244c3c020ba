// What can be made to fail, by the names that users give it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The code of a call of the C library ("read"), or of a driver's command by its name ("ao send") or
// number ("0xC0785805"); 0: none of these.
std::uint32_t faultCode(const std::string &name);

// The name of what has this code.
std::string faultName(std::uint32_t code);

// The codes of all that has a name.
std::vector<std::uint32_t> namedFaults();
