// The system log of the test's own process.
#pragma once

#include <string>

// What has been logged since the last call: a line each, its level and its text.
std::string takeSystemLog();
