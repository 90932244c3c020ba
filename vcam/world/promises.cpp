#include "vcam/world/promises.h"

#include "mpp/include/mpp_ao.h"

#include <sndfile.hh>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <utility>

namespace {

constexpr Moment watchEvery = 30 * nanosecondsPerSecond;
constexpr Moment longestRoad = 30 * nanosecondsPerSecond;      // of a sample to the loudspeaker
constexpr Moment longestReaction = 120 * nanosecondsPerSecond; // to a signal, several requests late
constexpr std::size_t chunkBytes = 2048;
constexpr std::uint64_t keptBack = 8192; // samples that wait for the next ones, besides a period
constexpr std::uint64_t playOutSamples = 24000; // three seconds
constexpr unsigned warmUp = 4;                  // looks
constexpr std::size_t mostLooks = 8;
constexpr std::uint64_t memoryTolerance = 512; // kB: a sanitizer keeps some of what was freed
constexpr char playingReport[] = "set NameValue 99 0 0 | status_audioclip_playing=1";
constexpr char stoppedReport[] = "set NameValue 99 0 0 | status_audioclip_playing=0";

std::uint64_t periodPoints(const AoRegisters &ao) {
    return ao.attr[offsetof(AIO_ATTR_S, u32PtNumPerFrm) / sizeof(Register)];
}

} // namespace

const Promises::Hint Promises::hints[] = {
    {"Program (#) Start...", &Promises::started},
    {"Play file path: ", &Promises::clipOpens},
    {"Open audio clip file fail!", &Promises::recordLost},
    {"======= Audio Clip Start =======", &Promises::chunkBegins},
    {"======= Audio Clip End =======", &Promises::chunkEnds},
    {"[play to the end of the file]", &Promises::clipPlaysOut},
    {"WAV_GetBuffer fail!", &Promises::outputCleared},
    {"Get stop!!", &Promises::clipStopped},
    {"2-way audio in progress", &Promises::outputCleared},
    {"write audio error", &Promises::outputCleared},
    {"reset hi3516a ao attribute", &Promises::outputReset},
    {"voxoReceiveFIFOCmd fail", &Promises::recordLost},
    {"dwVolume = ", &Promises::volumeSet}};

Promises::Promises(World &world, std::function<void(const std::string &sentence)> broken)
    : world_(world), broken_(std::move(broken)),
      sound_([this](const std::string &sentence) { breach("sound: " + sentence); }) {
    world_.agenda().add(watchEvery, [this] { watch(); });
}

void Promises::breach(const std::string &sentence) {
    broken_("the promise of the " + sentence);
}

void Promises::onStep(const Step &step) {
    noteFaults();
    isClipReported_ = isClipReported_ && step.verb != "tessel";
    if (step.verb == "set" && step.object == volumeSetting) {
        expectVolume(textOf(step, "to"));
    } else if (step.verb == "signal" && world_.isDaemonAlive()) {
        isEndAskedFor_ = isEndAskedFor_ || step.object == "TERM" || step.object == "INT";
        isKilled_ = isKilled_ || step.object == "KILL";
        if (step.object == "TERM" || step.object == "INT") {
            expectEnd();
        }
    }
}

void Promises::onLine(Voice voice, const std::string &line) {
    noteFaults();
    if (voice == Voice::tessel) {
        checkRequest(line);
    }
    if (voice != Voice::daemon) {
        return;
    }
    const auto *const hint = std::find_if(std::begin(hints), std::end(hints), [&](const Hint &one) {
        return line.find(one.text) != std::string::npos;
    });
    if (hint != std::end(hints)) {
        (this->*hint->handler)(line);
    }
}

void Promises::onSound(const PlayFormat &format, std::span<const std::int32_t> samples) {
    noteFaults();
    sound_.heard(samples, format.channels);
}

void Promises::onRecord(const WorldSenders::Record &record) {
    noteFaults();
    sound_.sent(world_.now(), record);
}

void Promises::started(const std::string & /*line*/) {
    isReady_ = true;
}

// What the daemon plays of a clip: nothing if it is none.
Promises::Clip Promises::clipAt(const std::filesystem::path &file) {
    if (!std::filesystem::is_regular_file(file)) {
        return {};
    }
    SndfileHandle clip(file.string());
    if (!clip || clip.channels() < 1 || clip.channels() > 2) {
        return {};
    }
    const auto channels = static_cast<std::size_t>(clip.channels());
    std::vector<std::int16_t> frames(static_cast<std::size_t>(clip.frames()) * channels);
    frames.resize(
        static_cast<std::size_t>(clip.read(frames.data(), static_cast<sf_count_t>(frames.size()))));
    Clip result = {{}, static_cast<std::uint32_t>(clip.samplerate()), 2 * channels};
    for (std::size_t i = 0; i < frames.size(); i += channels) {
        result.samples.push_back(frames[i]);
    }
    return result;
}

void Promises::clipOpens(const std::string &line) {
    sound_.lastMayBeLost(world_.now());
    const std::string path = line.substr(line.find(": ") + 2);
    clip_ = path.starts_with('/') ? clipAt(world_.dir().place(path)) : Clip();
    clipRead_ = 0;
}

// Each step of a clip drops what the stream has sent.
void Promises::chunkBegins(const std::string & /*line*/) {
    sound_.lastMayBeLost(world_.now());
    const std::size_t samples = chunkBytes / clip_.frameBytes;
    if (clip_.samples.size() - clipRead_ >= samples) {
        const auto begin = clip_.samples.begin() + static_cast<std::ptrdiff_t>(clipRead_);
        sound_.chunk(world_.now(), {begin, begin + static_cast<std::ptrdiff_t>(samples)});
        clipRead_ += samples;
    }
}

void Promises::clipPlaysOut(const std::string & /*line*/) {
    playsOut_ = true;
    isPlayOutLongEnough_ = sound_.owed(endOfTime) + keptBack < playOutSamples;
}

// After its play-out a clip's output is cleared. By then it has been heard, if there was time for
// it.
void Promises::chunkEnds(const std::string &line) {
    sound_.chunkWritten(clip_.rate);
    if (!std::exchange(playsOut_, false)) {
        return;
    }
    const std::uint64_t period = periodPoints(world_.registers().ao);
    const bool isHeard = isPlayOutLongEnough_ && !isEndAskedFor_ && !world_.isEnding();
    if (isHeard && sound_.owed(world_.now()) > period + keptBack) {
        breach("play-out: " + std::to_string(sound_.owed(world_.now())) +
               " samples were cut off a clip's end");
    }
    outputCleared(line);
}

// A step of the clip that the message came in has dropped what the stream had sent.
void Promises::clipStopped(const std::string &line) {
    sound_.lastMayBeLost(world_.now());
    outputCleared(line);
}

void Promises::outputCleared(const std::string & /*line*/) {
    sound_.cleared();
}

void Promises::outputReset(const std::string &line) {
    gain_.reset(); // the codec is at its loudest until the volume is set again
    outputCleared(line);
}

void Promises::recordLost(const std::string & /*line*/) {
    sound_.lastMayBeLost(world_.now());
}

// Without clips the gain is a fixed one.
bool Promises::hasClips() const {
    return world_.tessel().get("capability_audio_audioclip") == "1";
}

// "dwVolume = 80, dwGain = 19"
void Promises::volumeSet(const std::string &line) {
    const int volume = std::atoi(line.substr(line.find("= ") + 2).c_str());
    const int gain = std::atoi(line.substr(line.rfind("= ") + 2).c_str());
    if (isVolumeKnown_ && hasClips() && !hasFaultCome_ && gain != 91 - volume * 91 / 100) {
        breach("volume: " + line);
    }
    gain_.reset();
    if (isVolumeKnown_ && !hasFaultCome_) {
        gain_ = static_cast<std::uint32_t>(gain);
    }
}

// The volume that has been set is the codec's when the daemon has had time for it.
void Promises::expectVolume(const std::string &value) {
    char *end = nullptr;
    const long volume = std::strtol(value.c_str(), &end, 10);
    isVolumeKnown_ = !value.empty() && *end == '\0' && volume >= 0 && volume <= 100;
    if (!isVolumeKnown_ || !hasClips() || !world_.takesSignals()) {
        return;
    }
    world_.agenda().add(world_.now() + longestReaction, [this, value, life = lives_] {
        const bool isSame = world_.tessel().get(volumeSetting) == value && life == lives_;
        const auto gain = static_cast<std::uint32_t>(91 - std::stol(value) * 91 / 100);
        if (isSame && isReady_ && gain_ && gain_ != gain) {
            breach("volume: " + value + " was set and is not the codec's");
        }
    });
}

void Promises::checkGain() {
    const Register(&volume)[2] = world_.registers().acodec.volume;
    if (gain_ && !hasFaultCome_ && (volume[0] != *gain_ || volume[1] != *gain_)) {
        breach("volume: the codec has the gain " + std::to_string(volume[0]) + " left and " +
               std::to_string(volume[1]) + " right, not " + std::to_string(*gain_));
    }
}

// A clip is reported as playing once until it is reported as stopped. A report may be lost.
void Promises::checkRequest(const std::string &line) {
    const bool isPlaying = line.find(playingReport) != std::string::npos;
    if (isPlaying && isClipReported_) {
        breach("reports: a clip is reported as playing twice");
    }
    if (isPlaying || line.find(stoppedReport) != std::string::npos) {
        isClipReported_ = isPlaying && world_.tessel().mood() == Mood::good;
    }
    if (world_.tessel().mood() != Mood::good) {
        isClipReported_ = false;
    }
}

// A call or command that fails may cost what has been sent so far.
void Promises::noteFaults() {
    std::uint32_t left = 0;
    for (const FaultRegisters &fault : world_.registers().faults) {
        if (fault.command == 0) {
            break;
        }
        left += fault.countdown != 0 ? 1 : 0;
    }
    if (left < faultsLeft_) {
        hasFaultCome_ = true;
        gain_.reset();
        isClipReported_ = false;
        sound_.cleared();
    }
    faultsLeft_ = left;
}

void Promises::expectEnd() {
    world_.agenda().add(world_.now() + longestReaction, [this, life = lives_] {
        if (world_.isDaemonAlive() && life == lives_) {
            breach("end: it was asked for and does not come");
        }
    });
}

void Promises::checkEnd(int status) {
    const bool isInOrder = status == 0 && (isEndAskedFor_ || world_.isEnding());
    const bool isSignalled = status > 128 && status < 128 + NSIG;
    const bool isByFault = !isSignalled && hasFaultCome_;
    const bool isBySignal = isSignalled && (isKilled_ || !isReady_);
    hasEndedByItself_ = hasEndedByItself_ || (!isInOrder && !isBySignal);
    if (!isInOrder && !isByFault && !isBySignal) {
        breach("end: the daemon has ended with status " + std::to_string(status));
    }
}

void Promises::onDaemonEnd(int status) {
    noteFaults();
    checkEnd(status);
    checkFlat();
    sound_.daemonEnded();
    early_.clear();
    late_.clear();
    looks_ = 0;
    playsOut_ = isClipReported_ = hasFaultCome_ = isReady_ = isEndAskedFor_ = isKilled_ = false;
    gain_.reset();
    ++lives_;
}

// Looks at what the daemon plays and holds, now and again.
void Promises::watch() {
    world_.agenda().add(world_.now() + watchEvery, [this] { watch(); });
    if (!world_.isDaemonAlive() || !isReady_) {
        return;
    }
    checkGain();
    const std::uint64_t period = periodPoints(world_.registers().ao);
    const Moment before = world_.now() - std::min(world_.now(), longestRoad);
    if (const std::uint64_t owed = sound_.owed(before); owed > period + keptBack) {
        breach("sound: " + std::to_string(owed) + " samples that were sent are not heard");
        sound_.cleared();
    }
    std::deque<Holdings> &looks = ++looks_ <= warmUp + mostLooks ? early_ : late_;
    if (looks_ > warmUp) {
        looks.push_back(holdingsOf(world_.daemonPid()));
    }
    if (looks.size() > mostLooks) {
        looks.pop_front();
    }
}

void Promises::checkFlat() {
    if (early_.empty() || late_.size() < mostLooks || hasFaultCome_) {
        return;
    }
    const Holdings first = leastOf(early_);
    const Holdings last = leastOf(late_);
    const auto grown = [](std::uint64_t from, std::uint64_t to) {
        return std::to_string(from) + " -> " + std::to_string(to);
    };
    if (world_.isDaemonNative() && last.kilobytes > first.kilobytes + memoryTolerance) {
        breach("memory: kB grown " + grown(first.kilobytes, last.kilobytes));
    }
    if (last.descriptors > first.descriptors) {
        breach("descriptors: grown " + grown(first.descriptors, last.descriptors));
    }
    if (last.segments > first.segments) {
        breach("segments: grown " + grown(first.segments, last.segments));
    }
}
