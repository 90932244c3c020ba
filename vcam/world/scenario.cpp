#include "vcam/world/scenario.h"

#include "vcam/camera/camera.h"
#include "vcam/camera/text_file.h"
#include "vcam/world/scenario_verbs.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace fs = std::filesystem;

namespace {

constexpr double longestLife = 1e9; // seconds

Place placeOf(const fs::path &file, const YAML::Mark &mark) {
    return {file, mark.line + 1, mark.column + 1};
}

[[noreturn]] void fail(const Place &place, const std::string &what) {
    throw CameraError(shownPlace(place) + what);
}

class Reader {
public:
    explicit Reader(const fs::path &file) : file_(file) {}

    Scenario read() {
        Scenario scenario;
        scenario.directory = fs::absolute(file_).parent_path();
        const YAML::Node root = load();
        if (!root.IsMap()) {
            fail(placeOf(file_, root.Mark()), "a scenario has the keys about, until and steps");
        }
        for (const auto &entry : root) {
            takeKey(scenario, entry.first, entry.second);
        }
        std::stable_sort(scenario.steps.begin(), scenario.steps.end(),
                         [](const Step &a, const Step &b) { return a.at < b.at; });
        for (const Step &step : scenario.steps) {
            scenario.until = std::max(scenario.until, endOfStep(step));
        }
        return scenario;
    }

private:
    YAML::Node load() {
        try {
            return YAML::LoadFile(file_.string());
        } catch (const YAML::BadFile &) {
            throw CameraError("cannot read " + file_.string());
        } catch (const YAML::Exception &error) {
            fail(placeOf(file_, error.mark), error.msg);
        }
    }

    void takeKey(Scenario &scenario, const YAML::Node &key, const YAML::Node &value) {
        const auto name = key.as<std::string>();
        if (name == "about") {
            scenario.about = scalar(value);
        } else if (name == "until") {
            scenario.until = time(value);
        } else if (name == "promises" && value.Scalar() == "yes") {
            scenario.checksPromises = true;
        } else if (name == "steps" && value.IsSequence()) {
            for (const YAML::Node &node : value) {
                scenario.steps.push_back(step(node));
            }
        } else {
            fail(placeOf(file_, key.Mark()),
                 "a scenario has the keys about, until, promises (yes) and steps (a list), not " +
                     name);
        }
    }

    std::string scalar(const YAML::Node &node) {
        if (!node.IsScalar()) {
            fail(placeOf(file_, node.Mark()), "a single text or number is wanted here");
        }
        return node.Scalar();
    }

    Moment time(const YAML::Node &node) {
        double seconds = 0;
        std::istringstream text(scalar(node));
        if (!(text >> seconds) || !text.eof() || seconds < 0 || seconds > longestLife) {
            fail(placeOf(file_, node.Mark()), "a time in seconds is wanted, not " + text.str());
        }
        return momentOf(seconds);
    }

    Step step(const YAML::Node &node) {
        Step step;
        step.place = placeOf(file_, node.Mark());
        if (!node.IsMap()) {
            fail(step.place, "a step looks like {at: 1.5, talk: on}");
        }
        for (const auto &entry : node) {
            const auto key = entry.first.as<std::string>();
            if (key == "at") {
                step.at = time(entry.second);
            } else if (isVerb(key) && step.verb.empty()) {
                step.verb = key;
                step.object = scalar(entry.second);
            } else {
                step.options[key] = scalar(entry.second);
            }
        }
        checkStep(step);
        return step;
    }

    const fs::path &file_;
};

// A text as YAML takes it, in quotes if it must be.
std::string quoted(const std::string &text) {
    YAML::Emitter out;
    out << YAML::Flow << text;
    return out.c_str();
}

std::string shownSeconds(Moment moment) {
    std::ostringstream text;
    text.precision(15);
    text << secondsOf(moment);
    return text.str();
}

} // namespace

Scenario readScenario(const fs::path &file) {
    return Reader(file).read();
}

std::string shownStep(const Step &step) {
    std::string line = "{at: " + shownSeconds(step.at);
    line += ", " + step.verb + ": " + quoted(step.object);
    for (const auto &[option, value] : step.options) {
        line.append(", ").append(option).append(": ").append(quoted(value));
    }
    return line + "}";
}

std::string shownScenario(const Scenario &scenario) {
    std::string text = "about: " + quoted(scenario.about) +
                       "\nuntil: " + shownSeconds(scenario.until) +
                       (scenario.checksPromises ? "\npromises: yes" : "") + "\nsteps:\n";
    for (const Step &step : scenario.steps) {
        text.append("  - ").append(shownStep(step)).append("\n");
    }
    return text;
}

void writeScenario(const Scenario &scenario, const fs::path &file) {
    writeFile(file, shownScenario(scenario));
}

std::string shownPlace(const Place &place) {
    return place.line == 0 ? ""
                           : place.file.string() + ":" + std::to_string(place.line) + ":" +
                                 std::to_string(place.column) + ": ";
}

double numberOf(const Step &step, const std::string &option, double otherwise) {
    const auto found = step.options.find(option);
    if (found == step.options.end()) {
        return otherwise;
    }
    std::istringstream text(found->second);
    double number = 0;
    if (!(text >> number) || !text.eof() || !std::isfinite(number)) {
        fail(step.place, option + " takes a number, not " + found->second);
    }
    return number;
}

std::string textOf(const Step &step, const std::string &option, const std::string &otherwise) {
    const auto found = step.options.find(option);
    return found != step.options.end() ? found->second : otherwise;
}

std::string hexadecimal(const void *data, std::size_t size) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned char byte = static_cast<const unsigned char *>(data)[i];
        text.push_back(digits[byte / 16]);
        text.push_back(digits[byte % 16]);
    }
    return text;
}
