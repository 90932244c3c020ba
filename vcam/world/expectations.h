// What a scenario expects, checked while the camera lives.
#pragma once

#include "vcam/world/life_log.h"
#include "vcam/world/scenario.h"
#include "vcam/world/sound.h"
#include "vcam/world/world.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

// What is heard of a sound, frame by frame, when all goes well.
class Awaited {
public:
    // Of the sound that a step names. Throws a CameraError with the step's place.
    Awaited(const Step &step, const std::filesystem::path &directory);

    std::uint64_t length() const { return length_; } // frames
    // What stays behind when nothing follows: frames that fill no period, and the last block.
    std::uint64_t kept() const { return kept_; }
    std::int16_t left(std::uint64_t frame) const { return sound_.leftSample(indexOf(frame)); }
    std::int16_t right(std::uint64_t frame) const { return sound_.rightSample(indexOf(frame)); }

private:
    std::uint64_t indexOf(std::uint64_t frame) const;

    Sound sound_;
    std::uint64_t ratio_;   // times two
    std::uint64_t payload_; // samples of a record
    std::uint64_t length_;
    std::uint64_t kept_;
};

// What was heard, with its times.
class Hearing {
public:
    struct Heard {
        Moment at;                         // when it had been played
        std::vector<std::int16_t> samples; // both sides, interleaved
    };

    void hear(Moment at, const PlayFormat &format, std::span<const std::int32_t> samples);

    // What has been heard after `since`.
    std::vector<std::int16_t> after(Moment since) const;

private:
    std::vector<Heard> heard_;
};

class Expectations {
public:
    // `fail` gets the sentence of an expectation that is not met.
    Expectations(World &world, const Scenario &scenario, const LifeLog &log,
                 std::function<void(const std::string &sentence)> fail);

    // Whether the steps of a scenario ask for lines or for sound that has gone by.
    static bool wantLines(const Scenario &scenario);
    static bool wantSound(const Scenario &scenario);

    // Whether a step is one of these.
    static bool isExpectation(const Step &step);

    // Checks a step's expectation at its time, and later if that is not over.
    void expect(const Step &step);

    void hear(Moment at, const PlayFormat &format, std::span<const std::int32_t> samples) {
        if (hears_) {
            hearing_.hear(at, format, samples);
        }
    }
    void daemonEnded(int status) { status_ = status; }

private:
    // Why it is not met; none: it is.
    using Check = std::optional<std::string> (Expectations::*)(const Step &step) const;
    struct Kind {
        const char *verb;
        Check check;
    };
    static const Kind kinds[];
    static const Kind *kindOf(const Step &step);

    std::optional<std::string> checkLog(const Step &step) const;
    std::optional<std::string> checkNever(const Step &step) const;
    std::optional<std::string> checkRequest(const Step &step) const;
    std::optional<std::string> checkGain(const Step &step) const;
    std::optional<std::string> checkSound(const Step &step) const;
    std::optional<std::string> checkSilence(const Step &step) const;
    std::optional<std::string> checkExit(const Step &step) const;
    std::optional<std::string> checkEncoder(const Step &step) const;
    std::optional<std::string> checkOutput(const Step &step) const;
    std::optional<std::string> checkPath(const Step &step) const;
    std::optional<std::string> lineMissing(const Step &step, bool isRequest) const;
    std::optional<std::string> miscounted(const Step &step, bool isRequest) const;
    void judge(const Step &step, Check check);

    World &world_;
    std::filesystem::path directory_;
    const LifeLog &log_;
    std::function<void(const std::string &sentence)> fail_;
    bool hears_;
    Hearing hearing_;
    std::optional<int> status_; // of the daemon that ended last
};
