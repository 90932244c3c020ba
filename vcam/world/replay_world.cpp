#include "vcam/world/replay_world.h"

#include "vcam/camera/camera_paths.h"
#include "vcam/camera/text_file.h"

#include <algorithm>
#include <csignal>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostLines = 5;

} // namespace

ReplayWorld::ReplayWorld(const CameraDir &dir, const Target &target, const TraceLife &life,
                         const std::string &config)
    : World(dir, target, *this), life_(life) {
    if (!config.empty()) {
        fs::copy_file(config, dir.configFile(), fs::copy_options::overwrite_existing);
    }
    writeFile(dir.answersFile(), life.answers());
    registers().replay.isOn = 1;
    registers().pace = paceDropped;
    tessel().setMood(Mood::silent, 0);
}

ReplayReport ReplayWorld::replay() {
    prepare();
    startDaemon();
    attendDaemon();
    const ReplayRegisters &replay = registers().replay;
    ReplayReport report;
    report.recorded = life_.commands().size();
    report.issued = replay.issued;
    report.differsAt = replay.differsAt;
    if (!life_.isWhole() && report.differsAt > report.recorded) {
        report.issued = report.recorded; // how it went on is not known
        report.differsAt = 0;
    }
    if (report.differsAt == 0 && report.issued < report.recorded) {
        report.differsAt = report.issued + 1;
    } else if (report.differsAt != 0) {
        report.command = replay.command;
        report.hasOtherPeriod = replay.hasOtherPeriod != 0;
        const std::size_t size = std::min(replay.recordSize.load(), replayRecordRoom);
        report.record.assign(reinterpret_cast<const char *>(replay.record), size);
    }
    report.lines = lines_;
    return report;
}

void ReplayWorld::onLine(Moment /*now*/, Voice voice, const std::string &line) {
    if (voice == Voice::daemon && !line.empty()) {
        lines_.push_back(line);
        lines_.erase(lines_.begin(), lines_.end() - static_cast<std::ptrdiff_t>(
                                                        std::min(lines_.size(), mostLines)));
    }
}

// Whether the daemon comes to wait there in this life, too. A poll that found something did so
// while a message was being read, which is there as a whole here.
bool ReplayWorld::isWait(const TraceRecord &record) {
    switch (record.kind()) {
    case TraceKind::wait:
        return static_cast<TraceWait>(record.call.more) == TraceWait::select ||
               record.call.result <= 0;
    case TraceKind::sleep:
        return true;
    case TraceKind::reply:
        return record.call.result != 0;
    default:
        return false;
    }
}

std::size_t ReplayWorld::nextWait(std::size_t from) const {
    const auto &records = life_.records();
    const auto found =
        std::find_if(records.begin() + static_cast<std::ptrdiff_t>(from), records.end(), isWait);
    return static_cast<std::size_t>(found - records.begin());
}

// Passes signals on that came before a record. True: there was one.
bool ReplayWorld::passSignals(std::size_t end) {
    bool any = false;
    for (; signalled_ < end; ++signalled_) {
        const TraceRecord &record = life_.records()[signalled_];
        if (record.kind() == TraceKind::signal) {
            signalDaemon(static_cast<int>(record.call.argument));
            any = true;
        }
    }
    return any;
}

// Sends what the daemon read between a wait and the next one.
void ReplayWorld::passInputs(std::size_t wait) {
    std::string message;
    const std::size_t end = nextWait(wait + 1);
    for (std::size_t i = wait + 1; i < end; ++i) {
        const TraceRecord &record = life_.records()[i];
        if (record.kind() == TraceKind::datagram && record.call.result >= 0) {
            senders().sendRecord(record.data);
        } else if (record.kind() == TraceKind::message && record.call.result > 0) {
            message += record.text();
        }
    }
    if (!message.empty()) {
        senders().sendMessage(message);
    }
    senders().flush();
}

// Makes the camera what the daemon finds up to its next wait.
void ReplayWorld::prepare() {
    const std::size_t end = nextWait(at_);
    for (; prepared_ < end; ++prepared_) {
        const TraceRecord &record = life_.records()[prepared_];
        switch (record.kind()) {
        case TraceKind::connect:
            tessel().setMood(record.call.result == 0 ? Mood::silent : Mood::gone, 0);
            break;
        case TraceKind::segment:
            tessel().publish(record.data);
            break;
        case TraceKind::look:
            if (record.text() == videoPidPath && record.call.result == 0) {
                writePidFile(dir().place(videoPidPath), getpid());
            } else if (record.text() == videoPidPath) {
                fs::remove(dir().place(videoPidPath));
            }
            break;
        case TraceKind::open:
            prepareFile(prepared_);
            break;
        default:
            break;
        }
    }
}

void ReplayWorld::prepareFile(std::size_t opened) {
    const TraceRecord &record = life_.records()[opened];
    if (!TraceLife::opensFile(record)) {
        return;
    }
    const fs::path path = dir().path() / fs::path(record.text()).relative_path();
    if (record.call.result < 0) {
        fs::remove(path);
        return;
    }
    fs::create_directories(path.parent_path());
    writeFile(path, life_.contentsOf(opened));
}

void ReplayWorld::letDaemonLook() {
    letDaemonWait(now());
}

void ReplayWorld::letDaemonWait(Moment deadline) {
    const std::size_t wait = nextWait(at_);
    if (wait == life_.size() || registers().replay.differsAt != 0) {
        if (!std::exchange(isEndSent_, true)) {
            signalDaemon(SIGTERM);
        } else {
            advanceTo(deadline != endOfTime ? deadline : now());
        }
        return;
    }
    const TraceRecord &record = life_.records()[wait];
    const bool isInterrupted = passSignals(wait);
    if (isInterrupted && record.call.result >= 0) {
        return; // it came before the wait: the daemon comes back to that
    }
    endWait(wait, deadline);
    at_ = wait + 1;
    prepare();
}

// Ends a wait as it ended then.
void ReplayWorld::endWait(std::size_t wait, Moment deadline) {
    const TraceRecord &record = life_.records()[wait];
    const bool isTimedOut =
        record.call.result == 0 || (record.kind() == TraceKind::reply && record.call.result < 0);
    advanceTo(std::max(now(), TraceLife::timeOf(record)));
    if (isTimedOut && deadline != endOfTime) {
        advanceTo(std::max(now(), deadline));
    } else if (record.kind() == TraceKind::reply) {
        tessel().answerCaller(record.text());
    } else if (record.kind() == TraceKind::wait) {
        passInputs(wait);
    }
}
