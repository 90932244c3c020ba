#include "src/voxo/stream.h"

#include "src/voxo/match_rate.h"
#include "tests/daemon/daemon_fixture.h"
#include "vcam/cli/law_codec.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

class StreamTest : public DaemonTest {
protected:
    // Handles a record as if it had just been received; what earlier ones left in the buffer stays.
    RecordResult handle(const Record &record) {
        std::memcpy(recvBuf, record.data(), record.size());
        recvLength = static_cast<std::uint32_t>(record.size());
        return voxoHandleRecord(&voxoContext, &state_);
    }

    std::string reportOf(const Record &record) {
        return outputOf([&] { EXPECT_EQ(RecordResult::goOn, handle(record)); });
    }

    void quietly(const Record &record) {
        const Captured quiet;
        EXPECT_EQ(RecordResult::goOn, handle(record));
    }

    // Plays one payload, behind further header bytes, and expects its samples as an independent
    // decoder hears them.
    void expectPlaysExactly() {
        quietly(codecInfo("G726", 0, 0)); // back to the plain rate
        for (const Law law : {Law::a, Law::u}) {
            quietly(lawInfo(law == Law::a ? "ALAW" : "ULAW"));
            const Captured quiet;
            flush();
            forgetHeard();
            handle(audioRecord(payload(13), 20));
            flush();
            std::vector<std::int16_t> stereo;
            for (const std::int16_t sample : lawDecode(payload(13), law)) {
                stereo.insert(stereo.end(), {sample, sample});
            }
            EXPECT_NE(heard().end(),
                      std::search(heard().begin(), heard().end(), stereo.begin(), stereo.end()));
        }
    }

    // Every code, in an order that a step of odd size makes.
    static std::vector<std::uint8_t> payload(std::size_t step) {
        std::vector<std::uint8_t> payload(640);
        for (std::size_t i = 0; i < payload.size(); ++i) {
            payload[i] = static_cast<std::uint8_t>(i * step);
        }
        return payload;
    }

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
    reportOf(codecInfo("????", 0, 0));
    EXPECT_EQ(3999U, state_.dwVoxoOutSample);
    EXPECT_EQ("", reportOf(audioRecord(payload(1)))); // ratio 0: not written
    reportOf(codecInfo("G726", 0, 0));
    EXPECT_EQ(2U, state_.dwDoubleFreqRatio);
    EXPECT_EQ("", reportOf(newRecord("AAC4", 700)));
    expectPlaysExactly();
}

TEST_F(StreamTest, ExpandsAtARatio) {
    quietly(codecInfo("AAC4", 1, 16000));
    forgetHeard();
    for (int i = 0; i < 4; ++i) {
        quietly(audioRecord(payload(1)));
    }
    const Samples mono = lawDecode(payload(1), Law::u);
    ASSERT_GE(heard().size(), 4U * 640);
    for (std::size_t frame = 0; frame < 1280; ++frame) { // A, A, B, B
        ASSERT_EQ(mono[frame / 4 * 2 + frame % 4 / 2], heard()[2 * frame]) << frame;
    }
}

TEST(MatchRate, RepeatsPairs) {
    std::int16_t in[12] = {1, -1, 2, -2, 3, -3, 4, -4, 5, -5, 99, 99};
    const struct {
        std::uint32_t k, frames;
        std::vector<int> left;
        std::uint32_t size;
    } cases[] = {{1, 4, {2, 4}, 8},
                 {3, 4, {1, 2, 2, 3, 4, 4}, 24},
                 {4, 4, {1, 1, 2, 2, 3, 3, 4, 4}, 32},
                 {0, 4, {}, 0},
                 {4, 5, {1, 1, 2, 2, 3, 3, 4, 4, 5, 5}, 40},
                 {3, 5, {1, 2, 2, 3, 4, 4, 5}, 30}};
    for (const auto &rate : cases) {
        std::int16_t out[64] = {};
        std::uint32_t size = rate.frames * 4;
        EXPECT_EQ(out, voxoMatchRate(in, out, &size, rate.k));
        EXPECT_EQ(rate.size, size) << rate.k;
        for (std::size_t i = 0; i < rate.left.size(); ++i) {
            EXPECT_EQ(rate.left[i], out[2 * i]) << rate.k;
            EXPECT_EQ(-rate.left[i], out[2 * i + 1]) << rate.k;
        }
        // What is written is what the room is counted for.
        const auto room = static_cast<std::size_t>(voxoMatchRoom(rate.frames * 4, rate.k));
        EXPECT_EQ((rate.frames + 1) / 2 * rate.k * 4, room);
        for (std::size_t i = room / 2; i < std::size(out); ++i) {
            EXPECT_EQ(0, out[i]);
        }
    }
    std::uint32_t size = 16;
    EXPECT_EQ(in, voxoMatchRate(in, nullptr, &size, 2));
    EXPECT_EQ(16U, size);
}

TEST_F(StreamTest, DropsARunOfHostileRecordsWithOneReport) {
    const auto altered = [](std::size_t offset, std::uint32_t word) {
        Record record = audioRecord(payload(1));
        putWord(record, offset, word);
        return record;
    };
    const auto shortened = [](Record record, std::size_t size) {
        record.resize(size);
        return record;
    };
    const Record hostile[] = {
        Record(1),
        shortened(audioRecord({}), 43),
        altered(0, 0),
        altered(0, 43),
        altered(0, 685), // more than was received
        altered(0, 0x7FFFFFFF),
        altered(0, 0x80000000),
        altered(0, 0xFFFFFFFF),
        altered(40, 641),
        altered(40, 0x7FFFFFFF),
        altered(40, 0x80000000),
        altered(40, 0xFFFFFFFF), // would make the payload longer
        audioRecord(std::vector<std::uint8_t>(4001)),
        shortened(lawInfo("ALAW"), 63),
        shortened(codecInfo("AAC4", 1, 16000), 51),
        shortened(codecInfo("GAMR", 16000, 0), 47),
    };
    EXPECT_EQ("[voxo] src/voxo:#: Stream record out of limits, dropped\n", reportOf(hostile[0]));
    for (const Record &record : hostile) {
        EXPECT_EQ("", reportOf(record));
    }
    EXPECT_EQ(640, state_.lastInputSize);
    EXPECT_EQ(640U, voxoContext.decoder.codecDesc->handle->frameSize);
    EXPECT_TRUE(heard().empty());
    EXPECT_EQ("", reportOf(newRecord("????", 44))); // not handled, so no end of the run
    const std::string end = reportOf(lawInfo("ULAW"));
    EXPECT_TRUE(end.starts_with("[voxo] src/voxo:#: 17 stream records out of limits, dropped\n"));
    reportOf(hostile[0]); // a run of one, of which nothing is left to tell
    EXPECT_EQ(std::string::npos, reportOf(lawInfo("ULAW")).find("out of limits"));
    expectPlaysExactly();
}

// Every payload and ratio at the edge of the buffers, the odd last frame included.
TEST_F(StreamTest, HoldsTheBuffersAtEveryRatio) {
    for (std::uint32_t rate = 4000; rate <= 200000; rate += 4000) {
        quietly(codecInfo("GAMR", rate, 0));
        const std::uint32_t k = 2 * rate / 8000;
        const std::uint32_t pairs = 16000 / (4 * k);
        const std::uint32_t longest = k == 2 ? 4000 : std::min(2 * pairs, 4000U);
        for (std::uint32_t length = longest - 1; length <= longest + 1; ++length) {
            const std::string report =
                reportOf(audioRecord(std::vector<std::uint8_t>(length, 0x55)));
            const bool dropped = report.find("out of limits") != std::string::npos;
            EXPECT_EQ(length > longest, dropped) << rate << ' ' << length;
        }
    }
    for (const std::uint32_t rate : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        quietly(codecInfo("GAMR", rate, 0));
        EXPECT_NE("", reportOf(audioRecord({1, 2})));
    }
    expectPlaysExactly();
}

TEST_F(StreamTest, KeepsRecordsBehindAnOddOneInStep) {
    quietly(codecInfo("GAMR", 12000, 0)); // ratio 3
    forgetHeard();
    for (int i = 0; i < 8; ++i) {
        quietly(audioRecord(std::vector<std::uint8_t>(641, 0x80)));
    }
    for (std::size_t i = 0; i < heard().size(); ++i) {
        ASSERT_EQ(32124, heard()[i]) << i; // left and right never part
    }
    quietly(codecInfo("GAMR", 4000, 0)); // ratio 1 leaves half a frame of a single sample
    EXPECT_EQ(std::string::npos, reportOf(audioRecord({0x80})).find("audio error"));
    expectPlaysExactly();
}

// An empty payload is decoded at the frame size all the same; that must stay in the buffer.
TEST_F(StreamTest, TakesAnEmptyPayload) {
    EXPECT_NE(std::string::npos, reportOf(audioRecord({})).find("write audio error\n"));
    EXPECT_EQ(0, state_.lastInputSize);
    EXPECT_NE(std::string::npos, reportOf(audioRecord({}, 16000 - 44)).find("out of limits"));
    expectPlaysExactly();
}

TEST_F(StreamTest, TellsOfWhatFails) {
    quietly(lawInfo("none"));
    EXPECT_TRUE(reportOf(audioRecord(payload(1)))
                    .ends_with("[voxo] src/voxo:#: src/voxo:#: decode failed!\n"));
    quietly(lawInfo("ULAW"));
    device().answer(0x8004581B, -1);
    EXPECT_TRUE(reportOf(audioRecord(payload(1)))
                    .ends_with("[voxo] src/voxo:#: src/voxo:#: write audio error\n"));
    // A decoder that cannot be set up stops the daemon.
    const auto setIO = voxoContext.decoder.setIO;
    voxoContext.decoder.setIO = [](G711Opt *, std::uint8_t *, std::int16_t *, std::int32_t) {
        return -1;
    };
    const std::string out =
        outputOf([&] { EXPECT_EQ(RecordResult::stopDaemon, handle(audioRecord(payload(1)))); });
    EXPECT_EQ("[voxo] src/voxo:#: src/voxo:#: setIO failed!\n", out);
    voxoContext.decoder.setIO = setIO;
}

TEST_F(StreamTest, MakesTheSocket) {
    const std::filesystem::path path = dir_.path() / "stream";
    std::ofstream(path) << "stale";
    const int fd = voxoCreateStreamSocket(path.c_str());
    ASSERT_GE(fd, 0);
    struct stat status = {};
    lstat(path.c_str(), &status);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
    EXPECT_EQ(0666U, status.st_mode & 0777);
    char byte = 0;
    EXPECT_EQ(-1, read(fd, &byte, 1)); // does not wait
    close(fd);
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
