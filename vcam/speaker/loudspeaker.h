// Everything behind the DAC: the codec's controls, and who hears what comes out of them.
#pragma once

#include "vcam/speaker/dac.h"

#include <memory>
#include <vector>

// Hands each period to two groups: to those that want it as the DAC plays it, and to those that
// want what a loudspeaker makes of it – at the output's and the codec's volume, with what is muted
// silent.
class Loudspeaker : public PeriodSink {
public:
    explicit Loudspeaker(const BoardRegisters &registers) : registers_(registers) {}

    // In front of the controls, and behind them. Before the first period.
    void addRaw(std::unique_ptr<PeriodSink> sink) { raw_.push_back(std::move(sink)); }
    void addHeard(std::unique_ptr<PeriodSink> sink) { heard_.push_back(std::move(sink)); }

    void play(const PlayFormat &format, std::span<const std::int32_t> samples) override;
    void rest(std::uint64_t nanoseconds) override;

private:
    const BoardRegisters &registers_;
    std::vector<std::unique_ptr<PeriodSink>> raw_;
    std::vector<std::unique_ptr<PeriodSink>> heard_;
    std::vector<std::int32_t> samples_; // of the period that is heard
};

// What a sample is multiplied with on its way out of the left (0) or right (1) side: the codec
// takes a decibel for each step of its volume word, and the last, 127, mutes; the output adds its
// own decibels. 0: muted.
double loudspeakerFactor(const BoardRegisters &registers, std::uint32_t side);
