// A camera that gives the daemon an earlier life again, as a trace tells it.
#pragma once

#include "vcam/world/trace_life.h"
#include "vcam/world/world.h"

// Where the lives are two.
struct ReplayReport {
    std::uint64_t recorded = 0; // driver commands
    std::uint64_t issued = 0;
    std::uint64_t differsAt = 0;    // the number of the first that differs, from 1 on; 0: none
    std::uint32_t command = 0;      // that was issued there
    bool hasOtherPeriod = false;    // its record is the same
    std::string record;             // its bytes
    std::vector<std::string> lines; // that the daemon printed, the last ones
};

class ReplayWorld : private WorldObserver, private World {
public:
    // `config`: the daemon's configuration file; empty: the one that a camera comes with.
    ReplayWorld(const CameraDir &dir, const Target &target, const TraceLife &life,
                const std::string &config);

    // Lives it. Throws a CameraError when the daemon hangs.
    ReplayReport replay();

private:
    void letDaemonWait(Moment deadline) override;
    void letDaemonLook() override;

    void onLine(Moment now, Voice voice, const std::string &line) override;
    void onSound(Moment, const PlayFormat &, std::span<const std::int32_t>) override {}
    void onRest(std::uint64_t) override {}
    void onRecord(Moment, const WorldSenders::Record &) override {}
    void onRecordTaken(Moment) override {}
    void onDaemonEnd(Moment, int) override {}

    static bool isWait(const TraceRecord &record);
    std::size_t nextWait(std::size_t from) const;
    bool passSignals(std::size_t end);
    void passInputs(std::size_t wait);
    void prepare();
    void prepareFile(std::size_t opened);
    void endWait(std::size_t wait, Moment deadline);

    const TraceLife &life_;
    std::size_t at_ = 0;       // the record behind the last wait
    std::size_t prepared_ = 0; // the record up to which the camera is ready for the daemon
    std::size_t signalled_ = 0;
    bool isEndSent_ = false;
    std::vector<std::string> lines_;
};
