#include "vcam/world/stage.h"

#include "camera/message/message.h"
#include "vcam/board/devices.h"
#include "vcam/camera/camera_paths.h"
#include "vcam/camera/fault_name.h"
#include "vcam/camera/text_file.h"
#include "vcam/sender/message_sender.h"
#include "vcam/sender/stream_records.h"

#include <sndfile.hh>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <iterator>
#include <optional>
#include <sstream>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t streamRate = 8000;
constexpr double longestPayload = 16000;

[[noreturn]] void refuse(const Step &step, const std::string &what) {
    throw CameraError(shownPlace(step.place) + what);
}

int digitOf(char character) {
    const std::string digits = "0123456789abcdef";
    const auto found = digits.find(static_cast<char>(std::tolower(character)));
    return found != std::string::npos ? static_cast<int>(found) : -1;
}

// The bytes that hexadecimal digits tell; blanks between them are for the reader.
std::string bytesOf(const Step &step, const std::string &digits) {
    std::string bytes;
    int high = -1;
    for (const char character : digits) {
        if (character == ' ') {
            continue;
        }
        const int digit = digitOf(character);
        if (digit < 0) {
            refuse(step, step.verb + " takes pairs of hexadecimal digits");
        }
        if (high >= 0) {
            bytes.push_back(static_cast<char>(16 * high + digit));
        }
        high = high >= 0 ? -1 : digit;
    }
    if (high >= 0) {
        refuse(step, step.verb + " takes pairs of hexadecimal digits");
    }
    return bytes;
}

std::vector<std::string> wordsOf(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

struct SignalName {
    const char *name;
    int signal;
};

int signalNamed(const std::string &name) {
    constexpr SignalName names[] = {{"TERM", SIGTERM}, {"INT", SIGINT},   {"HUP", SIGHUP},
                                    {"KILL", SIGKILL}, {"USR1", SIGUSR1}, {"PIPE", SIGPIPE}};
    return std::find_if(std::begin(names), std::end(names),
                        [&](const SignalName &one) { return name == one.name; })
        ->signal;
}

// The record that begins at a sample; the last of a sound is shorter.
StreamRecord recordOf(const Stage::Casting &casting, std::uint64_t begin) {
    const Sound &sound = *casting.sound;
    std::vector<std::uint8_t> bytes(std::min(casting.payload, sound.length() - begin));
    std::generate(bytes.begin(), bytes.end(), [&] { return sound.lawByte(begin++); });
    return audioRecord(bytes, casting.extra);
}

StreamRecord confOf(const Step &step) {
    const auto rate = static_cast<std::uint32_t>(numberOf(step, "rate", streamRate));
    if (step.object == "aac") {
        return aacRecord(rate);
    }
    if (step.object == "amr") {
        return amrRecord(rate);
    }
    return step.object == "plain" ? plainRecord()
                                  : lawRecord(step.object == "alaw" ? Law::a : Law::u);
}

void writeClip(const fs::path &path, const Sound &sound, const Step &step) {
    const int rate = static_cast<int>(numberOf(step, "rate", streamRate));
    const int channels = static_cast<int>(numberOf(step, "channels", 1));
    const int format = numberOf(step, "bits", 16) == 8 ? SF_FORMAT_PCM_U8 : SF_FORMAT_PCM_16;
    SndfileHandle file(path.string(), SFM_WRITE, SF_FORMAT_WAV | format, channels, rate);
    Samples frames;
    for (std::uint64_t i = 0; i < sound.length(); ++i) {
        frames.push_back(sound.leftSample(i));
        if (channels == 2) {
            frames.push_back(sound.rightSample(i));
        }
    }
    const auto count = static_cast<sf_count_t>(frames.size());
    if (!file || file.write(frames.data(), count) != count) {
        refuse(step, "cannot write the clip " + path.string() + ": " + file.strError());
    }
}

} // namespace

const Stage::Kind Stage::kinds[] = {
    {"cast", &Stage::cast},         {"conf", &Stage::conf},       {"record", &Stage::record},
    {"clip", &Stage::clip},         {"stop", &Stage::stop},       {"message", &Stage::message},
    {"bytes", &Stage::bytes},       {"talk", &Stage::talk},       {"set", &Stage::set},
    {"signal", &Stage::signal},     {"fail", &Stage::fail},       {"tessel", &Stage::tessel},
    {"snapshot", &Stage::snapshot}, {"file", &Stage::file},       {"vanish", &Stage::vanish},
    {"video", &Stage::video},       {"speaker", &Stage::speaker}, {"start", &Stage::start}};

Stage::Stage(World &world, fs::path directory) : world_(world), directory_(std::move(directory)) {}

void Stage::act(const Step &step) {
    const auto *const kind = std::find_if(std::begin(kinds), std::end(kinds),
                                          [&](const Kind &one) { return step.verb == one.verb; });
    (this->*kind->deed)(step);
}

void Stage::cast(const Step &step) {
    const Casting casting = {
        std::make_shared<const Sound>(step, directory_),
        static_cast<std::uint64_t>(
            std::clamp(numberOf(step, "payload", streamPayload), 1.0, longestPayload)),
        static_cast<std::uint32_t>(std::min(numberOf(step, "extra", 0), longestPayload))};
    if (textOf(step, "bare") != "yes") {
        world_.senders().sendRecord(lawRecord(*casting.sound->law()));
    }
    if (textOf(step, "fast") != "yes") {
        castFrom(casting, 0);
        return;
    }
    world_.senders().sendRecords(
        [casting, at = std::uint64_t{0}]() mutable -> std::optional<StreamRecord> {
            if (at >= casting.sound->length()) {
                return std::nullopt;
            }
            return recordOf(casting, std::exchange(at, at + casting.payload));
        });
}

// Sends the record that begins at a sample, and the others each at its time.
void Stage::castFrom(const Casting &casting, std::uint64_t at) {
    if (at >= casting.sound->length()) {
        return;
    }
    world_.senders().sendRecord(recordOf(casting, at));
    world_.agenda().add(world_.now() + casting.payload * nanosecondsPerSecond / streamRate,
                        [=, this] { castFrom(casting, at + casting.payload); });
}

void Stage::conf(const Step &step) {
    world_.senders().sendRecord(confOf(step));
}

void Stage::record(const Step &step) {
    const std::string bytes = bytesOf(step, step.object);
    world_.senders().sendRecord({bytes.begin(), bytes.end()});
}

// A path on the camera as it stands; else a file of this PC, or what is made, among the clips.
std::string Stage::placeClip(const Step &step) {
    if (step.object.starts_with('/')) {
        return step.object;
    }
    std::string location = std::string(clipsPath) + "/clip-" + std::to_string(++clips_) + ".wav";
    const fs::path path = world_.dir().place(location);
    fs::create_directories(path.parent_path());
    if (step.object == "noise" || step.object == "tone") {
        writeClip(path, Sound(step, directory_), step);
    } else {
        fs::create_symlink(fs::absolute(directory_ / step.object), path);
    }
    return location;
}

void Stage::clip(const Step &step) {
    world_.senders().sendMessage(locationMessage(placeClip(step)));
    world_.senders().sendMessage(clipMessage(MESSAGE_CLIP_START));
}

void Stage::stop(const Step & /*step*/) {
    world_.senders().sendMessage(clipMessage(MESSAGE_CLIP_STOP));
}

void Stage::message(const Step &step) {
    std::string body = step.object;
    body.resize(std::max(body.size(), static_cast<std::size_t>(numberOf(step, "size", 0))), ' ');
    world_.senders().sendMessage(framedMessage(
        static_cast<std::uint32_t>(numberOf(step, "type", MESSAGE_TYPE_CONTROL)), body));
}

void Stage::bytes(const Step &step) {
    world_.senders().sendMessage(bytesOf(step, step.object));
}

void Stage::talk(const Step &step) {
    world_.tessel().set("status_onlinenum_sip", step.object == "on" ? "1" : "0");
}

void Stage::set(const Step &step) {
    world_.tessel().set(step.object, textOf(step, "to"));
}

void Stage::signal(const Step &step) {
    world_.signalDaemon(signalNamed(step.object));
}

void Stage::fail(const Step &step) {
    const std::uint32_t code = faultCode(step.object);
    const auto nth = static_cast<std::uint32_t>(numberOf(step, "nth", 1));
    const auto times = static_cast<std::uint32_t>(numberOf(step, "times", 1));
    const auto result = static_cast<std::int32_t>(numberOf(step, "result", -1));
    // A fault counts on only when none before it has come: those of one count come in a row.
    for (std::uint32_t i = 0; i < times; ++i) {
        if (code == 0 || nth == 0 || !boardFail(world_.registers(), code, nth, result)) {
            refuse(step, "no such call or driver command can be made to fail: " + step.object);
        }
    }
}

void Stage::tessel(const Step &step) {
    world_.tessel().setMood(*moodNamed(step.object), momentOf(numberOf(step, "delay", 1)));
}

void Stage::snapshot(const Step &step) {
    world_.tessel().holdSnapshot(step.object == "held");
}

// Where a path of the camera is; others are this PC's and not to be touched.
fs::path Stage::placeOfFile(const Step &step) const {
    if (!isCameraPath(step.object.c_str())) {
        refuse(step, step.object + " is no path of the camera, as those in /var/run are");
    }
    return world_.dir().place(step.object);
}

void Stage::file(const Step &step) {
    const fs::path path = placeOfFile(step);
    fs::create_directories(path.parent_path());
    const std::string from = textOf(step, "from");
    if (from.empty()) {
        writeFile(path, textOf(step, "text") + bytesOf(step, textOf(step, "hex")));
    } else if (!fs::copy_file(directory_ / from, path, fs::copy_options::overwrite_existing)) {
        refuse(step, "cannot copy " + from);
    }
}

void Stage::vanish(const Step &step) {
    std::error_code ignored;
    fs::remove(placeOfFile(step), ignored);
}

void Stage::video(const Step &step) {
    const fs::path path = world_.dir().place(videoPidPath);
    if (step.object == "here") {
        writePidFile(path, getpid());
    } else {
        fs::remove(path);
    }
}

void Stage::speaker(const Step &step) {
    for (AoChannelRegisters &channel : world_.registers().ao.channels) {
        channel.paused = step.object == "stuck" ? 1 : 0;
    }
}

void Stage::start(const Step &step) {
    if (step.options.contains("arguments")) {
        world_.startDaemon(wordsOf(textOf(step, "arguments")));
    } else {
        world_.startDaemon();
    }
}
