// The board's output and its DAC, in time that a test makes.
#include "tests/support/temporary.h"
#include "vcam/board/devices.h"
#include "vcam/speaker/dac.h"
#include "vcam/speaker/loudspeaker.h"
#include "vcam/speaker/wav_recording.h"
#include "vcam/speaker/wav_speaker.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <memory>

namespace {

constexpr std::uint64_t period = 80 * nanosecondsPerMillisecond;

// Passes when somebody waits.
class FakeTime : public BoardTime {
public:
    std::uint64_t now() override { return now_; }
    void waitForChange(Register & /*word*/, std::uint32_t /*seen*/,
                       std::uint64_t deadline) override {
        now_ = std::min(deadline, now_ + nanosecondsPerMillisecond);
        onTick();
    }
    void wake(Register & /*word*/) override {}

    std::uint64_t now_ = 1000 * nanosecondsPerSecond;
    std::function<void()> onTick;
};

class Listener : public PeriodSink {
public:
    void play(const PlayFormat & /*format*/, std::span<const std::int32_t> samples) override {
        heard.insert(heard.end(), samples.begin(), samples.end());
    }

    std::vector<std::int32_t> heard; // 32 bits wide
};

class BoardTest : public testing::Test {
protected:
    BoardTest() : memoryFd_(memfd_create("memory", 0)) {
        EXPECT_EQ(0, ftruncate(memoryFd_, static_cast<off_t>(physicalMemorySize)));
        registers_->dacPid = static_cast<std::uint32_t>(getpid());
        time_.onTick = [this] { dac_.run(time_.now_); };
        std::uint32_t channel = 0;
        EXPECT_EQ(0, ao(file_, 0x40045800, &channel));
    }
    ~BoardTest() override { close(memoryFd_); }

    int ao(BoardFile &file, std::uint32_t code, void *record = nullptr) {
        return devices_.command(*devices_.find("/dev/ao"), file, code, record);
    }

    // 640 points of 16 bits and two sides in a queue of four periods.
    void open() {
        std::uint32_t attr[] = {8000, 1, 0, 1, 1, 4, 640, 2, 0};
        ASSERT_EQ(0, ao(file_, 0x40245801, attr));
        ASSERT_EQ(0, ao(file_, 0x00005803));
        ASSERT_EQ(0, ao(file_, 0x00005806));
    }

    // Sends a period whose samples are all `left` and `right`.
    int send(BoardFile &file, std::int16_t left, std::int16_t right, std::uint32_t milliSec = 0,
             std::uint32_t bytes = 1280, std::uint32_t mode = 1) {
        auto *const low = static_cast<std::int16_t *>(boardMapMemory(board_, zoneBase, 8192));
        std::fill(low, low + 640, left);
        std::fill(low + 1024, low + 1664, right);
        const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(low));
        std::uint32_t record[30] = {1, mode, address, address + 2048};
        record[9] = bytes;
        record[28] = milliSec;
        const int result = ao(file, 0xC0785805, record);
        boardUnmapMemory(low, 8192);
        return result;
    }

    void runFor(std::uint64_t nanoseconds) {
        for (const std::uint64_t end = time_.now_ + nanoseconds; time_.now_ < end;
             time_.now_ += nanosecondsPerMillisecond) {
            dac_.run(time_.now_);
        }
    }

    std::unique_ptr<BoardRegisters> registers_ = std::make_unique<BoardRegisters>();
    int memoryFd_;
    FakeTime time_;
    Board board_{*registers_, memoryFd_, time_};
    BoardDevices devices_{board_};
    BoardFile file_ = {UINT32_MAX};
    Listener listener_;
    Dac dac_{*registers_, time_, listener_};
};

constexpr int err(std::uint32_t value) {
    return static_cast<int>(value);
}

TEST_F(BoardTest, MakesASenderWaitAsLongAsItLikes) {
    open();
    for (std::int16_t i = 1; i <= 4; ++i) {
        EXPECT_EQ(0, send(file_, i, static_cast<std::int16_t>(-i)));
    }
    const std::uint64_t start = time_.now_;
    EXPECT_EQ(err(0xA016800F), send(file_, 5, 5, 50));
    EXPECT_EQ(50 * nanosecondsPerMillisecond, time_.now_ - start);
    EXPECT_EQ(0, send(file_, 5, -5, 1000)); // when the first has been played
    EXPECT_GE(time_.now_ - start, period);
    EXPECT_LE(time_.now_ - start, period + 3 * nanosecondsPerMillisecond);
    runFor(5 * period);
    ASSERT_EQ(5U * 1280, listener_.heard.size());
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ((i + 1) * 65536, listener_.heard[static_cast<std::size_t>(i) * 1280]);
        EXPECT_EQ(-(i + 1) * 65536, listener_.heard[static_cast<std::size_t>(i) * 1280 + 1]);
    }
    EXPECT_EQ(0U, registers_->ao.underruns); // the end of a sound is no dropout
}

TEST_F(BoardTest, CountsDropouts) {
    open();
    send(file_, 1, 1);
    runFor(period + period / 2); // half a period late
    send(file_, 1, 1);
    runFor(period + 2 * nanosecondsPerSecond); // another sound
    send(file_, 1, 1);
    runFor(period + period / 2);
    ++registers_->soundsBegun; // a sound of its own, however soon
    send(file_, 1, 1);
    runFor(2 * period);
    EXPECT_EQ(1U, registers_->ao.underruns);
}

// A file is full, then the disk: the sound goes on in the next one, and what is lost is counted.
TEST(Speaker, KeepsAsMuchAsThereIsRoomFor) {
    const TemporaryDirectory dir;
    const std::filesystem::path first = dir.path() / "speaker.wav";
    const std::vector<std::int32_t> samples(1280, 5 << 16);
    LossRegisters loss = {};
    WavSpeaker speaker(first, Gaps::leftOut, loss, 6000); // two periods of 2560 bytes
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small = {4000, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    for (int i = 0; i < 6; ++i) {
        setrlimit(RLIMIT_FSIZE, i == 3 || i == 4 ? &small : &before);
        speaker.play({8000, 16, 2}, samples);
    }
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(2U, loss.periods); // one in a file that had room for a part of it, and its next try
    EXPECT_EQ(static_cast<std::uint32_t>(EFBIG), loss.error);
    EXPECT_EQ(4 * 640, recordedFrames(first));
    const Recording tail = recordedSince(first, 640 + 100);
    EXPECT_EQ(2, tail.channels);
    EXPECT_EQ(std::vector<std::int16_t>(std::size_t{2} * (3 * 640 - 100), 5), tail.samples);
}

// What lies between two sounds is in the file, to the frame, however the rests fall.
TEST(Speaker, KeepsGapsAndEarlierFiles) {
    const TemporaryDirectory dir;
    const std::filesystem::path first = dir.path() / "speaker.wav";
    LossRegisters loss = {};
    for (int speakers = 1; speakers <= 12; ++speakers) {
        WavSpeaker speaker(first, Gaps::kept, loss);
        speaker.rest(nanosecondsPerSecond); // before the first sound there is no gap
        speaker.play({8000, 16, 1}, std::vector<std::int32_t>(10, speakers << 16));
        speaker.rest(nanosecondsPerSecond / 16000); // half a frame, twice
        speaker.rest(nanosecondsPerSecond / 16000 + 3600 * nanosecondsPerSecond);
        speaker.play({8000, 16, 1}, std::vector<std::int32_t>(2, 7 << 16));
    }
    EXPECT_EQ(10 + 1 + 3600 * 8000 + 2, recordedFrames(first));
    EXPECT_EQ((std::vector<std::int16_t>{0, 7, 7}), recordedSince(first, 10 + 3600 * 8000).samples);
    struct stat file = {};
    ASSERT_EQ(0, stat(first.c_str(), &file));
    EXPECT_GT(1000, file.st_blocks); // silence takes no room
    EXPECT_EQ(12, recordedSince(first, 0).samples[0]);
    EXPECT_EQ(11, recordedSince(dir.path() / "speaker.1.wav", 0).samples[0]);
    EXPECT_EQ(3, recordedSince(dir.path() / "speaker.9.wav", 0).samples[0]);
    EXPECT_EQ(10, std::distance(std::filesystem::directory_iterator(dir.path()), {}));
}

class HeardSamples : public PeriodSink {
public:
    explicit HeardSamples(std::vector<std::int32_t> &samples) : samples_(samples) {}
    void play(const PlayFormat & /*format*/, std::span<const std::int32_t> samples) override {
        samples_.assign(samples.begin(), samples.end());
    }

private:
    std::vector<std::int32_t> &samples_;
};

// The codec's word is an attenuation in decibels; the output's volume adds to it.
TEST(Speaker, PlaysWhatTheControlsLeave) {
    const auto registers = std::make_unique<BoardRegisters>();
    std::vector<std::int32_t> heard;
    Loudspeaker loudspeaker(*registers);
    loudspeaker.addHeard(std::make_unique<HeardSamples>(heard));
    const std::vector<std::int32_t> full = {1 << 30, -(1 << 30)};
    const auto expectHeard = [&](std::int32_t left, std::int32_t right) {
        loudspeaker.play({8000, 16, 2}, full);
        EXPECT_NEAR(left, heard[0], 1 << 14);
        EXPECT_NEAR(right, heard[1], 1 << 14);
    };
    expectHeard(1 << 30, -(1 << 30));
    registers->acodec.volume[0] = 20;
    registers->acodec.volume[1] = 40;
    expectHeard(107374182, -10737418);
    registers->ao.volumeDb = static_cast<std::uint32_t>(-20);
    expectHeard(10737418, -1073742);
    registers->ao.volumeDb = 40; // no louder than the DAC can be
    expectHeard(INT32_MAX, -(1 << 30));
    registers->acodec.volume[1] = 127;
    expectHeard(INT32_MAX, 0);
    registers->acodec.daclMute = 1;
    expectHeard(0, 0);
    registers->acodec.daclMute = 0;
    registers->acodec.volume[1] = 0;
    registers->ao.volumeDb = 0;
    registers->ao.mute[0] = 1;
    expectHeard(0, 0);
}

TEST_F(BoardTest, ChecksAsADriverDoes) {
    BoardFile unbound = {UINT32_MAX};
    EXPECT_EQ(err(0xA0168010), ao(unbound, 0x00005803));
    EXPECT_EQ(err(0xA0168007), ao(file_, 0x00005803)); // no attributes
    EXPECT_EQ(err(0xA0168005), ao(file_, 0x00005806)); // device not enabled
    for (const auto &[index, value] :
         {std::pair(0, 8001U), {1, 3U}, {3, 2U}, {5, 51U}, {5, 1U}, {6, 0U}, {6, 4097U}, {7, 0U}}) {
        std::uint32_t wrong[] = {8000, 1, 0, 1, 1, 4, 640, 2, 0};
        wrong[index] = value;
        EXPECT_EQ(err(0xA0168003), ao(file_, 0x40245801, wrong)) << index;
    }
    open();
    std::uint32_t attr[] = {8000, 1, 0, 1, 1, 4, 640, 2, 0};
    EXPECT_EQ(err(0xA0168009), ao(file_, 0x40245801, attr)); // while enabled
    EXPECT_EQ(err(0xA0168009), ao(file_, 0x00005804));       // a channel is
    EXPECT_EQ(err(0xA0168008), send(file_, 1, 1, 0, 640));   // no period of the attributes
    EXPECT_EQ(err(0xA0168008), send(file_, 1, 1, 0, 1280, 0));
    std::uint32_t wild[30] = {1, 1, 8, 8};
    wild[9] = 1280;
    EXPECT_EQ(-1, ao(file_, 0xC0785805, wild)); // an address that is not mapped
    EXPECT_EQ(EFAULT, errno);
}

} // namespace
