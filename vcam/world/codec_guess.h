// How the daemon turns payloads into sound, as far as it can be known from outside: what announced
// a change may have been lost on its way.
#pragma once

#include "vcam/sender/law_codec.h"

#include <cstdint>
#include <span>
#include <vector>

// How a payload becomes sound.
struct PayloadFormat {
    Law law = Law::u;
    std::uint32_t ratio = 2; // twice that of the rates
    bool operator==(const PayloadFormat &) const = default;
};

class CodecGuess {
public:
    // Codec information has been sent; what was sent before it has been dealt with.
    void announced(std::span<const std::uint8_t> record);

    // It may have been lost, and may not; or the one before it as well.
    void doubted(bool alsoPrevious);

    // The rate of a clip holds for the stream as well when codec information comes that tells none.
    // `isOnItsWay`: what was announced last may come after it.
    void clipPlayed(std::uint32_t rate, bool isOnItsWay);

    // A new daemon.
    void reset();

    // What may hold now, each once.
    std::vector<PayloadFormat> formats() const;

private:
    struct State {
        PayloadFormat format;
        std::uint32_t rate = 8000;
        bool operator==(const State &) const = default;
    };

    static State taken(State state, std::span<const std::uint8_t> record);

    void update();

    std::vector<State> earlier_ = {{}}; // before the last announcement but one,
    std::vector<State> before_ = {{}};  // before the last one,
    std::vector<State> after_ = {{}};   // and after it
    std::vector<std::uint8_t> last_;    // its record
    bool isDoubted_ = false;
};
