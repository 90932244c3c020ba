// The board's devices and its DAC, in time that a test makes.
#include "mpp/device/device.h"
#include "vcam/board/ao_queue.h"
#include "vcam/board/devices.h"
#include "vcam/speaker/dac.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>

namespace {

constexpr std::uint64_t period = 80 * nanosecondsPerMillisecond;

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
    std::function<void()> onTick = [] {};
};

class Listener : public PeriodSink {
public:
    void play(const PlayFormat &format, std::span<const std::int32_t> samples) override {
        format_ = format;
        heard.insert(heard.end(), samples.begin(), samples.end());
    }

    PlayFormat format_ = {};
    std::vector<std::int32_t> heard;
};

class BoardTest : public testing::Test {
protected:
    BoardTest() : memoryFd_(memfd_create("memory", 0)) {
        EXPECT_EQ(0, ftruncate(memoryFd_, static_cast<off_t>(physicalMemorySize)));
        registers_->dacPid = static_cast<std::uint32_t>(getpid());
        time_.onTick = [this] { dac_.run(time_.now_); };
        for (std::uint32_t i = 0; i < 2; ++i) {
            EXPECT_EQ(0, word(files_[i], 0x40045800, i));
        }
    }
    ~BoardTest() override { close(memoryFd_); }

    int command(const char *path, std::uint32_t code, void *record) {
        return devices_.command(*devices_.find(path), files_[0], code, record);
    }
    int ao(BoardFile &file, std::uint32_t code, void *record = nullptr) {
        return devices_.command(*devices_.find("/dev/ao"), file, code, record);
    }
    int word(BoardFile &file, std::uint32_t code, std::uint32_t value) {
        return ao(file, code, &value);
    }

    void open(std::uint32_t mode = 1, std::uint32_t width = 1, std::uint32_t frames = 4) {
        std::uint32_t attr[] = {8000, width, 0, mode, 1, frames, 640, 2, 0};
        ASSERT_EQ(0, ao(files_[0], 0x40245801, attr));
        ASSERT_EQ(0, ao(files_[0], 0x00005803));
        ASSERT_EQ(0, ao(files_[0], 0x00005806));
    }

    // Sends a period whose samples are all `left` and `right`.
    int send(BoardFile &file, std::int16_t left, std::int16_t right, std::int32_t milliSec = 0,
             std::uint32_t bytes = 1280, std::uint32_t mode = 1) {
        auto *const low = static_cast<std::int16_t *>(boardMapMemory(board_, zoneBase, 8192));
        std::fill(low, low + 640, left);
        std::fill(low + 1024, low + 1664, right);
        const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(low));
        std::uint32_t record[30] = {1, mode, address, address + 2048};
        record[9] = bytes;
        record[28] = static_cast<std::uint32_t>(milliSec);
        const int result = ao(file, 0xC0785805, record);
        boardUnmapMemory(low, 8192);
        return result;
    }

    AoRegisters &regs() { return registers_->ao; }
    void runFor(std::uint64_t nanoseconds) {
        const std::uint64_t end = time_.now_ + nanoseconds;
        for (; time_.now_ < end; time_.now_ += nanosecondsPerMillisecond) {
            dac_.run(time_.now_);
        }
    }

    std::unique_ptr<BoardRegisters> registers_ = std::make_unique<BoardRegisters>();
    int memoryFd_;
    FakeTime time_;
    Board board_{*registers_, memoryFd_, time_};
    BoardDevices devices_{board_};
    BoardFile files_[2] = {{UINT32_MAX}, {UINT32_MAX}};
    Listener listener_;
    Dac dac_{*registers_, time_, listener_};
};

constexpr int err(std::uint32_t value) {
    return static_cast<int>(value);
}

TEST_F(BoardTest, PlaysInItsOwnTime) {
    open();
    for (std::int16_t i = 1; i <= 4; ++i) {
        EXPECT_EQ(0, send(files_[0], i, static_cast<std::int16_t>(-i)));
    }
    EXPECT_EQ(4U, aoQueueFill(regs().channels[0]));
    EXPECT_EQ(err(0xA016800F), send(files_[0], 5, 5));
    EXPECT_EQ(1U, regs().channels[0].refused);
    dac_.run(time_.now_);
    runFor(period - nanosecondsPerMillisecond);
    EXPECT_EQ(0U, regs().periodsPlayed);
    // A sender that waits gets in when a period has left.
    const std::uint64_t before = time_.now_;
    EXPECT_EQ(0, send(files_[0], 5, -5, 1000));
    EXPECT_LE(time_.now_ - before, 3 * nanosecondsPerMillisecond);
    const std::uint64_t waited = time_.now_;
    EXPECT_EQ(err(0xA016800F), send(files_[0], 6, 6, 50)); // not for ever
    EXPECT_EQ(50 * nanosecondsPerMillisecond, time_.now_ - waited);
    runFor(5 * period);
    EXPECT_EQ(5U, regs().periodsPlayed);
    EXPECT_EQ(0U, regs().starved); // the end of a sound is no dropout
    ASSERT_EQ(5U * 1280, listener_.heard.size());
    EXPECT_EQ((PlayFormat{8000, 16, 2}), listener_.format_);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ((i + 1) * 65536, listener_.heard[static_cast<std::size_t>(i) * 1280]);
        EXPECT_EQ(-(i + 1) * 65536, listener_.heard[static_cast<std::size_t>(i) * 1280 + 1]);
    }
    EXPECT_EQ(5U, regs().peak);
}

TEST_F(BoardTest, CountsDropouts) {
    open();
    send(files_[0], 1, 1);
    runFor(period + period / 2); // half a period late
    send(files_[0], 1, 1);
    runFor(period);
    EXPECT_EQ(1U, regs().starved);
    runFor(2 * nanosecondsPerSecond); // another sound
    send(files_[0], 1, 1);
    runFor(2 * period);
    EXPECT_EQ(1U, regs().starved);
}

TEST_F(BoardTest, ClearsAndPauses) {
    open();
    send(files_[0], 1, 1);
    send(files_[0], 2, 2);
    dac_.run(time_.now_); // the first is playing
    EXPECT_EQ(0, ao(files_[0], 0x0000580C));
    EXPECT_EQ(0U, aoQueueFill(regs().channels[0]));
    EXPECT_EQ(0, send(files_[0], 3, 3));
    EXPECT_EQ(0, ao(files_[0], 0x00005808));
    runFor(4 * period);
    EXPECT_TRUE(listener_.heard.empty()); // what was cleared is not heard
    EXPECT_EQ(0, ao(files_[0], 0x00005809));
    runFor(2 * period);
    ASSERT_FALSE(listener_.heard.empty());
    EXPECT_EQ(3 * 65536, listener_.heard[0]);
    EXPECT_EQ(0, ao(files_[0], 0x00005807));
    EXPECT_EQ(err(0xA0168005), send(files_[0], 1, 1));
}

TEST_F(BoardTest, MixesChannels) {
    open();
    ASSERT_EQ(0, ao(files_[1], 0x00005806));
    send(files_[0], 1000, 30000);
    send(files_[1], 234, 30000);
    runFor(2 * period);
    ASSERT_EQ(1280U, listener_.heard.size());
    EXPECT_EQ(1234 * 65536, listener_.heard[0]);
    EXPECT_EQ(INT32_MAX, listener_.heard[1]);
    EXPECT_EQ(1U, regs().periodsPlayed);
}

TEST_F(BoardTest, PlaysAsPeriodsCome) {
    registers_->pace = paceAsTheyCome;
    open();
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(0, send(files_[0], 1, 1));
        dac_.run(time_.now_);
    }
    EXPECT_EQ(100U, regs().periodsPlayed);
}

TEST_F(BoardTest, ChecksAsADriverDoes) {
    std::uint32_t attr[] = {8000, 1, 0, 1, 1, 4, 640, 2, 0};
    BoardFile unbound = {UINT32_MAX};
    EXPECT_EQ(err(0xA0168010), ao(unbound, 0x00005803));
    EXPECT_EQ(err(0xA0168002), word(unbound, 0x40045800, 16));
    EXPECT_EQ(err(0xA0168007), ao(files_[0], 0x00005803)); // no attributes
    EXPECT_EQ(err(0xA0168005), ao(files_[0], 0x00005806)); // device not enabled
    for (const auto &[index, value] :
         {std::pair(0, 8001U), {1, 3U}, {3, 2U}, {5, 51U}, {5, 1U}, {6, 0U}, {6, 4097U}, {7, 0U}}) {
        std::uint32_t wrong[9];
        std::memcpy(wrong, attr, sizeof wrong);
        wrong[index] = value;
        EXPECT_EQ(err(0xA0168003), ao(files_[0], 0x40245801, wrong)) << index;
    }
    open();
    EXPECT_EQ(err(0xA0168009), ao(files_[0], 0x40245801, attr)); // while enabled
    EXPECT_EQ(err(0xA0168009), ao(files_[0], 0x00005804));       // a channel is
    EXPECT_EQ(err(0xA0168008), send(files_[0], 1, 1, 0, 640));
    EXPECT_EQ(err(0xA0168008), send(files_[0], 1, 1, 0, 1280, 0));
    EXPECT_EQ(err(0xA0168003), word(files_[0], 0x40045814, 7));
    EXPECT_EQ(-1, ao(files_[0], 0x40045814)); // without a record
    EXPECT_EQ(EFAULT, errno);
    EXPECT_EQ(-1, ao(files_[0], 0x0000DEAD));
    EXPECT_EQ(ENOTTY, errno);
    std::uint32_t wild[30] = {1, 1, 8, 8};
    wild[9] = 1280;
    EXPECT_EQ(-1, ao(files_[0], 0xC0785805, wild)); // an address that is not mapped
    EXPECT_EQ(EFAULT, errno);
    std::uint32_t volume[2] = {128, 0};
    EXPECT_EQ(-1, command("/dev/acodec", 0xC008410C, volume));
}

TEST_F(BoardTest, FailsWhatItIsToldTo) {
    EXPECT_TRUE(boardFail(*registers_, 0x00005900, 2, -7));
    EXPECT_EQ(0, command("/dev/sys", 0x00005900, nullptr));
    EXPECT_EQ(-7, command("/dev/sys", 0x00005900, nullptr));
    EXPECT_EQ(0, command("/dev/sys", 0x00005900, nullptr));
}

struct Block {
    std::uint32_t phys, zero1, size, zero2, virt, mapping;
    char name[16];
    char zone[32];
    std::uint32_t zero3;
};

TEST_F(BoardTest, HandsOutMemory) {
    Block blocks[2] = {};
    for (Block &block : blocks) {
        block.size = 65536;
        block.mapping = 0x103;
        std::strcpy(block.name, "block");
        EXPECT_EQ(0, command("/dev/mmz_userdev", 0xC04C6D0A, &block));
        EXPECT_EQ(0, command("/dev/mmz_userdev", 0xC04C6D15, &block));
    }
    EXPECT_GE(blocks[1].phys, blocks[0].phys + 65536);
    auto *const memory =
        reinterpret_cast<unsigned char *>(static_cast<std::uintptr_t>(blocks[1].virt));
    memory[65535] = 42;
    // The same byte through physical memory.
    auto *const mapped = static_cast<unsigned char *>(
        devices_.find("/dev/mem")->map(files_[0], 4096, blocks[1].phys + 0xF000));
    EXPECT_EQ(42, mapped[4095]);
    boardUnmapMemory(mapped, 4096);
    Block found = {};
    found.virt = blocks[1].virt + 100;
    EXPECT_EQ(0, command("/dev/mmz_userdev", 0xC04C6D17, &found));
    EXPECT_EQ((blocks[1].phys + 100) | 1, found.phys); // cached
    for (Block &block : blocks) {
        EXPECT_EQ(0, command("/dev/mmz_userdev", 0xC04C6D16, &block));
        EXPECT_EQ(0, command("/dev/mmz_userdev", 0x404C6D0C, &block));
        EXPECT_EQ(-1, command("/dev/mmz_userdev", 0x404C6D0C, &block));
    }
    Block huge = {};
    huge.size = zoneSize + 1;
    EXPECT_EQ(-1, command("/dev/mmz_userdev", 0xC04C6D0A, &huge));
    registers_->zones.blocks[0].owner = 0x7FFFFFFF; // of a process that has died
    registers_->zones.blocks[0].phys = zoneBase;
    registers_->zones.blocks[0].size = zoneSize;
    huge.size = zoneSize;
    EXPECT_EQ(0, command("/dev/mmz_userdev", 0xC04C6D0A, &huge));
}

TEST_F(BoardTest, ClosesWhatKilledProcessesLeftOpen) {
    open();
    EXPECT_EQ(err(0xA0168009), ao(files_[0], 0x00005804));
    regs().channels[0].owner = 0x7FFFFFFF;
    EXPECT_EQ(0, ao(files_[0], 0x00005804));
    EXPECT_EQ(0U, regs().channels[0].enabled);
}

TEST_F(BoardTest, KeepsPoolsAndLogs) {
    std::uint32_t pool[9] = {UINT32_MAX, 4096, 3, UINT32_MAX, 0};
    EXPECT_EQ(0, command("/dev/vb", 0xC0244201, pool));
    std::uint32_t handles[3] = {};
    for (std::uint32_t &handle : handles) {
        std::uint32_t block[9] = {UINT32_MAX, 4000, 0, UINT32_MAX, 1};
        EXPECT_EQ(0, command("/dev/vb", 0xC0244203, block));
        handle = block[3];
    }
    std::uint32_t block[9] = {pool[0], 0, 0, UINT32_MAX, 0};
    EXPECT_NE(0, command("/dev/vb", 0xC0244203, block)); // all are taken
    std::uint32_t word = handles[2];
    EXPECT_EQ(0, command("/dev/vb", 0xC0044205, &word));
    std::uint32_t info[4] = {pool[0]};
    EXPECT_EQ(0, command("/dev/vb", 0xC010420B, info));
    EXPECT_EQ(info[2] + 2 * 4096, word);
    word = pool[0];
    EXPECT_EQ(err(0xA0018012), command("/dev/vb", 0xC0044202, &word)); // in use
    for (std::uint32_t handle : handles) {
        EXPECT_EQ(0, command("/dev/vb", 0xC0044204, &handle));
        EXPECT_NE(0, command("/dev/vb", 0xC0044204, &handle));
    }
    EXPECT_EQ(0, command("/dev/vb", 0xC0044202, &word));

    boardLog(board_, "%s\n", std::string(100, 'x').c_str());
    char text[64];
    EXPECT_EQ(64, devices_.find("/dev/logmpp")->read(files_[0], text, sizeof text));
    EXPECT_EQ(37, devices_.find("/dev/logmpp")->read(files_[0], text, sizeof text));
    EXPECT_EQ(0, devices_.find("/dev/logmpp")->read(files_[0], text, sizeof text));
}

TEST_F(BoardTest, GrantsTuningRuns) {
    std::uint32_t record[2] = {1, 0};
    requestTuningRun(board_, 42);
    EXPECT_EQ(0, command("/dev/sys", 0xC008591A, record));
    EXPECT_EQ(42U, record[1]);
    bool woken = false;
    time_.onTick = [&] {
        command("/dev/sys", 0x0000591B, nullptr);
        woken = true;
    };
    EXPECT_NE(0, command("/dev/sys", 0xC008591A, record)); // woken for nothing
    EXPECT_TRUE(woken);
    std::uint32_t flush[3] = {0x80000040, 0, 63};
    EXPECT_NE(0, command("/dev/sys", 0x400C5915, flush));
}

} // namespace
