// Sound as a scenario names it: a file, noise of a seed or a tone.
#pragma once

#include "vcam/sender/law_codec.h"
#include "vcam/world/scenario.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Any sample of it can be asked for at any time, so that a day of it takes no memory.
class Sound {
public:
    // What the step's object and options name; with a law, what is heard of it when it has been
    // cast. Throws a CameraError with the step's place.
    Sound(const Step &step, const std::filesystem::path &directory);

    // The same noise for a step without a file.
    static std::uint64_t noiseWord(std::uint64_t seed, std::uint64_t index);

    std::uint64_t length() const { return length_; } // samples
    std::optional<Law> law() const { return law_; }

    // The law byte at an index below the length; there is a law.
    std::uint8_t lawByte(std::uint64_t index) const;

    // The sample that is heard.
    std::int16_t sample(std::uint64_t index) const;

    // Those of the two sides: the same one, or one of them its negative.
    std::int16_t leftSample(std::uint64_t index) const;
    std::int16_t rightSample(std::uint64_t index) const;

private:
    enum class Kind { file, noise, tone };

    std::int16_t plainSample(std::uint64_t index) const;

    Kind kind_;
    std::uint64_t seed_;
    double hertz_;
    std::uint64_t length_ = 0;
    std::optional<Law> law_;
    std::string sides_; // "apart": the right one is the negative; "crossed": the left one
    std::vector<std::uint8_t> encoding_; // law bytes of the 65536 samples
    std::vector<std::int16_t> decoding_; // samples of the 256 law bytes
    std::shared_ptr<const Samples> file_;
};
