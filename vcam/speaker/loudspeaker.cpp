#include "vcam/speaker/loudspeaker.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr std::uint32_t codecMutes = 127;

std::int32_t scaled(std::int32_t sample, double factor) {
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(std::round(sample * factor), -most - 1, most));
}

} // namespace

double loudspeakerFactor(const BoardRegisters &registers, std::uint32_t side) {
    const AcodecRegisters &codec = registers.acodec;
    const std::uint32_t volume = codec.volume[side];
    const bool isMuted =
        registers.ao.mute[0] != 0 || volume >= codecMutes || (side == 0 && codec.daclMute != 0);
    const int decibels =
        static_cast<std::int32_t>(registers.ao.volumeDb) - static_cast<int>(volume);
    return isMuted ? 0 : std::pow(10.0, decibels / 20.0);
}

void Loudspeaker::play(const PlayFormat &format, std::span<const std::int32_t> samples) {
    for (const std::unique_ptr<PeriodSink> &sink : raw_) {
        sink->play(format, samples);
    }
    const std::array<double, 2> factors = {loudspeakerFactor(registers_, 0),
                                           loudspeakerFactor(registers_, 1)};
    samples_.clear();
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples_.push_back(scaled(samples[i], factors[i % format.channels]));
    }
    for (const std::unique_ptr<PeriodSink> &sink : heard_) {
        sink->play(format, samples_);
    }
}

void Loudspeaker::rest(std::uint64_t nanoseconds) {
    for (const auto *group : {&raw_, &heard_}) {
        for (const std::unique_ptr<PeriodSink> &sink : *group) {
            sink->rest(nanoseconds);
        }
    }
}
