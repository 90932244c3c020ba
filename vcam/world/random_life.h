// Lives that nobody has thought of: a seed is a scenario.
#pragma once

#include "vcam/world/scenario.h"

#include <cstdint>

// The same seed gives the same life on every machine: records of all kinds, hostile ones, clips,
// talk, volumes, messages, signals, failing calls and commands, a settings daemon with moods, a
// video side that goes, restarts. What the daemon promises in any life is checked in it.
Scenario randomLife(std::uint64_t seed, double hours);
