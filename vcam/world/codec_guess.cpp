#include "vcam/world/codec_guess.h"

#include "src/voxo/stream_record.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint32_t outputRate = 8000;

template <typename Value>
void addOnce(std::vector<Value> &values, const Value &value) {
    if (std::find(values.begin(), values.end(), value) == values.end()) {
        values.push_back(value);
    }
}

} // namespace

CodecGuess::State CodecGuess::taken(State state, std::span<const std::uint8_t> record) {
    const auto has = [&](std::uint32_t word) { return record.size() >= word + sizeof word; };
    const auto wordAt = [&](std::uint32_t word) { return recordWord(record.data(), word); };
    if (!has(recordCodecWord)) {
        return state;
    }
    const std::uint32_t codec = wordAt(recordCodecWord);
    const std::uint32_t last = codec == codeG711  ? g711FlagWord
                               : codec == codeAac ? aacRateWord
                               : codec == codeAmr ? amrRateWord
                                                  : recordCodecWord;
    if (!has(last)) {
        return state; // too short: refused
    }
    if (codec == codeG711 && wordAt(g711FlagWord) != 0) {
        state.format.law = wordAt(g711LawWord) == codeAlaw ? Law::a : Law::u;
    } else if (codec == codeG711 || codec == codeG726) {
        state.rate = outputRate;
    } else if (codec == codeAac || codec == codeAmr) {
        state.rate = wordAt(last);
    }
    state.format.ratio = static_cast<std::uint32_t>(2 * std::uint64_t{state.rate} / outputRate);
    return state;
}

void CodecGuess::announced(std::span<const std::uint8_t> record) {
    earlier_ = std::move(before_);
    before_ = after_;
    last_.assign(record.begin(), record.end());
    isDoubted_ = false;
    update();
}

void CodecGuess::doubted(bool alsoPrevious) {
    isDoubted_ = true;
    if (alsoPrevious) {
        for (const State &state : earlier_) {
            addOnce(before_, state);
        }
    }
    update();
}

void CodecGuess::update() {
    after_.clear();
    for (const State &state : before_) {
        addOnce(after_, taken(state, last_));
    }
    if (isDoubted_) {
        for (const State &state : before_) {
            addOnce(after_, state);
        }
    }
}

void CodecGuess::clipPlayed(std::uint32_t rate, bool isOnItsWay) {
    for (State &state : isOnItsWay ? before_ : after_) {
        state.rate = rate;
    }
    if (isOnItsWay) {
        update();
        return;
    }
    earlier_ = before_ = after_; // nothing before the clip is in doubt any more
    last_.clear();
}

void CodecGuess::reset() {
    earlier_ = before_ = after_ = {{}};
    last_.clear();
    isDoubted_ = false;
}

std::vector<PayloadFormat> CodecGuess::formats() const {
    std::vector<PayloadFormat> all;
    for (const State &state : after_) {
        addOnce(all, state.format);
    }
    return all;
}
