#include "vcam/world/shrink.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace {

constexpr Moment afterFailure = 200 * nanosecondsPerSecond; // for what is noticed late

// The scenario without the steps [begin, begin + count).
Scenario without(const Scenario &scenario, std::size_t begin, std::size_t count) {
    Scenario less = scenario;
    const auto first = less.steps.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto last =
        first + static_cast<std::ptrdiff_t>(std::min(count, scenario.steps.size() - begin));
    less.steps.erase(first, last);
    return less;
}

} // namespace

std::string kindOfFailure(const std::string &sentence) {
    const std::size_t time = sentence.find(" s: ");
    std::string kind = time == std::string::npos ? sentence : sentence.substr(time + 4);
    kind.erase(std::remove_if(kind.begin(), kind.end(),
                              [](unsigned char c) { return std::isdigit(c) != 0; }),
               kind.end());
    return kind;
}

// Takes steps away in ever smaller pieces, as long as it goes wrong without them.
Scenario shrunk(Scenario scenario, Moment failure,
                const std::function<bool(const Scenario &scenario)> &stillFails) {
    Scenario shorter = scenario;
    shorter.until = std::min(scenario.until, failure + afterFailure);
    std::erase_if(shorter.steps, [&](const Step &step) { return step.at > failure; });
    if (stillFails(shorter)) {
        scenario = std::move(shorter);
    }
    for (std::size_t count = (scenario.steps.size() + 1) / 2; count > 0; count /= 2) {
        for (std::size_t begin = 0; begin < scenario.steps.size();) {
            Scenario less = without(scenario, begin, count);
            if (stillFails(less)) {
                scenario = std::move(less);
            } else {
                begin += count;
            }
        }
    }
    return scenario;
}
