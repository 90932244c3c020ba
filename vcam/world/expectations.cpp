#include "vcam/world/expectations.h"

#include "vcam/world/scenario_verbs.h"
#include "vcam/world/sound.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t longestQuote = 100;
constexpr std::size_t chunkSamples = 1024; // of a clip
constexpr double usualPayload = 640;
constexpr double unchangedRatio = 2;
constexpr std::uint64_t usualPeriod = 640;

std::string seconds(Moment moment) {
    const std::string text = shownMoment(moment);
    return text.substr(text.find_first_not_of(' ')) + " s";
}

std::string quote(const std::string &text) {
    return '"' + (text.size() > longestQuote ? text.substr(0, longestQuote) + "..." : text) + '"';
}

bool isSaid(const LifeLog::Line &line, bool isRequest, const std::string &text) {
    const bool isOfVoice = isRequest
                               ? line.voice == Voice::tessel
                               : line.voice == Voice::daemon || line.voice == Voice::systemLog;
    return isOfVoice && line.text.find(text) != std::string::npos;
}

} // namespace

void Hearing::hear(Moment at, const PlayFormat &format, std::span<const std::int32_t> samples) {
    Heard heard = {at, {}};
    for (std::size_t i = 0; i < samples.size(); i += format.channels) {
        heard.samples.push_back(static_cast<std::int16_t>(samples[i] >> 16));
        heard.samples.push_back(static_cast<std::int16_t>(samples[i + format.channels - 1] >> 16));
    }
    heard_.push_back(std::move(heard));
}

std::vector<std::int16_t> Hearing::after(Moment since) const {
    std::vector<std::int16_t> all;
    for (const Heard &heard : heard_) {
        if (heard.at > since) {
            all.insert(all.end(), heard.samples.begin(), heard.samples.end());
        }
    }
    return all;
}

Awaited::Awaited(const Step &step, const std::filesystem::path &directory)
    : sound_(step, directory),
      ratio_(static_cast<std::uint64_t>(std::max(numberOf(step, "ratio", unchangedRatio), 1.0))),
      payload_(static_cast<std::uint64_t>(std::max(numberOf(step, "payload", usualPayload), 1.0))),
      length_(sound_.length() / payload_ * (payload_ * ratio_ / 2) +
              sound_.length() % payload_ * ratio_ / 2),
      kept_(sound_.law() ? usualPeriod + payload_ * ratio_ / 2 - 1
                         : 2 * chunkSamples + usualPeriod) {}

// Of each pair of a record's samples the first is heard so often as half the ratio says, and the
// second for the rest.
std::uint64_t Awaited::indexOf(std::uint64_t frame) const {
    const std::uint64_t ofRecord = payload_ * ratio_ / 2;
    const std::uint64_t within = frame % ofRecord;
    const std::uint64_t second = within % ratio_ < ratio_ / 2 ? 0 : 1;
    return frame / ofRecord * payload_ + 2 * (within / ratio_) + second;
}

const Expectations::Kind Expectations::kinds[] = {
    {"log", &Expectations::checkLog},         {"never", &Expectations::checkNever},
    {"request", &Expectations::checkRequest}, {"gain", &Expectations::checkGain},
    {"sound", &Expectations::checkSound},     {"silence", &Expectations::checkSilence},
    {"exit", &Expectations::checkExit},       {"encoder", &Expectations::checkEncoder},
    {"output", &Expectations::checkOutput},   {"path", &Expectations::checkPath}};

const Expectations::Kind *Expectations::kindOf(const Step &step) {
    const auto *const found =
        std::find_if(std::begin(kinds), std::end(kinds),
                     [&](const Kind &kind) { return step.verb == kind.verb; });
    return found != std::end(kinds) ? found : nullptr;
}

bool Expectations::isExpectation(const Step &step) {
    return kindOf(step) != nullptr;
}

bool Expectations::wantLines(const Scenario &scenario) {
    return std::any_of(scenario.steps.begin(), scenario.steps.end(), [](const Step &step) {
        return step.verb == "log" || step.verb == "never" || step.verb == "request";
    });
}

bool Expectations::wantSound(const Scenario &scenario) {
    return std::any_of(scenario.steps.begin(), scenario.steps.end(), [](const Step &step) {
        return step.verb == "sound" || step.verb == "silence";
    });
}

Expectations::Expectations(World &world, const Scenario &scenario, const LifeLog &log,
                           std::function<void(const std::string &sentence)> fail)
    : world_(world), directory_(scenario.directory), log_(log), fail_(std::move(fail)),
      hears_(wantSound(scenario)) {}

void Expectations::expect(const Step &step) {
    const Check check = kindOf(step)->check;
    const Moment end = endOfStep(step);
    if (end > world_.now()) {
        world_.agenda().add(end, [this, step, check] { judge(step, check); });
    } else {
        judge(step, check);
    }
}

void Expectations::judge(const Step &step, Check check) {
    if (const std::optional<std::string> reason = (this->*check)(step)) {
        fail_(shownPlace(step.place) + "at " + seconds(world_.now()) + ": expected " + step.verb +
              ": " + quote(step.object) + "; " + *reason);
    }
}

// How many lines there are, if that is not what `times` says.
std::optional<std::string> Expectations::miscounted(const Step &step, bool isRequest) const {
    const Moment since = momentOf(numberOf(step, "since", 0));
    const auto count =
        std::count_if(log_.lines().begin(), log_.lines().end(), [&](const LifeLog::Line &line) {
            return line.at >= since && isSaid(line, isRequest, step.object);
        });
    return std::to_string(count) == textOf(step, "times")
               ? std::nullopt
               : std::optional("there were " + std::to_string(count));
}

// With `within` the line has to come after the step's time.
std::optional<std::string> Expectations::lineMissing(const Step &step, bool isRequest) const {
    if (step.options.contains("times")) {
        return miscounted(step, isRequest);
    }
    const bool isLater = endOfStep(step) > step.at;
    const LifeLog::Line *last = nullptr;
    for (const LifeLog::Line &line : log_.lines()) {
        if (isSaid(line, isRequest, step.object) && (!isLater || line.at >= step.at)) {
            return std::nullopt;
        }
        last = isSaid(line, isRequest, "") ? &line : last;
    }
    if (last == nullptr) {
        return "there was nothing";
    }
    return "the last was " + quote(last->text) + " at " + seconds(last->at);
}

std::optional<std::string> Expectations::checkLog(const Step &step) const {
    return lineMissing(step, false);
}

std::optional<std::string> Expectations::checkRequest(const Step &step) const {
    return lineMissing(step, true);
}

std::optional<std::string> Expectations::checkNever(const Step &step) const {
    const double since = numberOf(step, "since", 0);
    for (const LifeLog::Line &line : log_.lines()) {
        const bool isSaidNow = isSaid(line, false, step.object) || isSaid(line, true, step.object);
        if (isSaidNow && line.at >= momentOf(since)) {
            return "there was " + quote(line.text) + " at " + seconds(line.at);
        }
    }
    return std::nullopt;
}

std::optional<std::string> Expectations::checkGain(const Step &step) const {
    const Register(&volume)[2] = world_.registers().acodec.volume;
    const std::string left = std::to_string(volume[0]);
    const std::string right = std::to_string(volume[1]);
    const std::string side = textOf(step, "side");
    if ((side == "right" || left == step.object) && (side == "left" || right == step.object)) {
        return std::nullopt;
    }
    return "it was " + left + " left, " + right + " right";
}

std::optional<std::string> Expectations::checkSound(const Step &step) const {
    const Awaited awaited(step, directory_);
    const std::vector<std::int16_t> heard = hearing_.after(momentOf(numberOf(step, "since", 0)));
    const std::uint64_t frames = heard.size() / 2;
    const std::uint64_t all = awaited.length() - std::min(awaited.kept(), awaited.length());
    const auto least = static_cast<std::uint64_t>(
        std::llround(numberOf(step, "least", static_cast<double>(all) / 8000) * 8000));
    for (std::uint64_t i = 0; i < std::min(frames, awaited.length()); ++i) {
        if (heard[2 * i] != awaited.left(i) || heard[2 * i + 1] != awaited.right(i)) {
            return "frame " + std::to_string(i) + " of " + std::to_string(frames) + " was " +
                   std::to_string(heard[2 * i]) + ", " + std::to_string(heard[2 * i + 1]) +
                   " and should be " + std::to_string(awaited.left(i)) + ", " +
                   std::to_string(awaited.right(i));
        }
    }
    if (frames < least || frames > awaited.length()) {
        return std::to_string(frames) + " frames were heard, of at least " + std::to_string(least) +
               " and at most " + std::to_string(awaited.length());
    }
    return std::nullopt;
}

std::optional<std::string> Expectations::checkSilence(const Step &step) const {
    const Moment length = momentOf(std::strtod(step.object.c_str(), nullptr));
    const std::vector<std::int16_t> heard =
        hearing_.after(world_.now() - std::min(length, world_.now()));
    const auto loud =
        std::count_if(heard.begin(), heard.end(), [](std::int16_t s) { return s != 0; });
    return loud == 0 ? std::nullopt
                     : std::optional(std::to_string(loud) + " samples were not silent");
}

std::optional<std::string> Expectations::checkExit(const Step &step) const {
    if (world_.isDaemonAlive()) {
        return "the daemon is still running";
    }
    const std::string status = status_ ? std::to_string(*status_) : "none";
    return status == step.object ? std::nullopt : std::optional("it was " + status);
}

std::optional<std::string> Expectations::checkEncoder(const Step &step) const {
    const std::string count = std::to_string(world_.encoderSignals());
    return count == step.object ? std::nullopt : std::optional("it was " + count);
}

std::optional<std::string> Expectations::checkOutput(const Step &step) const {
    const AoRegisters &ao = world_.registers().ao;
    const char *const state = ao.enabled != 0 ? "open" : "closed";
    if (state != step.object) {
        return std::string("it was ") + state;
    }
    const std::string volume = std::to_string(static_cast<std::int32_t>(ao.volumeDb.load()));
    return textOf(step, "volume", volume) == volume ? std::nullopt
                                                    : std::optional("its volume was " + volume);
}

std::optional<std::string> Expectations::checkPath(const Step &step) const {
    const fs::path path = world_.dir().place(step.object);
    const fs::file_status status = fs::symlink_status(path);
    const char *const state = fs::exists(status) ? "there" : "gone";
    if (textOf(step, "is", "there") != state) {
        return std::string("it was ") + state;
    }
    std::ostringstream mode;
    mode << std::oct << static_cast<unsigned>(status.permissions());
    return textOf(step, "mode", mode.str()) == mode.str()
               ? std::nullopt
               : std::optional("its mode was " + mode.str());
}
