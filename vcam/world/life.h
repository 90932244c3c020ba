// A life of a camera from a scenario: lived, written down, and held against what was expected.
#pragma once

#include "vcam/camera/environment.h"
#include "vcam/world/scenario.h"

#include <cstdint>
#include <string>
#include <vector>

struct LifeOptions {
    bool isKept = false;         // "life.log" and "speaker.wav" in the camera's directory
    bool checksPromises = false; // what the daemon promises in any life (promises.h)
    bool tellsLines = false;     // what the daemon has printed is in the report
};

// What came of a life. Two that are alike have the same digests, on whatever processor.
struct LifeReport {
    std::uint64_t log = 0;      // digests: of what the daemon printed and logged, with the times,
    std::uint64_t requests = 0; // of its requests to the settings daemon,
    std::uint64_t commands = 0; // of its commands to the drivers,
    std::uint64_t sound = 0;    // and of what was heard
    std::uint64_t records = 0;
    std::uint64_t lines = 0;
    std::uint64_t requestCount = 0;
    std::uint64_t commandCount = 0;
    std::uint64_t periods = 0;
    std::uint64_t underruns = 0;
    Moment end = 0;
    Moment failedAt = 0;                   // for the first time
    std::vector<std::string> failures;     // sentences; empty: all is as it should be
    std::vector<std::uint32_t> faultsLeft; // issues until each failure that was set; 0: it has come
    std::vector<std::string> daemonLines;  // that the daemon has printed, if they were remembered
    bool hasEndedByItself = false;         // a daemon, at least once

    bool isLike(const LifeReport &other) const;
};

// Lives a scenario in this process, which has room for one life only. Throws a CameraError when it
// cannot be lived at all.
LifeReport lived(const CameraDir &dir, const Target &target, const Scenario &scenario,
                 const LifeOptions &options);

// The same in a process of its own.
LifeReport live(const CameraDir &dir, const Target &target, const Scenario &scenario,
                const LifeOptions &options);
