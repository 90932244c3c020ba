// Carries out what a scenario does to a camera.
#pragma once

#include "vcam/world/scenario.h"
#include "vcam/world/sound.h"
#include "vcam/world/world.h"

#include <memory>

class Stage {
public:
    // How a sound is made into records.
    struct Casting {
        std::shared_ptr<const Sound> sound;
        std::uint64_t payload; // bytes of a record
        std::uint32_t extra;   // of further header in front of it
    };

    // `directory`: that files are named from.
    Stage(World &world, std::filesystem::path directory);

    // Carries out a step that is no expectation. Throws a CameraError with its place when it
    // cannot.
    void act(const Step &step);

private:
    using Deed = void (Stage::*)(const Step &step);
    struct Kind {
        const char *verb;
        Deed deed;
    };
    static const Kind kinds[];

    void cast(const Step &step);
    void conf(const Step &step);
    void record(const Step &step);
    void clip(const Step &step);
    void stop(const Step &step);
    void message(const Step &step);
    void bytes(const Step &step);
    void talk(const Step &step);
    void set(const Step &step);
    void signal(const Step &step);
    void fail(const Step &step);
    void tessel(const Step &step);
    void snapshot(const Step &step);
    void file(const Step &step);
    void vanish(const Step &step);
    void video(const Step &step);
    void speaker(const Step &step);
    void start(const Step &step);

    std::filesystem::path placeOfFile(const Step &step) const;
    std::string placeClip(const Step &step);
    void castFrom(const Casting &casting, std::uint64_t at);

    World &world_;
    std::filesystem::path directory_;
    int clips_ = 0;
};
