// The loudspeaker of a soak: compares what it plays with what was sent.
#pragma once

#include "vcam/sender/law_codec.h"
#include "vcam/speaker/dac.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <span>
#include <vector>

// What is heard since the output was last cleared is what was sent since, in whole periods, up to
// the last block: that one waits in the platform's buffer until the next comes. Both sides play the
// same.
class Listener : public PeriodSink {
public:
    void play(const PlayFormat &format, std::span<const std::int32_t> samples) override;

    // Notes a block that was sent.
    void expect(std::span<const std::int16_t> block);

    // Waits until all has been heard that must be, and compares it. Throws when it does not come.
    void hear(std::chrono::seconds patience);

    // The output has been cleared: compares what was heard of the rest and forgets the rest.
    void cleared();

    std::size_t heard() const { return heard_; } // samples compared, of both sides
    std::size_t differing() const { return differing_; }

private:
    std::size_t audible() const;
    void compare(std::size_t samples);

    std::mutex lock_;
    std::condition_variable grown_;
    std::vector<std::int16_t> played_; // interleaved, not yet compared

    Samples sent_; // not yet compared, from the start of a period on
    std::size_t beforeLast_ = 0;
    std::size_t heard_ = 0;
    std::size_t differing_ = 0;
};
