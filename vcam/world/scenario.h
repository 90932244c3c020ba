// A scenario: a camera's life as it is written down, step by step.
//
//     about: A clip gives way to two-way audio.
//     until: 10
//     steps:
//       - {at: 1, clip: noise, seconds: 8}
//       - {at: 3, talk: on}
//       - {at: 3, within: 0.5, log: 2-way audio in progress}
//
// With "promises: yes" what the daemon promises in any life is checked as well.
//
// A step has a time, in seconds since the camera was switched on, a verb with its object, and what
// goes with the verb. All are text here; scenario_verbs.h knows which there are.
#pragma once

#include "vcam/world/virtual_clock.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

// Where in a file something stands, from 1 on; 0: it is in no file.
struct Place {
    std::filesystem::path file;
    int line = 0;
    int column = 0;
};

struct Step {
    Moment at = 0;
    std::string verb;
    std::string object;
    std::map<std::string, std::string> options;
    Place place = {};
};

struct Scenario {
    std::string about;
    Moment until = 0;            // the daemon is asked to end
    bool checksPromises = false; // what the daemon promises in any life is checked as well
    std::vector<Step> steps;
    std::filesystem::path directory; // that files are named from
};

// Reads a scenario, and checks every step of it. Throws a CameraError with file, line and column.
Scenario readScenario(const std::filesystem::path &file);

// A scenario as a text that readScenario() takes.
std::string shownScenario(const Scenario &scenario);

// Writes that to a file. Throws when it cannot.
void writeScenario(const Scenario &scenario, const std::filesystem::path &file);

// "FILE:LINE:COLUMN: ", or nothing.
std::string shownPlace(const Place &place);

// What a step's option says; the default when it has none. Throws a CameraError with the step's
// place for what is no number.
double numberOf(const Step &step, const std::string &option, double otherwise);
std::string textOf(const Step &step, const std::string &option, const std::string &otherwise = "");

// A step on one line, as in a file.
std::string shownStep(const Step &step);

// Bytes as hexadecimal digits, as steps take them.
std::string hexadecimal(const void *data, std::size_t size);
