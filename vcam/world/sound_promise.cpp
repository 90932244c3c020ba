#include "vcam/world/sound_promise.h"

#include "src/voxo/stream_record.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

namespace {

constexpr std::uint32_t outputRate = 8000;
constexpr std::uint32_t sameRate = 2;
// By so many samples a block is known among the others.
constexpr std::size_t mark = 12;
// Payloads up to this size fit all of the daemon's buffers and the platform's frames.
constexpr std::size_t alwaysFits = 4000;
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
    const std::int64_t extra = static_cast<std::int32_t>(recordWord(record.data(), recordExtraWord));
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
std::vector<std::int16_t> SoundPromise::soundOf(const Block &block, const Format &format) {
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

void SoundPromise::announced(const Format &format) {
    former_ = isFormatSure_ ? format_ : former_;
    format_ = format;
    isFormatSure_ = false;
    isLastFormat_ = true;
}

void SoundPromise::sent(Moment now, std::span<const std::uint8_t> record) {
    if (std::exchange(isLastFormat_, false) && !excusesAll_) {
        isFormatSure_ = true;
    }
    if (const auto payload = payloadOf(record)) {
        Block block = {now, {payload->begin(), payload->end()}, {}, format_, former_, false};
        block.mayBeLost =
            block.payload.size() * format_.ratio / sameRate > alwaysFits || !isFormatSure_;
        add(std::move(block));
        return;
    }
    const bool isConf = record.size() > recordCodecWord + sizeof(std::uint32_t) &&
                        recordWord(record.data(), recordTypeWord) == codeConf;
    if (!isConf) {
        return;
    }
    Format format = format_;
    const std::uint32_t codec = recordWord(record.data(), recordCodecWord);
    std::uint32_t rate = outputRate;
    if (codec == codeG711 && record.size() >= g711ConfSize &&
        recordWord(record.data(), g711FlagWord) != 0) {
        format.law = recordWord(record.data(), g711LawWord) == codeAlaw ? Law::a : Law::u;
        announced(format);
        return;
    }
    if (codec == codeAac && record.size() >= aacRateWord + sizeof rate) {
        rate = recordWord(record.data(), aacRateWord);
    } else if (codec == codeAmr && record.size() >= amrRateWord + sizeof rate) {
        rate = recordWord(record.data(), amrRateWord);
    }
    format.ratio = static_cast<std::uint32_t>(2 * std::uint64_t{rate} / outputRate);
    announced(format);
}

void SoundPromise::chunk(Moment now, std::vector<std::int16_t> samples) {
    add({now, {}, std::move(samples), format_, format_, false});
}

void SoundPromise::add(Block block) {
    if (block.payload.empty() && block.samples.empty()) {
        return;
    }
    block.former = isFormatSure_ ? block.format : block.former;
    block.mayBeLost = block.mayBeLost || excusesAll_;
    blocks_.push_back(std::move(block));
}

void SoundPromise::heard(std::span<const std::int32_t> samples, std::uint32_t channels) {
    if (isBroken_) {
        return;
    }
    std::vector<std::int16_t> one = std::exchange(unmatched_, {});
    for (std::size_t i = 0; i < samples.size(); i += channels) {
        if (samples[i] != samples[i + channels - 1]) {
            broken_("the two sides differ");
            isBroken_ = true;
            return;
        }
        one.push_back(static_cast<std::int16_t>(samples[i] >> 16));
    }
    take(one);
}

void SoundPromise::take(std::span<const std::int16_t> heard) {
    for (std::size_t at = 0; at < heard.size();) {
        if (offset_ < current_.size() && current_[offset_] == heard[at]) {
            ++at;
            if (++offset_ == current_.size()) {
                blocks_.pop_front();
                current_.clear();
                offset_ = 0;
            }
            continue;
        }
        const std::span<const std::int16_t> ahead = heard.subspan(at);
        if (ahead.size() < mark) {
            unmatched_.assign(ahead.begin(), ahead.end());
            return;
        }
        if (!resume(ahead)) {
            isBroken_ = true;
            return;
        }
    }
}

// Finds the block that begins with what is heard next. The blocks in front of it have been lost.
bool SoundPromise::resume(std::span<const std::int16_t> ahead) {
    std::vector<std::int16_t> sound;
    const std::size_t first = offset_ > 0 ? 1 : 0;
    for (std::size_t i = first; i < blocks_.size(); ++i) {
        if (!beginsWith(blocks_[i], ahead, &sound)) {
            continue;
        }
        const auto end = blocks_.begin() + static_cast<std::ptrdiff_t>(i);
        const bool isExplained = std::all_of(blocks_.begin(), end,
                                             [](const Block &block) { return block.mayBeLost; });
        if (!isExplained) {
            broken_(std::to_string(i) + " blocks have been lost without a reason");
            return false;
        }
        blocks_.erase(blocks_.begin(), end);
        current_ = std::move(sound);
        offset_ = 0;
        return true;
    }
    broken_("what is heard was not sent, or not here");
    return false;
}

bool SoundPromise::beginsWith(const Block &block, std::span<const std::int16_t> ahead,
                              std::vector<std::int16_t> *sound) const {
    for (const Format &format : {block.format, block.former}) {
        *sound = soundOf(block, format);
        const std::size_t count = std::min(sound->size(), ahead.size());
        if (count > 0 && std::equal(sound->begin(), sound->begin() + static_cast<std::ptrdiff_t>(count),
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
    lastMayBeLost();
}

void SoundPromise::lastMayBeLost() {
    isLastFormat_ = false; // and so it may never be sure
    if (!blocks_.empty()) {
        blocks_.back().mayBeLost = true;
    }
}

void SoundPromise::daemonEnded() {
    blocks_.clear();
    current_.clear();
    offset_ = 0;
    unmatched_.clear();
    format_ = former_ = {};
    isFormatSure_ = true;
    isLastFormat_ = false;
    isBroken_ = false;
}

std::uint64_t SoundPromise::owed(Moment before) const {
    std::uint64_t samples = 0;
    for (const Block &block : blocks_) {
        if (!block.mayBeLost && block.sent < before) {
            samples += block.payload.size() * block.format.ratio / sameRate + block.samples.size();
        }
    }
    return samples;
}
