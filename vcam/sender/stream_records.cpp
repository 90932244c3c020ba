#include "vcam/sender/stream_records.h"

#include "src/voxo/stream_record.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::uint32_t codeUnknown = fourCharacterCode('V', 'C', 'A', 'M');
constexpr std::size_t longestRecord = 20000; // more than the daemon takes

StreamRecord newRecord(std::size_t size, std::uint32_t type) {
    StreamRecord record(size);
    setRecordWord(record.data(), recordSizeWord, static_cast<std::uint32_t>(size));
    setRecordWord(record.data(), recordTypeWord, type);
    return record;
}

} // namespace

StreamRecord plainRecord() {
    StreamRecord record = newRecord(g711ConfSize, codeConf);
    setRecordWord(record.data(), recordCodecWord, codeG711);
    return record;
}

StreamRecord lawRecord(Law law) {
    StreamRecord record = plainRecord();
    setRecordWord(record.data(), g711LawWord, law == Law::a ? codeAlaw : codeUlaw);
    setRecordWord(record.data(), g711ChannelsWord, 1);
    setRecordWord(record.data(), g711FlagWord, 1);
    return record;
}

StreamRecord aacRecord(std::uint32_t rate) {
    StreamRecord record = newRecord(aacRateWord + sizeof rate, codeConf);
    setRecordWord(record.data(), recordCodecWord, codeAac);
    setRecordWord(record.data(), aacChannelsWord, 1);
    setRecordWord(record.data(), aacRateWord, rate);
    return record;
}

StreamRecord amrRecord(std::uint32_t rate) {
    StreamRecord record = newRecord(amrRateWord + sizeof rate, codeConf);
    setRecordWord(record.data(), recordCodecWord, codeAmr);
    setRecordWord(record.data(), amrRateWord, rate);
    return record;
}

StreamRecord audioRecord(std::span<const std::uint8_t> payload, std::uint32_t extra) {
    StreamRecord record = newRecord(recordBody + extra + payload.size(), codeG711);
    setRecordWord(record.data(), recordExtraWord, extra);
    std::copy(payload.begin(), payload.end(), record.begin() + recordBody + extra);
    return record;
}

StreamRecord unknownRecord() {
    return newRecord(recordBody, codeUnknown);
}

StreamRecord hostileRecord(std::mt19937 &random) {
    const std::size_t sizes[] = {0, random() % recordBody, recordBody, recordBody + random() % 1000,
                                 longestRecord};
    StreamRecord record(sizes[random() % std::size(sizes)]);
    for (std::uint8_t &byte : record) {
        byte = static_cast<std::uint8_t>(random());
    }
    if (record.size() >= recordBody) {
        // Audio of a size that is not there, with more header than size, or neither.
        const auto size = static_cast<std::uint32_t>(record.size());
        setRecordWord(record.data(), recordSizeWord, random() % 2 == 0 ? size + 1 : size);
        setRecordWord(record.data(), recordTypeWord, codeG711);
        setRecordWord(record.data(), recordExtraWord, random() % 2 == 0 ? size : 0);
    }
    return record;
}
