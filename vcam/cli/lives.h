// The commands for cameras on the virtual clock. As commands.h says of all.
#pragma once

#include "vcam/camera/camera.h"
#include "vcam/camera/environment.h"
#include "vcam/world/life.h"

#include <string>

struct PlayOptions {
    std::string scenario; // a file
    unsigned repeat = 1;  // how often; all lives have to be alike
};

// Lives a scenario and prints what came of it; 1 when something was not as expected.
int play(const CameraDir &dir, const Target &target, const PlayOptions &options);

// Prints a table of a life that took so long.
void printLife(const LifeReport &report, double wallSeconds);
