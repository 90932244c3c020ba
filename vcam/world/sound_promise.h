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

    // A datagram has been sent to the daemon, which has taken those before it; it has taken it.
    void sent(Moment now, std::span<const std::uint8_t> record);
    void taken(Moment now);

    // A chunk of a clip of this rate is being written. The rate holds for the stream as well, when
    // codec information comes that tells none.
    void chunk(Moment now, std::vector<std::int16_t> samples);
    void clipRate(std::uint32_t rate) { rate_ = rate; }

    // Both sides of what was heard, interleaved.
    void heard(std::span<const std::int32_t> samples, std::uint32_t channels);

    // What explains losses: all that was sent so far may be lost; the datagram that the daemon deals
    // with may; the daemon has ended, and the next one begins anew.
    void cleared();
    void lastMayBeLost(Moment now);
    void daemonEnded();

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
        bool mayComeLater; // it may be on its way while chunks of a clip are written
    };

    void takeCodec(std::span<const std::uint8_t> record);
    static std::vector<std::int16_t> soundOf(const Block &block, const Format &format);
    void announced(Law law, std::uint32_t rate);
    void add(Block block);
    void take(std::span<const std::int16_t> heard, std::size_t carried);
    void breach(std::span<const std::int16_t> ahead);
    std::size_t lostBefore(std::size_t count) const;
    bool isSettled(Moment now) const;
    bool isNext(std::span<const std::int16_t> ahead) const;
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
    std::uint32_t rate_ = 8000; // of the source, as told last
    bool isFormatSure_ = true;
    bool isLastFormat_ = false;         // the datagram that was sent last announced it
    std::optional<Moment> lastTakenAt_; // of that one
    Moment formatTakenAt_ = 0;          // of what announced a format last
    bool isBroken_ = false; // until the next restart: one breach brings others
};
