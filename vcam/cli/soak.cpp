// The soak: a camera of this process's own, stream records as fast as they are taken, and
// everything else that reaches the daemon in between. What the loudspeaker plays is compared with
// what was sent, sample by sample, and the daemon's resources are watched.
#include "vcam/cli/commands.h"

#include "vcam/camera/running_camera.h"
#include "vcam/sender/intruder.h"
#include "vcam/sender/law_codec.h"
#include "vcam/sender/stream_sender.h"
#include "vcam/speaker/listener.h"

#include <sndfile.hh>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t seed = 20;
constexpr std::size_t longestStretch = 100; // records
constexpr std::size_t chunkSamples = 1024;  // of a clip
constexpr std::size_t longestClip = 24;     // chunks
constexpr auto patience = std::chrono::seconds(10);
constexpr unsigned linesOfProgress = 20;
constexpr int looks = 10;
constexpr useconds_t lookMicroSec = 1000;
// kB: what a sanitizer keeps of the clips is below it, what a day of records would leak far above.
constexpr std::size_t memoryTolerance = 256;

// What the daemon holds.
struct Resources {
    std::size_t privateKilobytes = 0; // its own: pages of the board come and go with who maps them
    std::size_t dataKilobytes = 0;
    std::size_t descriptors = 0;
    std::size_t segments = 0; // of shared memory that it has attached
};

// A field of a file of /proc that has lines LABEL VALUE.
std::size_t fieldOf(const std::filesystem::path &file, const std::string &label) {
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(label)) {
            return std::stoul(line.substr(label.size()));
        }
    }
    throw CameraError("no " + label + " in " + file.string());
}

Resources resourcesOf(pid_t pid) {
    const std::filesystem::path process = "/proc/" + std::to_string(pid);
    Resources result;
    result.privateKilobytes = fieldOf(process / "smaps_rollup", "Anonymous:");
    result.dataKilobytes = fieldOf(process / "status", "VmData:");
    for ([[maybe_unused]] const auto &fd : std::filesystem::directory_iterator(process / "fd")) {
        ++result.descriptors;
    }
    std::ifstream maps(process / "maps");
    for (std::string line; std::getline(maps, line);) {
        result.segments += line.find("/SYSV") != std::string::npos ? 1 : 0;
    }
    return result;
}

bool isFlat(const Resources &first, const Resources &last) {
    return last.privateKilobytes <= first.privateKilobytes + memoryTolerance &&
           last.dataKilobytes <= first.dataKilobytes + memoryTolerance &&
           last.descriptors == first.descriptors && last.segments == 0;
}

template <typename Value>
void row(const char *label, const Value &value) {
    std::cout << "  " << std::left << std::setw(34) << label << std::right << std::setw(16) << value
              << '\n';
}

std::string fromTo(std::size_t first, std::size_t last) {
    return std::to_string(first) + " -> " + std::to_string(last);
}

class Soak {
public:
    explicit Soak(const CameraDir &dir) : dir_(dir), camera_(dir) {
        camera_.registers().pace = paceAsTheyCome;
        auto listener = std::make_unique<Listener>();
        listener_ = listener.get();
        camera_.connect(std::move(listener));
        camera_.startDaemon(Target{}, dir.path() / "voxo.log");
        sender_.emplace(dir);
        intruder_.emplace(dir);
        intruder_->settle();
    }

    // Returns the exit status of the command.
    int run(std::size_t records) {
        const Clock::time_point start = Clock::now();
        std::size_t shown = 0;
        Resources quarter;
        while (records_ < records) {
            round(records);
            camera_.requireDaemon();
            if (quarter.descriptors == 0 && 4 * records_ >= records) {
                quarter = resources();
            }
            if (linesOfProgress * records_ / records > shown) {
                shown = linesOfProgress * records_ / records;
                std::cout << "vcam: soak " << records_ << " of " << records << " records, "
                          << clips_ << " clips, private " << resources().privateKilobytes << " kB"
                          << std::endl;
            }
        }
        const Resources last = lastResources(quarter);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        const int status = camera_.endDaemon();
        return printTable(seconds, quarter, last, status);
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }

    // One stretch of stream, and one thing that happens after it.
    void round(std::size_t records) {
        stretch(std::min(1 + below(longestStretch), records - records_));
        switch (below(8)) {
        case 0:
        case 1:
            playClip(1 + below(longestClip));
            break;
        case 2:
            stopClipInTheMiddle(1 + below(longestClip));
            break;
        case 3:
            startClipWhileTalking();
            break;
        case 4:
            changeVolume();
            break;
        case 5:
            intruder_->sendBrokenMessages(random_);
            break;
        case 6:
            if (below(8) == 0) {
                restartSettings();
            }
            break;
        default:
            break;
        }
    }

    // Sends records of one law, with hostile datagrams in between, and hears all that has left the
    // platform's buffer.
    void stretch(std::size_t count) {
        const Law law = below(2) == 0 ? Law::a : Law::u;
        sender_->sendLaw(law);
        std::vector<std::uint8_t> bytes(count * streamPayload);
        std::generate(bytes.begin(), bytes.end(),
                      [this] { return static_cast<std::uint8_t>(random_()); });
        const Samples samples = lawDecode(bytes, law);
        for (std::size_t i = 0; i < count; ++i) {
            if (below(16) == 0) {
                intruder_->sendHostileDatagram(random_);
            }
            const std::size_t at = i * streamPayload;
            sender_->sendPayload(std::span(bytes).subspan(at, streamPayload));
            listener_->expect(std::span(samples).subspan(at, streamPayload));
        }
        records_ += count;
        listener_->hear(patience);
        intruder_->settle(); // the last record has been handled, not only the one before it
    }

    // A clip of so many whole chunks and a piece that is not played.
    void nameClip(std::size_t chunks) {
        Samples clip(chunks * chunkSamples + below(chunkSamples));
        std::generate(clip.begin(), clip.end(),
                      [this] { return static_cast<std::int16_t>(random_()); });
        const auto size = static_cast<sf_count_t>(clip.size());
        SndfileHandle file(clipFile(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 8000);
        if (!file || file.write(clip.data(), size) != size) {
            throw CameraError("cannot write " + clipFile() + ": " + file.strError());
        }
        for (std::size_t i = 0; i < chunks; ++i) {
            listener_->expect(std::span(clip).subspan(i * chunkSamples, chunkSamples));
        }
        ++clips_;
    }

    void playClip(std::size_t chunks) {
        nameClip(chunks);
        startClip(dir_, clipFile());
        listener_->hear(patience);
        intruder_->settle();
        intruder_->settle(); // the first may have come between the last chunks
        listener_->cleared();
    }

    void stopClipInTheMiddle(std::size_t chunks) {
        nameClip(chunks);
        startClip(dir_, clipFile());
        usleep(static_cast<useconds_t>(below(2000)));
        stopClip(dir_);
        intruder_->settle();
        listener_->cleared();
    }

    void startClipWhileTalking() {
        if (!camera_.hasTessel()) {
            return;
        }
        talk(dir_, true);
        startClip(dir_, clipFile());
        intruder_->settle();
        intruder_->settle();
        talk(dir_, false);
        listener_->cleared();
    }

    void changeVolume() {
        if (!camera_.hasTessel()) {
            return;
        }
        const std::size_t volume = below(101);
        setSetting(dir_, "audioout_c0_volume", std::to_string(volume));
        const std::uint32_t gain = static_cast<std::uint32_t>(91 - volume * 91 / 100);
        const Register &left = camera_.registers().acodec.volume[0];
        for (const auto deadline = Clock::now() + patience; left != gain; usleep(1000)) {
            if (Clock::now() > deadline) {
                throw CameraError("the volume does not change");
            }
        }
        ++volumes_;
    }

    // The settings daemon goes, and comes back with the next of these.
    void restartSettings() {
        if (camera_.hasTessel()) {
            camera_.stopTessel();
        } else {
            camera_.startTessel();
        }
        ++restarts_;
    }

    // The least of several looks: now and then the daemon has a socket open for a moment.
    Resources resources() const {
        intruder_->settle();
        Resources least = resourcesOf(camera_.daemon().pid());
        for (int look = 0; look < looks; ++look) {
            usleep(lookMicroSec);
            const Resources now = resourcesOf(camera_.daemon().pid());
            least.privateKilobytes = std::min(least.privateKilobytes, now.privateKilobytes);
            least.dataKilobytes = std::min(least.dataKilobytes, now.dataKilobytes);
            least.descriptors = std::min(least.descriptors, now.descriptors);
            least.segments = std::min(least.segments, now.segments);
        }
        return least;
    }

    // What is held at the end. What is given back late has not grown, so growth is looked at again.
    Resources lastResources(const Resources &first) const {
        Resources last = resources();
        for (const auto deadline = Clock::now() + patience;
             !isFlat(first, last) && Clock::now() < deadline;) {
            last = resources();
        }
        return last;
    }

    std::string clipFile() const { return dir_.path() / "clip.wav"; }

    int printTable(double seconds, const Resources &first, const Resources &last, int status) {
        const std::size_t differing = listener_->differing();
        std::cout << "vcam: the soak, resources from its first quarter on\n";
        row("records", records_);
        row("clips", clips_);
        row("volumes set", volumes_);
        row("settings daemon stopped or started", restarts_);
        row("hostile datagrams and messages", intruder_->count());
        row("seconds", static_cast<std::size_t>(seconds));
        row("records a second", static_cast<std::size_t>(static_cast<double>(records_) / seconds));
        row("private memory, kB", fromTo(first.privateKilobytes, last.privateKilobytes));
        row("data segment, kB", fromTo(first.dataKilobytes, last.dataKilobytes));
        row("descriptors", fromTo(first.descriptors, last.descriptors));
        row("segments attached", fromTo(first.segments, last.segments));
        row("samples heard", listener_->heard());
        row("samples that differ", differing);
        row("exit status of the daemon", status);
        const bool hasGrown = !isFlat(first, last);
        if (hasGrown) {
            std::cout << "vcam: the daemon's resources have grown\n";
        }
        return !hasGrown && differing == 0 && status == 0 ? 0 : 1;
    }

    const CameraDir &dir_;
    RunningCamera camera_;
    Listener *listener_ = nullptr; // the camera's
    std::optional<StreamSender> sender_;
    std::optional<Intruder> intruder_;
    std::mt19937 random_{seed};
    std::size_t records_ = 0;
    std::size_t clips_ = 0;
    std::size_t volumes_ = 0;
    std::size_t restarts_ = 0;
};

} // namespace

int soak(const CameraDir &dir, std::size_t records) {
    return Soak(dir).run(records);
}
