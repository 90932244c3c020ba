// What driver commands are called.
#pragma once

#include <cstdint>
#include <string>

// "ao send", or the number of a command that has no name.
std::string commandName(std::uint32_t command);
