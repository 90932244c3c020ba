// What a daemon promises in any life, whatever happens around it. Checked from outside: by what it
// prints, asks for and plays, and by what its process holds.
#pragma once

#include "vcam/world/holdings.h"
#include "vcam/world/scenario.h"
#include "vcam/world/sound_promise.h"
#include "vcam/world/world.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>

class Promises {
public:
    // `broken` gets a sentence for each breach, the promise in front.
    Promises(World &world, std::function<void(const std::string &sentence)> broken);

    void onStep(const Step &step);
    void onLine(Voice voice, const std::string &line);
    void onSound(const PlayFormat &format, std::span<const std::int32_t> samples);
    void onRecord(const WorldSenders::Record &record);
    void onRecordTaken(Moment now) { sound_.taken(now); }
    void onDaemonEnd(int status);

    // Whether a daemon has ended that nobody had asked to.
    bool hasDaemonEndedByItself() const { return hasEndedByItself_; }

private:
    using Handler = void (Promises::*)(const std::string &line);
    struct Hint {
        const char *text;
        Handler handler;
    };
    static const Hint hints[];

    void clipOpens(const std::string &line);
    void chunkBegins(const std::string &line);
    void chunkEnds(const std::string &line);
    void clipPlaysOut(const std::string &line);
    void clipStopped(const std::string &line);
    void outputCleared(const std::string &line);
    void outputReset(const std::string &line);
    void recordLost(const std::string &line);
    void volumeSet(const std::string &line);
    void started(const std::string &line);

    void watch();
    void checkRequest(const std::string &line);
    void checkSoundComes();
    bool hasClips() const;
    void checkGain();
    void checkEnd(int status);
    void checkFlat();
    void noteFaults();
    void expectVolume(const std::string &value);
    void expectEnd();
    void breach(const std::string &sentence);

    World &world_;
    std::function<void(const std::string &sentence)> broken_;
    SoundPromise sound_;
    struct Clip {
        std::vector<std::int16_t> samples; // of one side
        std::uint32_t rate = 0;
        std::size_t frameBytes = 2; // of both sides
    };
    static Clip clipAt(const std::filesystem::path &file);

    Clip clip_;                // that is open
    std::size_t clipRead_ = 0; // samples of it
    bool playsOut_ = false;
    bool isPlayOutLongEnough_ = false;  // for all that is queued
    bool isClipReported_ = false;       // as playing
    bool isVolumeKnown_ = true;         // what has been set last is a volume
    std::optional<std::uint32_t> gain_; // that the codec has to have
    std::uint32_t faultsLeft_ = 0;
    bool hasFaultCome_ = false; // in this daemon's life
    bool isReady_ = false;      // the daemon handles signals
    bool isEndAskedFor_ = false;
    bool isKilled_ = false;
    bool hasEndedByItself_ = false;
    unsigned lives_ = 0; // of daemons
    std::deque<Holdings> early_;
    std::deque<Holdings> late_;
    unsigned looks_ = 0;
};
