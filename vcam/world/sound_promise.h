// The promise of the sound: what is heard was sent, in order and once, and nothing of it is lost but
// where a clear, a refusal or a restart explains it.
#pragma once

#include "vcam/sender/law_codec.h"
#include "vcam/world/virtual_clock.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

class SoundPromise {
public:
    // `broken` gets a sentence for each breach.
    explicit SoundPromise(std::function<void(const std::string &sentence)> broken);

    // A datagram has been sent to the daemon, which has taken those before it.
    void sent(Moment now, std::span<const std::uint8_t> record);

    // A chunk of a clip is being written.
    void chunk(Moment now, std::vector<std::int16_t> samples);

    // Both sides of what was heard, interleaved.
    void heard(std::span<const std::int32_t> samples, std::uint32_t channels);

    // What explains losses: all that was sent so far may be lost; the datagram that was sent last may;
    // the daemon has ended, and the next one begins anew.
    void cleared();
    void lastMayBeLost();
    void daemonEnded();

    // A loss of all that is sent until further notice has an explanation.
    void excuse(bool all) { excusesAll_ = all; }

    // Samples of what must be heard and has not been, of blocks sent before `before`.
    std::uint64_t owed(Moment before) const;

private:
    // How the daemon turns a payload into sound.
    struct Format {
        Law law = Law::u;
        std::uint32_t ratio = 2; // twice that of the rates
        bool operator==(const Format &) const = default;
    };

    struct Block {
        Moment sent;
        std::vector<std::uint8_t> payload;  // of a record,
        std::vector<std::int16_t> samples;  // or a clip's chunk
        Format format;
        Format former; // which it may be instead: what announced the format may have been lost
        bool mayBeLost;
    };

    static std::vector<std::int16_t> soundOf(const Block &block, const Format &format);
    void announced(const Format &format);
    void add(Block block);
    void take(std::span<const std::int16_t> heard);
    bool resume(std::span<const std::int16_t> ahead);
    bool beginsWith(const Block &block, std::span<const std::int16_t> ahead,
                    std::vector<std::int16_t> *sound) const;

    std::function<void(const std::string &sentence)> broken_;
    std::deque<Block> blocks_;            // not yet heard to their ends
    std::vector<std::int16_t> current_;   // the sound of the first of them, when it has begun
    std::size_t offset_ = 0;              // in it
    std::vector<std::int16_t> unmatched_; // heard, and too short to be found again
    Format format_;
    Format former_;
    bool isFormatSure_ = true;
    bool isLastFormat_ = false; // the datagram that was sent last announced it
    bool excusesAll_ = false;
    bool isBroken_ = false; // until the next restart: one breach brings others
};
