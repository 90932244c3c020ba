// The promise of the sound: what is heard was sent, in order and once, and nothing of it is lost
// but where a clear, a refusal or a restart explains it.
#pragma once

#include "vcam/world/codec_guess.h"
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

    // A chunk of a clip is being written; it has been, and the clip is of this rate.
    void chunk(Moment now, std::vector<std::int16_t> samples);
    void chunkWritten(std::uint32_t rate) {
        codec_.clipPlayed(rate, isLastCodec_ && !lastTakenAt_);
    }

    // Both sides of what was heard, interleaved.
    void heard(std::span<const std::int32_t> samples, std::uint32_t channels);

    // What explains losses: all that was sent so far may be lost; the datagram that the daemon
    // deals with may; the daemon has ended, and the next one begins anew.
    void cleared();
    void lastMayBeLost(Moment now);
    void daemonEnded();

    // Samples of what must be heard and has not been, of blocks sent before `before`.
    std::uint64_t owed(Moment before) const;

private:
    struct Block {
        Moment sent;
        std::vector<std::uint8_t> payload;  // of a record,
        std::vector<std::int16_t> samples;  // or a clip's chunk
        std::vector<PayloadFormat> formats; // one of these
        unsigned codec;                     // how many times codec information had been sent
        bool mayBeLost;
        bool mayComeLater; // it may be on its way while chunks of a clip are written
    };

    static std::vector<std::int16_t> soundOf(const Block &block, const PayloadFormat &format);
    static bool beginsWith(const Block &block, std::span<const std::int16_t> ahead,
                           std::vector<std::int16_t> *sound);
    std::vector<PayloadFormat> formatsFor(std::uint64_t bytes) const;
    void addPayload(Moment now, std::span<const std::uint8_t> payload);
    void take(std::span<const std::int16_t> heard, std::size_t carried);
    void breach(std::span<const std::int16_t> ahead);
    std::size_t lostBefore(std::size_t count) const;
    bool isSettled(Moment now) const;
    bool isNext(std::span<const std::int16_t> ahead) const;
    bool resume(std::span<const std::int16_t> ahead);
    bool beginOtherwise(std::span<const std::int16_t> ahead);

    std::function<void(const std::string &sentence)> broken_;
    std::deque<Block> blocks_;            // not yet heard to their ends
    std::vector<std::int16_t> current_;   // the sound of the first of them, when it has begun
    std::size_t offset_ = 0;              // in it
    std::vector<std::int16_t> unmatched_; // heard, and too short to be found again
    CodecGuess codec_;
    unsigned codecs_ = 0;               // that have been announced
    std::optional<Moment> lastTakenAt_; // of what was sent last
    bool isLastCodec_ = false;          // which is codec information
    Moment codecTakenAt_ = 0;           // of the last that was,
    Moment formerCodecTakenAt_ = 0;     // and of the one before it
    bool isBroken_ = false;             // until the next restart: one breach brings others
};
