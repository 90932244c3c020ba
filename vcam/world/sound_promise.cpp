#include "vcam/world/sound_promise.h"

#include "src/voxo/stream_record.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

namespace {

constexpr std::uint32_t sameRate = 2;
constexpr Moment longestDealing = 200 * nanosecondsPerMillisecond;
// By so many samples a block is known among the others.
constexpr std::size_t mark = 12;
// Payloads up to this size fit all of the daemon's buffers and the platform's frames.
constexpr std::uint64_t alwaysFits = 4000;
// Sounds beyond this one fit none.
constexpr std::uint64_t neverFits = 8192;
// What may be left out of the sound of a block that has not begun: nothing is known of silence.
constexpr std::size_t longestPayload = 16000;

const std::vector<std::int16_t> &decodingOf(Law law) {
    static const auto tableOf = [](Law one) {
        std::vector<std::uint8_t> all(256);
        std::iota(all.begin(), all.end(), std::uint8_t{0});
        return lawDecode(all, one);
    };
    static const std::vector<std::int16_t> tables[] = {tableOf(Law::a), tableOf(Law::u)};
    return tables[law == Law::a ? 0 : 1];
}

// The payload of a record that the daemon can play, if it is one.
std::optional<std::span<const std::uint8_t>> payloadOf(std::span<const std::uint8_t> record) {
    if (record.size() < recordBody || recordWord(record.data(), recordTypeWord) != codeG711) {
        return std::nullopt;
    }
    const std::int64_t size = static_cast<std::int32_t>(recordWord(record.data(), recordSizeWord));
    const std::int64_t extra =
        static_cast<std::int32_t>(recordWord(record.data(), recordExtraWord));
    const auto received = static_cast<std::int64_t>(std::min(record.size(), longestPayload));
    if (extra < 0 || size - extra < recordBody || size > received) {
        return std::nullopt;
    }
    return record.subspan(static_cast<std::size_t>(recordBody + extra),
                          static_cast<std::size_t>(size - extra - recordBody));
}

} // namespace

SoundPromise::SoundPromise(std::function<void(const std::string &sentence)> broken)
    : broken_(std::move(broken)) {}

// Of each pair of samples half the ratio times the first and the rest the second.
std::vector<std::int16_t> SoundPromise::soundOf(const Block &block, const PayloadFormat &format) {
    if (!block.samples.empty()) {
        return block.samples;
    }
    const std::vector<std::int16_t> &decoding = decodingOf(format.law);
    std::vector<std::int16_t> sound;
    sound.reserve(block.payload.size() * format.ratio / sameRate);
    for (std::size_t i = 0; i < block.payload.size(); ++i) {
        const std::uint32_t times = i % 2 == 0 ? format.ratio / 2 : format.ratio - format.ratio / 2;
        sound.insert(sound.end(), times, decoding[block.payload[i]]);
    }
    return sound;
}

void SoundPromise::taken(Moment now) {
    lastTakenAt_ = now;
    if (isLastCodec_) {
        codecTakenAt_ = now;
    }
}

// Whether the daemon has done with the datagram that was sent last: a message that has come with it
// may keep it for a moment.
bool SoundPromise::isSettled(Moment now) const {
    return lastTakenAt_ && now > *lastTakenAt_ + longestDealing;
}

void SoundPromise::sent(Moment now, std::span<const std::uint8_t> record) {
    lastTakenAt_.reset();
    isLastCodec_ = false;
    if (const auto payload = payloadOf(record)) {
        addPayload(now, *payload);
    } else if (record.size() >= recordBody &&
               recordWord(record.data(), recordTypeWord) == codeConf) {
        codec_.announced(record);
        formerCodecTakenAt_ = codecTakenAt_;
        ++codecs_;
        isLastCodec_ = true;
    }
}

// What a payload of so many bytes may be played as; nothing at a rate at which it makes no sound,
// or more than fits.
std::vector<PayloadFormat> SoundPromise::formatsFor(std::uint64_t bytes) const {
    std::vector<PayloadFormat> formats = codec_.formats();
    std::erase_if(formats, [&](const PayloadFormat &format) {
        const std::uint64_t samples = bytes * format.ratio / sameRate;
        return samples == 0 || samples > neverFits;
    });
    return formats;
}

void SoundPromise::addPayload(Moment now, std::span<const std::uint8_t> payload) {
    const std::uint64_t bytes = payload.size();
    Block block = {now,  {payload.begin(), payload.end()}, {}, formatsFor(bytes), codecs_, false,
                   false};
    if (block.formats.empty()) {
        return;
    }
    const bool isSure = codec_.formats().size() == 1;
    const std::uint64_t samples = bytes * block.formats.front().ratio / sameRate;
    block.mayBeLost = !isSure || std::max(bytes, samples) > alwaysFits;
    blocks_.push_back(std::move(block));
}

// The datagram that was sent last has been played before the chunk, or is dropped, or comes after
// it.
void SoundPromise::chunk(Moment now, std::vector<std::int16_t> samples) {
    std::optional<Block> onItsWay;
    const bool isHeard = blocks_.size() == 1 && !current_.empty();
    if (!isSettled(now) && !blocks_.empty() && !isHeard && !blocks_.back().payload.empty()) {
        onItsWay = blocks_.back();
        onItsWay->mayBeLost = true;
        if (std::exchange(onItsWay->mayComeLater, true)) {
            blocks_.pop_back();
        }
    }
    blocks_.push_back({now, {}, std::move(samples), {{}}, codecs_, false, false});
    if (onItsWay) {
        blocks_.push_back(*std::move(onItsWay));
    }
}

void SoundPromise::heard(std::span<const std::int32_t> samples, std::uint32_t channels) {
    if (isBroken_) {
        return;
    }
    std::vector<std::int16_t> one = std::exchange(unmatched_, {});
    const std::size_t carried = one.size();
    for (std::size_t i = 0; i < samples.size(); i += channels) {
        if (samples[i] != samples[i + channels - 1]) {
            broken_("the two sides differ");
            isBroken_ = true;
            return;
        }
        one.push_back(static_cast<std::int16_t>(samples[i] >> 16));
    }
    take(one, carried);
}

// `carried` samples of it were heard before: too few to find them again, and what followed them may
// have been cleared.
void SoundPromise::take(std::span<const std::int16_t> heard, std::size_t carried) {
    std::size_t run = 0; // samples that have matched in one go
    for (std::size_t at = 0; at < heard.size();) {
        if (offset_ < current_.size() && current_[offset_] == heard[at]) {
            ++at;
            ++run;
            if (++offset_ == current_.size()) {
                blocks_.pop_front();
                current_.clear();
                offset_ = run = 0;
            }
            continue;
        }
        if (run < mark) {
            // A few samples may have been alike by chance.
            at -= run;
            offset_ -= std::exchange(run, 0);
        }
        const std::span<const std::int16_t> ahead = heard.subspan(at);
        if (ahead.size() < mark && !isNext(ahead)) {
            unmatched_.assign(ahead.begin(), ahead.end());
            return;
        }
        run = mark;
        if (resume(ahead) || beginOtherwise(ahead)) {
            continue;
        }
        if (at > 0 || carried == 0) {
            breach(ahead);
            return;
        }
        at = carried;
    }
}

// Whether the block that is due begins with what is heard next.
bool SoundPromise::isNext(std::span<const std::int16_t> ahead) const {
    std::vector<std::int16_t> ignored;
    return offset_ == 0 && !blocks_.empty() && beginsWith(blocks_.front(), ahead, &ignored);
}

// Finds the block that begins with what is heard next. The blocks in front of it have been lost.
bool SoundPromise::resume(std::span<const std::int16_t> ahead) {
    std::vector<std::int16_t> sound;
    const std::size_t first = offset_ > 0 ? 1 : 0;
    for (std::size_t i = first; i < blocks_.size(); ++i) {
        if (beginsWith(blocks_[i], ahead, &sound) && lostBefore(i) == 0) {
            blocks_.erase(blocks_.begin(), blocks_.begin() + static_cast<std::ptrdiff_t>(i));
            current_ = std::move(sound);
            offset_ = 0;
            return true;
        }
    }
    return false;
}

// A few samples of a block have been heard, by which its format was guessed: takes another.
bool SoundPromise::beginOtherwise(std::span<const std::int16_t> ahead) {
    if (offset_ == 0 || offset_ >= mark) {
        return false;
    }
    const std::size_t heard = std::exchange(offset_, 0);
    std::vector<std::int16_t> again(current_.begin(),
                                    current_.begin() + static_cast<std::ptrdiff_t>(heard));
    again.insert(again.end(), ahead.begin(), ahead.end());
    const bool isFound = resume(again);
    offset_ = heard;
    return isFound;
}

// How many of the first blocks must not be lost.
std::size_t SoundPromise::lostBefore(std::size_t count) const {
    const auto end = blocks_.begin() + static_cast<std::ptrdiff_t>(count);
    return static_cast<std::size_t>(
        std::count_if(blocks_.begin(), end, [](const Block &block) { return !block.mayBeLost; }));
}

void SoundPromise::breach(std::span<const std::int16_t> ahead) {
    isBroken_ = true;
    std::vector<std::int16_t> sound;
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        if (beginsWith(blocks_[i], ahead, &sound)) {
            broken_(std::to_string(lostBefore(i)) + " blocks have been lost without a reason");
            return;
        }
    }
    broken_("what is heard was not sent, or not here");
}

bool SoundPromise::beginsWith(const Block &block, std::span<const std::int16_t> ahead,
                              std::vector<std::int16_t> *sound) {
    for (const PayloadFormat &format : block.formats) {
        *sound = soundOf(block, format);
        const std::size_t count = std::min(sound->size(), ahead.size());
        if (count > 0 &&
            std::equal(sound->begin(), sound->begin() + static_cast<std::ptrdiff_t>(count),
                       ahead.begin())) {
            return true;
        }
    }
    return false;
}

void SoundPromise::cleared() {
    for (Block &block : blocks_) {
        block.mayBeLost = true;
    }
}

// The next may be on its way already.
void SoundPromise::lastMayBeLost(Moment now) {
    if (isSettled(now)) {
        return;
    }
    const bool isCodecDoubted = isLastCodec_ || now <= codecTakenAt_ + longestDealing;
    if (isCodecDoubted) {
        codec_.doubted(isLastCodec_ ? now <= codecTakenAt_ + longestDealing
                                    : now <= formerCodecTakenAt_ + longestDealing);
    }
    const std::size_t first = blocks_.size() - std::min<std::size_t>(blocks_.size(), 2);
    for (std::size_t i = first; i < blocks_.size(); ++i) {
        blocks_[i].mayBeLost = true;
        if (isCodecDoubted && blocks_[i].codec == codecs_ && !blocks_[i].payload.empty()) {
            blocks_[i].formats = formatsFor(blocks_[i].payload.size());
        }
    }
}

// What the driver has is still heard.
void SoundPromise::daemonEnded() {
    cleared();
    codec_.reset();
    isLastCodec_ = false;
    isBroken_ = false;
}

std::uint64_t SoundPromise::owed(Moment before) const {
    std::uint64_t samples = 0;
    for (const Block &block : blocks_) {
        if (!block.mayBeLost && block.sent < before) {
            samples += block.payload.size() * block.formats.front().ratio / sameRate +
                       block.samples.size();
        }
    }
    return samples;
}
