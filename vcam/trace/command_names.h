// What driver commands are called.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// "ao send", or the number of a command that has no name.
std::string commandName(std::uint32_t command);

// The command of that name; 0: there is none.
std::uint32_t commandNamed(const std::string &name);

// All commands that have a name.
std::vector<std::uint32_t> namedCommands();
