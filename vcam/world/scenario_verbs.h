// The verbs of scenarios: which there are and what goes with each. docs/scenarios.md tells what
// they do; a verb's deed is in stage.cpp, or its check in expectations.cpp.
#pragma once

#include "vcam/world/scenario.h"

bool isVerb(const std::string &word);

// Throws a CameraError with the step's place for what no verb takes.
void checkStep(const Step &step);

// When a step has had its effect, or its expectation is over.
Moment endOfStep(const Step &step);
