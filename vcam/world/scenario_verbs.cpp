#include "vcam/world/scenario_verbs.h"

#include "vcam/camera/camera.h"

#include <algorithm>
#include <string_view>

namespace {

struct Verb {
    std::string_view name;
    std::string_view objects; // words by blanks; empty: any
    std::string_view options;
};

constexpr Verb verbs[] = {
    {"cast", "", "law seconds seed hertz payload fast"},
    {"conf", "alaw ulaw plain", ""},
    {"record", "", ""},
    {"clip", "", "seconds seed rate channels bits"},
    {"stop", "clip", ""},
    {"message", "", "type"},
    {"bytes", "", ""},
    {"talk", "on off", ""},
    {"set", "", "to"},
    {"signal", "TERM INT HUP KILL USR1 PIPE", ""},
    {"fail", "", "nth result"},
    {"tessel", "good slow silent garbage full gone", "delay"},
    {"file", "", "text"},
    {"vanish", "", ""},
    {"video", "here gone", ""},
    {"start", "daemon", ""},
    {"log", "", "within"},
    {"never", "", "since"},
    {"request", "", "within"},
    {"gain", "", "within"},
    {"sound", "", "law seconds seed hertz since least"},
    {"silence", "", ""},
    {"exit", "", "within"},
    {"encoder", "", "within"},
    {"path", "", "is within"},
};

bool isWordOf(std::string_view words, std::string_view word) {
    for (std::size_t begin = 0; begin < words.size();) {
        const std::size_t end = std::min(words.find(' ', begin), words.size());
        if (words.substr(begin, end - begin) == word) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

const Verb *findVerb(std::string_view name) {
    const Verb *const found = std::find_if(std::begin(verbs), std::end(verbs),
                                           [&](const Verb &verb) { return verb.name == name; });
    return found != std::end(verbs) ? found : nullptr;
}

std::string allVerbs() {
    std::string names;
    for (const Verb &verb : verbs) {
        names.append(names.empty() ? "" : ", ").append(verb.name);
    }
    return names;
}

} // namespace

bool isVerb(const std::string &word) {
    return findVerb(word) != nullptr;
}

void checkStep(const Step &step) {
    const auto fail = [&](const std::string &what) {
        throw CameraError(shownPlace(step.place) + what);
    };
    const Verb *const verb = findVerb(step.verb);
    if (verb == nullptr) {
        fail("a step needs one of the verbs " + allVerbs());
        return;
    }
    if (!verb->objects.empty() && !isWordOf(verb->objects, step.object)) {
        fail(step.verb + " takes one of: " + std::string(verb->objects) + ", not " + step.object);
    }
    for (const auto &[option, value] : step.options) {
        if (!isWordOf(verb->options, option)) {
            fail(step.verb + " takes " +
                 (verb->options.empty() ? "nothing else" : std::string(verb->options)) + ", not " +
                 option);
        }
    }
    for (const char *option : {"within", "seconds", "delay", "since", "least", "seed", "hertz",
                               "payload", "rate", "channels", "bits", "nth", "type"}) {
        if (numberOf(step, option, 0) < 0) {
            fail(std::string(option) + " is never below 0");
        }
    }
}

Moment endOfStep(const Step &step) {
    return step.at + momentOf(numberOf(step, "within", 0));
}
