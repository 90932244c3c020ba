#include "vcam/world/life.h"

#include "vcam/speaker/loudspeaker.h"
#include "vcam/speaker/wav_speaker.h"
#include "vcam/world/apart.h"
#include "vcam/world/expectations.h"
#include "vcam/world/life_log.h"
#include "vcam/world/promises.h"
#include "vcam/world/stage.h"
#include "vcam/world/world.h"

#include <functional>
#include <memory>
#include <optional>

namespace {

constexpr std::size_t mostFailures = 20;

class Life : private WorldObserver {
public:
    Life(const CameraDir &dir, const Target &target, const Scenario &scenario,
         const LifeOptions &options)
        : scenario_(scenario), world_(dir, target, *this, FailingCalls::always),
          log_(options.isKept ? dir.path() / "life.log" : "",
               options.tellsLines || Expectations::wantLines(scenario)),
          tellsLines_(options.tellsLines), stage_(world_, scenario.directory),
          expectations_(world_, scenario, log_, failing()) {
        if (options.checksPromises || scenario.checksPromises) {
            promises_.emplace(world_, [this](const std::string &sentence) {
                fail("at " + shownMoment(world_.now()) + " s: " + sentence);
            });
        }
        if (options.isKept) {
            BoardRegisters &registers = world_.registers();
            speaker_.emplace(registers);
            speaker_->addHeard(
                std::make_unique<WavSpeaker>(dir.speakerFile(), Gaps::kept, registers.loss));
        }
    }

    LifeReport live() {
        putDownSteps();
        try {
            world_.live(scenario_.until);
        } catch (const CameraError &error) {
            fail("at " + shownMoment(world_.now()) + " s: " + error.what());
        }
        return report();
    }

private:
    void onLine(Moment now, Voice voice, const std::string &line) override;
    void onSound(Moment now, const PlayFormat &format,
                 std::span<const std::int32_t> samples) override;
    void onRest(std::uint64_t nanoseconds) override;

    void onRecord(Moment now, const WorldSenders::Record &record) override;
    void onRecordTaken(Moment now) override;
    void onDaemonEnd(Moment now, int status) override;

    std::function<void(const std::string &sentence)> failing() {
        return [this](const std::string &sentence) { fail(sentence); };
    }

    void fail(const std::string &sentence) {
        log_.add(world_.now(), Voice::world, "FAILED: " + sentence);
        failedAt_ = failures_.empty() ? world_.now() : failedAt_;
        if (failures_.size() < mostFailures) {
            failures_.push_back(sentence);
        }
    }

    // The daemon starts when the camera is switched on, unless a step starts it.
    void putDownSteps() {
        bool isStarted = false;
        for (const Step &step : scenario_.steps) {
            isStarted = isStarted || step.verb == "start";
            world_.agenda().add(step.at, [this, &step] { carryOut(step); });
        }
        if (!isStarted) {
            world_.agenda().add(0, [this] { world_.startDaemon(); });
        }
    }

    void carryOut(const Step &step) {
        if (Expectations::isExpectation(step)) {
            expectations_.expect(step);
            return;
        }
        log_.add(world_.now(), Voice::world, shownStep(step));
        if (promises_) {
            promises_->onStep(step);
        }
        stage_.act(step);
    }

    LifeReport report() {
        LifeReport result;
        const BoardRegisters &registers = world_.registers();
        const std::uint64_t lines[] = {log_.digest(Voice::daemon), log_.digest(Voice::systemLog),
                                       log_.digest(Voice::world)};
        Digest log;
        log.add(lines, sizeof lines);
        result.log = log.value();
        result.requests = log_.digest(Voice::tessel);
        result.commands = longRegister(registers.world.commands);
        result.sound = sound_.value();
        result.records = records_;
        result.lines = log_.count(Voice::daemon) + log_.count(Voice::systemLog);
        result.requestCount = log_.count(Voice::tessel);
        result.commandCount = registers.world.commandCount;
        result.periods = registers.ao.periodsPlayed;
        result.underruns = registers.ao.underruns;
        result.end = world_.now();
        result.failedAt = failedAt_;
        result.failures = failures_;
        result.hasEndedByItself = promises_ && promises_->hasDaemonEndedByItself();
        tellFaults(result);
        if (tellsLines_) {
            tellLines(result);
        }
        return result;
    }

    void tellFaults(LifeReport &result) {
        for (const FaultRegisters &fault : world_.registers().faults) {
            if (fault.command != 0) {
                result.faultsLeft.push_back(fault.countdown);
            }
        }
    }

    void tellLines(LifeReport &result) const {
        for (const LifeLog::Line &line : log_.lines()) {
            if (line.voice == Voice::daemon && !line.text.empty()) {
                result.daemonLines.push_back(line.text);
            }
        }
    }

    const Scenario &scenario_;
    World world_;
    LifeLog log_;
    bool tellsLines_;
    Stage stage_;
    Expectations expectations_;
    std::optional<Promises> promises_;
    std::optional<Loudspeaker> speaker_;
    Digest sound_;
    std::uint64_t records_ = 0;
    Moment failedAt_ = 0;
    std::vector<std::string> failures_;
};

void Life::onLine(Moment now, Voice voice, const std::string &line) {
    log_.add(now, voice, line);
    if (promises_) {
        promises_->onLine(voice, line);
    }
}

void Life::onSound(Moment now, const PlayFormat &format, std::span<const std::int32_t> samples) {
    sound_.add(&now, sizeof now);
    sound_.add(samples.data(), samples.size_bytes());
    expectations_.hear(now, format, samples);
    if (promises_) {
        promises_->onSound(format, samples);
    }
    if (speaker_) {
        speaker_->play(format, samples);
    }
}

void Life::onRest(std::uint64_t nanoseconds) {
    if (speaker_) {
        speaker_->rest(nanoseconds);
    }
}

void Life::onRecord(Moment /*now*/, const WorldSenders::Record &record) {
    ++records_;
    if (promises_) {
        promises_->onRecord(record);
    }
}

void Life::onRecordTaken(Moment now) {
    if (promises_) {
        promises_->onRecordTaken(now);
    }
}

void Life::onDaemonEnd(Moment /*now*/, int status) {
    expectations_.daemonEnded(status);
    if (promises_) {
        promises_->onDaemonEnd(status);
    }
}

} // namespace

bool LifeReport::isLike(const LifeReport &other) const {
    return log == other.log && requests == other.requests && commands == other.commands &&
           sound == other.sound && records == other.records && end == other.end;
}

LifeReport lived(const CameraDir &dir, const Target &target, const Scenario &scenario,
                 const LifeOptions &options) {
    return Life(dir, target, scenario, options).live();
}

LifeReport live(const CameraDir &dir, const Target &target, const Scenario &scenario,
                const LifeOptions &options) {
    LifeProcess process([&] { return lived(dir, target, scenario, options); });
    return process.report();
}
