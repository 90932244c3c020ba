#include "vcam/speaker/dac.h"

#include "mpp/include/mpp_ao.h"
#include "vcam/board/ao_queue.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

namespace {

constexpr std::uint64_t never = UINT64_MAX;

// A gap that is shorter than this is heard as a dropout; a longer one is the end of a sound.
constexpr std::uint64_t dropoutWindow = nanosecondsPerSecond;

// Who is told to be silent and plays on for so long plays something else.
constexpr std::uint32_t longestStop = 5'000'000; // microseconds

constexpr std::size_t wordOf(std::size_t offset) {
    return offset / sizeof(std::uint32_t);
}

// A sample of the given width, moved to the top of its 32 bits.
std::int32_t sampleAt(const std::uint8_t *data, std::size_t index, std::uint32_t bitWidth) {
    if (bitWidth == AUDIO_BIT_WIDTH_8) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(data[index]) << 24);
    }
    if (bitWidth == AUDIO_BIT_WIDTH_16) {
        std::uint16_t sample = 0;
        std::memcpy(&sample, data + 2 * index, sizeof sample);
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(sample) << 16);
    }
    std::uint32_t sample = 0;
    std::memcpy(&sample, data + 4 * index, sizeof sample);
    return static_cast<std::int32_t>(sample << 8);
}

std::int32_t addSaturated(std::int32_t a, std::int32_t b) {
    const std::int64_t sum = std::int64_t{a} + b;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(
        sum, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

} // namespace

Dac::Dac(BoardRegisters &registers, BoardTime &time, PeriodSink &sink)
    : registers_(registers), time_(time), sink_(sink) {}

std::uint64_t Dac::run(std::uint64_t now) {
    for (;;) {
        dropFlushed();
        if (!isPlaying_ && !begin(now)) {
            return never;
        }
        if (now < end_) {
            return end_;
        }
        finish();
        if (!begin(end_)) {
            ranDryAt_ = end_;
            noteSilence(end_);
        }
    }
}

// Lets go of the slots that were cleared. One that is playing is let go when it ends.
void Dac::dropFlushed() {
    for (std::uint32_t i = 0; i < aoChannelCount; ++i) {
        AoChannelRegisters &channel = registers_.ao.channels[i];
        const std::uint32_t front = aoQueueFront(channel);
        if (front != channel.played && !(isPlaying_ && takesPart_[i])) {
            channel.played = front;
            ranDryAt_.reset();
            ++registers_.ao.space;
            time_.wake(registers_.ao.space);
        }
    }
}

// Begins to play the next period of each channel that has one.
bool Dac::begin(std::uint64_t now) {
    AoRegisters &ao = registers_.ao;
    isPlaying_ = false;
    std::uint32_t points = 0;
    for (std::uint32_t i = 0; i < aoChannelCount; ++i) {
        const AoChannelRegisters &channel = ao.channels[i];
        takesPart_[i] = ao.enabled != 0 && channel.enabled != 0 && channel.paused == 0 &&
                        aoQueueFill(channel) > 0;
        if (takesPart_[i]) {
            isPlaying_ = true;
            front_[i] = aoQueueFront(channel);
            const AoPeriodSlot &slot = registers_.queue[i][front_[i] % aoQueueRoom];
            points = slot.bytes >> ao.attr[wordOf(offsetof(AIO_ATTR_S, enBitwidth))];
        }
    }
    if (!isPlaying_) {
        return false;
    }
    format_.rate = std::max(ao.attr[wordOf(offsetof(AIO_ATTR_S, enSamplerate))].load(), 1U);
    const std::uint32_t soundsBegun = registers_.soundsBegun;
    const bool isNewSound = std::exchange(soundsBegun_, soundsBegun) != soundsBegun;
    if (registers_.pace == paceRealTime) {
        if (!isNewSound && ranDryAt_ && now > *ranDryAt_ && now - *ranDryAt_ < dropoutWindow) {
            ++ao.underruns;
        }
        end_ = now + points * nanosecondsPerSecond / format_.rate;
        noteSound(now);
    } else {
        end_ = now;
    }
    begin_ = now;
    ranDryAt_.reset();
    return true;
}

void Dac::finish() {
    AoRegisters &ao = registers_.ao;
    mix_.clear();
    for (std::uint32_t i = 0; i < aoChannelCount; ++i) {
        const AoChannelRegisters &channel = ao.channels[i];
        if (!takesPart_[i]) {
            continue;
        }
        if (static_cast<std::int32_t>(channel.flushed - front_[i]) <= 0) {
            mixChannel(i);
        }
    }
    isPlaying_ = false;
    if (!mix_.empty()) {
        for (const std::int32_t sample : mix_) {
            notePeak(sample);
        }
        if (registers_.pace == paceRealTime && heardUntil_ != 0 && begin_ > heardUntil_) {
            sink_.rest(begin_ - heardUntil_);
        }
        sink_.play(format_, mix_);
        heardUntil_ = end_;
        ++ao.periodsPlayed;
    }
    // What has left the queue has been heard: who waits for an empty queue may look at the sink.
    for (std::uint32_t i = 0; i < aoChannelCount; ++i) {
        if (takesPart_[i]) {
            ao.channels[i].played = front_[i] + 1;
        }
    }
    ++ao.space;
    time_.wake(ao.space);
}

void Dac::mixChannel(std::uint32_t channel) {
    const AoPeriodSlot &slot = registers_.queue[channel][front_[channel] % aoQueueRoom];
    const std::uint32_t bitWidth = registers_.ao.attr[wordOf(offsetof(AIO_ATTR_S, enBitwidth))];
    const std::uint32_t channels = std::clamp(slot.subChannels, 1U, 2U);
    const std::size_t points = std::min(slot.bytes, aoPeriodRoom) >> bitWidth;
    format_.channels = channels;
    format_.bits = 8 * (bitWidth + 1);
    mix_.resize(std::max(mix_.size(), points * channels));
    for (std::size_t point = 0; point < points; ++point) {
        for (std::uint32_t k = 0; k < channels; ++k) {
            std::int32_t &mixed = mix_[point * channels + k];
            mixed = addSaturated(mixed, sampleAt(slot.data[k], point, bitWidth));
        }
    }
}

void Dac::notePeak(std::int32_t sample) {
    const std::int32_t value = sample >> 16;
    const auto magnitude = static_cast<std::uint32_t>(value < 0 ? -value : value);
    if (magnitude > registers_.ao.peak) {
        registers_.ao.peak = magnitude;
    }
}

// The first period of a sound has begun.
void Dac::noteSound(std::uint64_t now) {
    LatencyRegisters &latency = registers_.latency;
    if (const std::uint32_t sentAt = latency.sentAt.exchange(0); sentAt != 0) {
        latency.soundAfter = latencyMoment(now) - sentAt;
    }
}

// There is nothing more to play.
void Dac::noteSilence(std::uint64_t now) {
    LatencyRegisters &latency = registers_.latency;
    if (const std::uint32_t stoppedAt = latency.stoppedAt.exchange(0); stoppedAt != 0) {
        const std::uint32_t after = latencyMoment(now) - stoppedAt;
        latency.silenceAfter = after <= longestStop ? after : latency.silenceAfter.load();
    }
}
