// A driver behind the door of the media platform that takes every period at once and drops it.
#pragma once

#include <cstdint>

// Whether each command makes a system call, as it does on a camera. The null device answers it.
void setDriverMakesCalls(bool makes);

// Commands issued so far.
std::uint64_t driverCommands();

// The system call that a command makes.
void makeDriverCall();
