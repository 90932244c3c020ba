// A recorded life as a scenario, to be lived again and edited.
#pragma once

#include "vcam/world/scenario.h"
#include "vcam/world/trace_life.h"

#include <filesystem>

// Records, messages and signals at their times, two-way audio and the settings that the daemon uses
// as it was told of them, and the clips that it read, which go to `directory`; a clip of another
// place is among the camera's. What is not in it: settings that were missing, and failures. Throws
// a CameraError when a clip cannot be written, or is not in the trace as a whole.
Scenario scenarioOf(const TraceLife &life, const std::filesystem::path &directory);
