#include "vcam/world/sound.h"

#include "vcam/camera/camera.h"

#include <cmath>
#include <numbers>
#include <numeric>

namespace {

constexpr double streamRate = 8000;
constexpr double usualSeconds = 2;
constexpr double usualHertz = 440;
constexpr double amplitude = 16000;
constexpr int sampleCount = 65536;

std::vector<std::uint8_t> encodingOf(Law law) {
    Samples all(sampleCount);
    for (int i = 0; i < sampleCount; ++i) {
        all[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(i - sampleCount / 2);
    }
    return lawEncode(all, law);
}

Samples decodingOf(Law law) {
    std::vector<std::uint8_t> all(256);
    std::iota(all.begin(), all.end(), std::uint8_t{0});
    return lawDecode(all, law);
}

std::optional<Law> lawOf(const Step &step) {
    const std::string name = textOf(step, "law", step.verb == "cast" ? "alaw" : "");
    if (name.empty()) {
        return std::nullopt;
    }
    if (name != "alaw" && name != "ulaw") {
        throw CameraError(shownPlace(step.place) + "law is alaw or ulaw, not " + name);
    }
    return name == "alaw" ? Law::a : Law::u;
}

} // namespace

// The 64-bit mix of Steele, Lea and Flood's SplitMix.
std::uint64_t Sound::noiseWord(std::uint64_t seed, std::uint64_t index) {
    std::uint64_t word = (seed + 1) * 0xD1342543DE82EF95 + index * 0x9E3779B97F4A7C15;
    word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9;
    word = (word ^ word >> 27) * 0x94D049BB133111EB;
    return word ^ word >> 31;
}

Sound::Sound(const Step &step, const std::filesystem::path &directory)
    : kind_(step.object == "noise"  ? Kind::noise
            : step.object == "tone" ? Kind::tone
                                    : Kind::file),
      seed_(static_cast<std::uint64_t>(numberOf(step, "seed", 0))),
      hertz_(numberOf(step, "hertz", usualHertz)), law_(lawOf(step)),
      sides_(textOf(step, "sides")) {
    length_ = static_cast<std::uint64_t>(
        std::llround(numberOf(step, "seconds", usualSeconds) * streamRate));
    if (kind_ == Kind::file) {
        try {
            file_ = std::make_shared<const Samples>(readAudio(directory / step.object));
        } catch (const CameraError &error) {
            throw CameraError(shownPlace(step.place) + error.what());
        }
        length_ = file_->size();
    }
    if (law_) {
        decoding_ = decodingOf(*law_);
        if (kind_ != Kind::noise) {
            encoding_ = encodingOf(*law_);
        }
    }
}

std::int16_t Sound::plainSample(std::uint64_t index) const {
    switch (kind_) {
    case Kind::noise:
        return static_cast<std::int16_t>(noiseWord(seed_, index));
    case Kind::tone: {
        const double phase = std::fmod(hertz_ * static_cast<double>(index) / streamRate, 1.0);
        return static_cast<std::int16_t>(
            std::lround(amplitude * std::sin(2 * std::numbers::pi * phase)));
    }
    default:
        return (*file_)[index];
    }
}

std::uint8_t Sound::lawByte(std::uint64_t index) const {
    if (kind_ == Kind::noise) {
        return static_cast<std::uint8_t>(noiseWord(seed_, index / 8) >> index % 8 * 8);
    }
    const int place = plainSample(index) + sampleCount / 2;
    return encoding_[static_cast<std::size_t>(place)];
}

std::int16_t Sound::sample(std::uint64_t index) const {
    return law_ ? decoding_[lawByte(index)] : plainSample(index);
}

std::int16_t Sound::leftSample(std::uint64_t index) const {
    return static_cast<std::int16_t>(sides_ == "crossed" ? ~sample(index) : sample(index));
}

std::int16_t Sound::rightSample(std::uint64_t index) const {
    return static_cast<std::int16_t>(sides_ == "apart" ? ~sample(index) : sample(index));
}
