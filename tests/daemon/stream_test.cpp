#include "src/voxo/stream.h"

#include "tests/daemon/daemon_fixture.h"

#include <unistd.h>

#include <utility>

namespace {

using namespace driverCommand;

class StreamTest : public DaemonTest {
protected:
    // Handles a record as if it had just been received; what earlier ones left in the buffer stays.
    RecordResult handle(const Record &record) {
        std::memcpy(recvBuf, record.data(), record.size());
        recvLength = static_cast<std::uint32_t>(record.size());
        const RecordResult result = voxoHandleRecord(&voxoContext, &state_);
        voxoReportDroppedWhenDue(&state_);
        return result;
    }

    std::string reportOf(const Record &record) {
        return outputOf([&] { EXPECT_EQ(RecordResult::goOn, handle(record)); });
    }

    void quietly(const Record &record) {
        const Captured quiet;
        EXPECT_EQ(RecordResult::goOn, handle(record));
    }

    const std::vector<std::uint8_t> payload_ = std::vector<std::uint8_t>(640, 0x33);
    VoxoLoopState state_;
};

TEST_F(StreamTest, FollowsCodecInformation) {
    EXPECT_EQ("[voxo] src/voxo:#: CI of AAC4 Sample Rate:16000 Channel Num:2\n"
              "[voxo] src/voxo:#: src/voxo:#: Current Sample rate=16000 Frequecy ratio*2=4 Output "
              "Size=2560\n",
              reportOf(codecInfo("AAC4", 2, 16000)));
    EXPECT_EQ("debug CI of AAC4 Sample Rate:16000 Channel Num:2\n"
              "debug src/voxo:#: Current Sample rate=16000 Frequecy ratio*2=4 Output Size=2560\n",
              withoutLines(takeSystemLog()));
    EXPECT_EQ(4U, state_.dwDoubleFreqRatio);
    EXPECT_NE(std::string::npos,
              reportOf(codecInfo("GAMR", 44100, 0)).find("CI of AMR Sample Rate:44100\n"));
    EXPECT_EQ(11U, state_.dwDoubleFreqRatio);
    state_.dwVoxoOutSample = 24000; // as a clip leaves it
    reportOf(lawInfo("ALAW"));
    EXPECT_EQ(6U, state_.dwDoubleFreqRatio); // from the rate as it is
    EXPECT_EQ("dwVoxoInSampleRate: 8000, dwVoxoOutSample: 8000, dwDoubleFreqRatio: 2\n",
              errorsOf([&] { handle(codecInfo("G711", 0, 0, 0)); }));
    EXPECT_EQ(2U, state_.dwDoubleFreqRatio);
    reportOf(codecInfo("GAMR", 3999, 0));
    EXPECT_EQ(0U, state_.dwDoubleFreqRatio);
    EXPECT_EQ("", reportOf(audioRecord(payload_))); // ratio 0: not written
    reportOf(codecInfo("G726", 0, 0));
    EXPECT_EQ(2U, state_.dwDoubleFreqRatio);
}

TEST_F(StreamTest, NeedsTheWordsOfTheCodec) {
    state_.nextDropReport = Deadline(3600'000);
    for (const auto &[codec, size] :
         {std::pair("G711", 64U), {"AAC4", 52U}, {"GAMR", 48U}, {"G726", 44U}}) {
        Record record = codecInfo(codec, 8000, 8000);
        record.resize(size);
        quietly(record);
        EXPECT_EQ(0U, std::exchange(state_.droppedRecords, 0)) << codec;
        record.pop_back();
        quietly(record);
        EXPECT_EQ(1U, std::exchange(state_.droppedRecords, 0)) << codec;
    }
}

TEST_F(StreamTest, DropsHostileRecordsWithAReportAMinute) {
    const auto altered = [&](std::uint32_t offset, std::uint32_t word) {
        Record record = audioRecord(payload_);
        putWord(record, offset, word);
        return record;
    };
    Record torn = lawInfo("ALAW");
    torn.pop_back();
    const Record hostile[] = {Record(1),
                              newRecord("????", recordBody - 1),
                              torn,
                              altered(recordSizeWord, 43),
                              altered(recordSizeWord, 685), // more than was received
                              altered(recordSizeWord, 0x7FFFFFFF),
                              altered(recordSizeWord, 0x80000000),
                              altered(recordExtraWord, 641),
                              altered(recordExtraWord, 0x7FFFFFFF),
                              altered(recordExtraWord, 0x80000000),
                              altered(recordExtraWord, 0xFFFFFFFF), // would make the payload longer
                              audioRecord(std::vector<std::uint8_t>(4001))};
    EXPECT_EQ("[voxo] src/voxo:#: Stream record out of limits, dropped\n", reportOf(hostile[0]));
    for (const Record &record : hostile) {
        EXPECT_EQ("", reportOf(record));
        EXPECT_EQ("", reportOf(audioRecord(payload_))); // good ones between them change nothing
    }
    EXPECT_EQ(640, state_.lastInputSize);
    state_.nextDropReport = Deadline(0); // a minute later
    EXPECT_EQ("[voxo] src/voxo:#: 12 stream records out of limits, dropped\n",
              reportOf(newRecord("????", recordBody)));
    EXPECT_EQ("", reportOf(hostile[0]));
    EXPECT_EQ("[voxo] src/voxo:#: Stream record out of limits, dropped\n",
              outputOf([&] { voxoReportDropped(&state_); })); // at the end
}

// Every payload and ratio at the edge of the buffers, the odd last frame included.
TEST_F(StreamTest, HoldsTheBuffersAtEveryRatio) {
    state_.nextDropReport = Deadline(3600'000);
    for (std::uint32_t rate = 4000; rate <= 200000; rate += 4000) {
        quietly(codecInfo("GAMR", rate, 0));
        const std::uint32_t k = 2 * rate / 8000;
        const std::uint32_t pairs = 16000 / (4 * k);
        const std::uint32_t longest = k == 2 ? 4000 : std::min(2 * pairs, 4000U);
        for (std::uint32_t length = longest - 1; length <= longest + 1; ++length) {
            state_.droppedRecords = 0;
            quietly(audioRecord(std::vector<std::uint8_t>(length, 0x55)));
            EXPECT_EQ(length > longest ? 1U : 0U, state_.droppedRecords) << rate << ' ' << length;
        }
    }
    state_.droppedRecords = 0;
    quietly(codecInfo("GAMR", 0x80000000, 0)); // twice that leaves 32 bits
    quietly(audioRecord({1, 2}));
    EXPECT_EQ(1U, state_.droppedRecords);
}

// An empty payload is decoded at the frame size all the same; that must stay in the buffer.
TEST_F(StreamTest, TakesAnEmptyPayload) {
    EXPECT_NE(std::string::npos, reportOf(audioRecord({})).find("write audio error\n"));
    EXPECT_EQ(0, state_.lastInputSize);
    EXPECT_NE(std::string::npos,
              reportOf(audioRecord({}, 16000 - recordBody)).find("out of limits"));
}

TEST_F(StreamTest, TellsOfWhatFails) {
    quietly(lawInfo("none"));
    EXPECT_TRUE(reportOf(audioRecord(payload_))
                    .ends_with("[voxo] src/voxo:#: src/voxo:#: decode failed!\n"));
    quietly(lawInfo("ULAW"));
    device().answer(aoGetReady, -1);
    EXPECT_TRUE(reportOf(audioRecord(payload_))
                    .ends_with("[voxo] src/voxo:#: src/voxo:#: write audio error\n"));
    // A decoder that cannot be set up stops the daemon.
    const auto setIO = voxoContext.decoder.setIO;
    voxoContext.decoder.setIO = [](G711Opt *, std::uint8_t *, std::int16_t *, std::int32_t) {
        return -1;
    };
    const std::string out =
        outputOf([&] { EXPECT_EQ(RecordResult::stopDaemon, handle(audioRecord(payload_))); });
    EXPECT_EQ("[voxo] src/voxo:#: src/voxo:#: setIO failed!\n", out);
    voxoContext.decoder.setIO = setIO;
}

TEST_F(StreamTest, MakesTheSocket) {
    const std::filesystem::path path = dir_.path() / "stream";
    std::ofstream(path) << "stale";
    const UniqueFd fd(voxoCreateStreamSocket(path.c_str()));
    EXPECT_TRUE(std::filesystem::is_socket(path));
    EXPECT_EQ(std::filesystem::perms(0666), std::filesystem::status(path).permissions());
    char byte = 0;
    EXPECT_EQ(-1, read(fd.get(), &byte, 1)); // does not wait
    EXPECT_EQ("", outputOf([] { EXPECT_EQ(-1, voxoCreateStreamSocket("")); }));
    EXPECT_EQ("cannot create /no/such/dir/s (2).No such file or directory\n",
              outputOf([] { EXPECT_EQ(-1, voxoCreateStreamSocket("/no/such/dir/s")); }));
}

TEST_F(StreamTest, OpensOnlyForG711) {
    voxoContext.decoder.fourCC = fourCharacterCode('G', '7', '2', ' ');
    EXPECT_EQ("Sorry, current only support G711\n",
              outputOf([] { EXPECT_EQ(-1, voxoOpenDevice(&voxoContext)); }));
}

} // namespace
