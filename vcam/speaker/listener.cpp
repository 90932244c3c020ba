#include "vcam/speaker/listener.h"

#include "vcam/camera/camera.h"

#include <string>

namespace {

constexpr std::size_t periodSamples = 640; // of each side
constexpr std::size_t sides = 2;

} // namespace

void Listener::play(const PlayFormat &format, std::span<const std::int32_t> samples) {
    const std::lock_guard guard(lock_);
    for (const std::int32_t sample : samples) {
        // A sound of another format is no sound of this daemon: one side of it differs.
        played_.insert(played_.end(), format.channels == sides ? 1 : sides,
                       static_cast<std::int16_t>(sample >> 16));
    }
    grown_.notify_one();
}

void Listener::expect(std::span<const std::int16_t> block) {
    beforeLast_ = sent_.size();
    sent_.insert(sent_.end(), block.begin(), block.end());
}

std::size_t Listener::audible() const {
    return beforeLast_ / periodSamples * periodSamples;
}

void Listener::hear(std::chrono::seconds patience) {
    const std::size_t wanted = audible();
    {
        std::unique_lock guard(lock_);
        if (!grown_.wait_for(guard, patience, [&] { return played_.size() >= sides * wanted; })) {
            throw CameraError("only " + std::to_string(played_.size() / sides) + " of " +
                              std::to_string(wanted) + " samples are heard");
        }
    }
    compare(wanted);
    beforeLast_ -= wanted;
}

void Listener::cleared() {
    std::size_t samples = 0;
    {
        const std::lock_guard guard(lock_);
        samples = played_.size() / sides;
    }
    if (samples % periodSamples != 0 || samples > audible()) {
        differing_ += samples;
    }
    compare(std::min(samples, sent_.size()));
    const std::lock_guard guard(lock_);
    played_.clear();
    sent_.clear();
    beforeLast_ = 0;
}

// Compares so many samples of each side, which are there, and lets go of them.
void Listener::compare(std::size_t samples) {
    const std::lock_guard guard(lock_);
    for (std::size_t i = 0; i < sides * samples; ++i) {
        differing_ += played_[i] != sent_[i / sides] ? 1 : 0;
    }
    heard_ += sides * samples;
    played_.erase(played_.begin(), played_.begin() + static_cast<std::ptrdiff_t>(sides * samples));
    sent_.erase(sent_.begin(), sent_.begin() + static_cast<std::ptrdiff_t>(samples));
}
