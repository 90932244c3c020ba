// Cutting a life down to what still goes wrong in it.
#pragma once

#include "vcam/world/scenario.h"

#include <functional>
#include <string>

// What of a failure's sentence tells its kind: neither time nor numbers.
std::string kindOfFailure(const std::string &sentence);

// The scenario with as few of its steps as `stillFails` needs; that lives one and says whether it
// fails as the first did. `failure` is when that was.
Scenario shrunk(Scenario scenario, Moment failure,
                const std::function<bool(const Scenario &scenario)> &stillFails);
