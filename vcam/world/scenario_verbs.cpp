#include "vcam/world/scenario_verbs.h"

#include "vcam/camera/camera.h"

#include <algorithm>
#include <string_view>

namespace {

struct Verb {
    std::string_view name;
    std::string_view objects; // words by blanks; empty: any; #: a number
    std::string_view options;
};

constexpr Verb verbs[] = {
    {"cast", "", "law seconds seed hertz payload extra fast bare"},
    {"conf", "alaw ulaw plain aac amr", "rate"},
    {"record", "", ""},
    {"clip", "", "seconds seed hertz rate channels bits sides"},
    {"stop", "clip", ""},
    {"message", "", "type size"},
    {"bytes", "", ""},
    {"talk", "on off", ""},
    {"set", "", "to"},
    {"signal", "TERM INT HUP KILL USR1 PIPE", ""},
    {"fail", "", "nth times result"},
    {"tessel", "good slow silent garbage full gone", "delay"},
    {"snapshot", "held free", ""},
    {"file", "", "text hex from"},
    {"vanish", "", ""},
    {"video", "here gone", ""},
    {"speaker", "stuck playing", ""},
    {"start", "daemon", "arguments"},
    {"log", "", "within times since"},
    {"never", "", "since"},
    {"request", "", "within times since"},
    {"gain", "#", "side within"},
    {"sound", "", "law seconds seed hertz since least ratio payload sides"},
    {"silence", "#", ""},
    {"exit", "#", "within"},
    {"encoder", "#", "within"},
    {"output", "open closed", "volume within"},
    {"path", "", "is mode within"},
};

struct Option {
    std::string_view name;
    std::string_view words; // as the objects of verbs
};

constexpr Option checkedOptions[] = {{"within", "#"},      {"seconds", "#"},
                                     {"delay", "#"},       {"since", "#"},
                                     {"least", "#"},       {"seed", "#"},
                                     {"hertz", "#"},       {"payload", "#"},
                                     {"extra", "#"},       {"rate", "#"},
                                     {"channels", "1 2"},  {"bits", "8 16"},
                                     {"nth", "#"},         {"times", "#"},
                                     {"type", "#"},        {"size", "#"},
                                     {"ratio", "#"},       {"mode", "#"},
                                     {"law", "alaw ulaw"}, {"fast", "yes no"},
                                     {"bare", "yes no"},   {"sides", "alike apart crossed"},
                                     {"is", "there gone"}, {"side", "left right"}};

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

[[noreturn]] void refuse(const Step &step, const std::string &what) {
    throw CameraError(shownPlace(step.place) + what);
}

// Holds a word against those that there are, or, of a number, against 0.
void checkWord(const Step &step, const std::string &name, std::string_view words,
               const std::string &word) {
    if (words == "#") {
        Step number = step;
        number.options[name] = word;
        if (numberOf(number, name, 0) < 0) {
            refuse(step, name + " is never below 0");
        }
    } else if (!words.empty() && !isWordOf(words, word)) {
        refuse(step, name + " takes one of: " + std::string(words) + ", not " + word);
    }
}

} // namespace

bool isVerb(const std::string &word) {
    return findVerb(word) != nullptr;
}

void checkStep(const Step &step) {
    const Verb *const verb = findVerb(step.verb);
    if (verb == nullptr) {
        refuse(step, "a step needs one of the verbs " + allVerbs());
    }
    checkWord(step, step.verb, verb->objects, step.object);
    for (const auto &[option, value] : step.options) {
        if (!isWordOf(verb->options, option)) {
            refuse(step, step.verb + " takes " +
                             (verb->options.empty() ? "nothing else" : std::string(verb->options)) +
                             ", not " + option);
        }
    }
    for (const Option &option : checkedOptions) {
        const std::string name(option.name);
        if (step.options.contains(name)) {
            checkWord(step, name, option.words, textOf(step, name));
        }
    }
}

Moment endOfStep(const Step &step) {
    return step.at + momentOf(numberOf(step, "within", 0));
}
