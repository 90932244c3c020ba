// The commands for cameras on the virtual clock. As commands.h says of all.
#pragma once

#include "vcam/camera/camera.h"
#include "vcam/camera/environment.h"
#include "vcam/world/life.h"

#include <string>
#include <vector>

struct PlayOptions {
    std::string scenario; // a file
    unsigned repeat = 1;  // how often; all lives have to be alike
};

// Lives a scenario and prints what came of it; 1 when something was not as expected.
int play(const CameraDir &dir, const Target &target, const PlayOptions &options);

// Prints a table of a life that took so long.
void printLife(const LifeReport &report, double wallSeconds);

struct SimOptions {
    std::uint64_t firstSeed = 1;
    std::uint64_t lastSeed = 1;
    double hours = 1;
    std::string keep;     // where the scenarios of seeds that show a fault go; empty: nowhere
    bool shrinks = false; // cuts such a scenario down to the events that still show it
    unsigned repeat = 1;  // how often each is lived; all lives of a seed have to be alike
};

// Lives a random life for each seed, on all processors; 1 when a promise was broken or two lives of
// one seed were not alike.
int sim(const Target &target, const SimOptions &options);

struct SweepOptions {
    std::string scenario;           // a file
    std::uint32_t most = 30;        // issues of each call that are made to fail, from the first on
    std::vector<std::string> names; // calls and driver commands; empty: all that are on the road
};

// Lives a scenario once for each issue of each call and driver command in it, which fails, and
// prints what becomes of it; 1 when a promise was broken.
int sweep(const Target &target, const SweepOptions &options);

struct ReplayOptions {
    std::string trace;  // a file that libvcam_trace.so has written
    std::string config; // the daemon's configuration file; empty: the one that a camera comes with
    std::string scenario; // where the life goes as a scenario, and is not replayed; empty: nowhere
};

// Gives a daemon the life that a trace tells, driver answers included, and compares each driver
// command; 1 when one differs.
int replay(const CameraDir &dir, const Target &target, const ReplayOptions &options);
