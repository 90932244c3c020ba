#include "tests/mpp/mpp_fixture.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>

namespace {

using namespace driverCommand;

class SysTest : public testing::Test {
protected:
    SysTest() { device().reset(); }
    ~SysTest() override {
        device().reset();
        HI_MPI_SYS_Exit();
        EXPECT_EQ(0U, device().held().mappings);
    }
};

TEST_F(SysTest, StartsAndStopsInOrder) {
    for (int repeated = 0; repeated < 2; ++repeated) {
        device().clearCalls();
        EXPECT_EQ(0, HI_MPI_SYS_Init());
        EXPECT_EQ((Commands{sysInit, sysGetKernelConfig, sysGetTuningMode}), device().commands());
    }
    EXPECT_EQ(O_RDWR, device().flagsOf("/dev/sys"));
    const std::size_t descriptors = device().held().descriptors;
    device().answer(sysExit, 5);
    EXPECT_EQ(5, HI_MPI_SYS_Exit());
    EXPECT_EQ(descriptors, device().held().descriptors); // kept when the kernel stays
    device().leaveToDriver(sysExit);
    device().clearCalls();
    EXPECT_EQ(0, HI_MPI_SYS_Exit());
    EXPECT_EQ(Commands{sysExit}, device().commands());
    EXPECT_EQ(descriptors - 1, device().held().descriptors);
}

TEST_F(SysTest, KeepsBindingsAcrossARepeatedStart) {
    ASSERT_EQ(0, HI_MPI_SYS_Init());
    const BIND_CHN_S source = {24, 0, 31};
    const BIND_CHN_S destination = {22, 0, 15};
    EXPECT_EQ(0, SYS_Bind(&source, &destination));
    ASSERT_EQ(0, HI_MPI_SYS_Init());
    BIND_CHN_S found = {};
    EXPECT_EQ(0, SYS_GetBindbyDest(&destination, &found));
    EXPECT_EQ(0, HI_MPI_SYS_Exit());
    ASSERT_EQ(0, HI_MPI_SYS_Init()); // from the start
    messages([&] { EXPECT_EQ(err(0xA0028003), SYS_GetBindbyDest(&destination, &found)); });
}

TEST_F(SysTest, TellsWhyItDoesNotStart) {
    device().openAs("/dev/sys", -1);
    expectOutcome(0xA0028010, "open sys: No such file or directory\n", HI_MPI_SYS_Init);
    device().reset();
    device().answer(sysInit, 77);
    expectOutcome(77, "", HI_MPI_SYS_Init);
    EXPECT_EQ(Commands{sysInit}, device().commands()); // and no module has started
    device().reset();
    device().answer(sysGetTuningMode, -1);
    expectOutcome(0, "Get mode parameter failed\n", HI_MPI_SYS_Init);
    device().answer(sysGetKernelConfig, -1);
    expectOutcome(UINT32_MAX,
                  "System get Kernel Config failed!\nGet Kernel Config failed!\n"
                  "initialize audio mpi failed!\n",
                  HI_MPI_SYS_Init);
}

TEST_F(SysTest, PassesTheConfiguration) {
    device().board().sys.hasConfig = 0;
    std::uint32_t config = 0;
    EXPECT_EQ(err(0xA0028010), HI_MPI_SYS_GetConfig(&config));
    const std::uint32_t fresh = 0xCAFE;
    EXPECT_EQ(0, HI_MPI_SYS_SetConfig(&fresh));
    EXPECT_EQ(0, HI_MPI_SYS_GetConfig(&config));
    EXPECT_EQ(0xCAFEU, config);
    expectOutcome(0xA0028006, "null ptr!\n", [] { return HI_MPI_SYS_GetConfig(nullptr); });
}

TEST_F(SysTest, MapsWholePages) {
    auto *const virt = static_cast<char *>(HI_MPI_SYS_Mmap(0x20001234, 8));
    ASSERT_NE(nullptr, virt);
    EXPECT_EQ(0x1042, device().flagsOf("/dev/mem"));
    EXPECT_EQ(0x234U, reinterpret_cast<std::uintptr_t>(virt) & 0xFFF);
    EXPECT_EQ((std::pair<std::size_t, std::uint64_t>(0x1000, 0x20001000)), device().maps.back());
    EXPECT_EQ(0, HI_MPI_SYS_Munmap(virt, 8));
    // Two bytes on either side of a page's end need both pages.
    void *const across = HI_MPI_SYS_MmapCache(0xFFFFEFFF, 2);
    EXPECT_EQ((std::pair<std::size_t, std::uint64_t>(0x2000, 0xFFFFE000)), device().maps.back());
    EXPECT_EQ(0, HI_MPI_SYS_Munmap(across, 2));
    const auto isMapped = [](auto map, std::uint32_t size) {
        return [=] { return map(0x1000, size) != nullptr ? 1 : 0; };
    };
    expectOutcomes(
        {{0, "out: Func: HI_MPI_SYS_Mmap u32Size can't be 0.\n", isMapped(HI_MPI_SYS_Mmap, 0)},
         {0, "out: Func: HI_MPI_SYS_MmapCache u32Size can't be 0.\n",
          isMapped(HI_MPI_SYS_MmapCache, 0)},
         {0, "phys addr 0x1000: the range passes 32 bits!\n",
          isMapped(HI_MPI_SYS_Mmap, 0xFFFFF001)}});
    std::uint32_t value = 0; // of a register, which is mapped for as long as it takes
    EXPECT_EQ(0, HI_MPI_SYS_SetReg(0x20050004, 5));
    EXPECT_EQ(0, HI_MPI_SYS_GetReg(0x20050004, &value));
    EXPECT_EQ(5U, value);
    device().failingMemory = 1;
    expectOutcome(0, "mmap error: Cannot allocate memory\n", isMapped(HI_MPI_SYS_Mmap, 1));
}

TEST_F(SysTest, FlushesWholeLines) {
    auto *const virt = reinterpret_cast<void *>(std::uintptr_t{0x40000070});
    EXPECT_EQ(0, HI_MPI_SYS_MflushCache(0x80000070, virt, 0x20));
    using Flush = std::array<std::uint32_t, 3>; // up to the end of what was asked for
    EXPECT_EQ((Flush{0x80000040, 0x40000040, 0x80}), device().sent<Flush>(sysFlushCache));
    expectOutcomes(
        {{0xA0028006, "Null point \n", [] { return HI_MPI_SYS_MflushCache(0, nullptr, 1); }},
         {0xA0028003, "out: Func: HI_MPI_SYS_MflushCache u32Size can't be 0.\n",
          [&] { return HI_MPI_SYS_MflushCache(0, virt, 0); }},
         {0xA0028003, "phys addr 0xffffffc0: the range passes 32 bits!\n",
          [&] { return HI_MPI_SYS_MflushCache(0xFFFFFFF0, virt, 0x11); }}});
    EXPECT_EQ(0, HI_MPI_SYS_MflushCache(0xFFFFFFF0, virt, 0x10));
}

// A driver that loses the first wake-up.
TEST_F(SysTest, WakesTheTuningThreadUntilItEnds) {
    std::atomic<int> wakes = 0;
    std::atomic<bool> waits = false;
    device().answerWords(sysGetTuningMode, {1});
    device().answer(sysWakeTuning, [&](void *) {
        ++wakes;
        return 0;
    });
    device().answer(sysWaitTuning, [&](void *) {
        for (waits = true; wakes < 2;) {
            usleep(1000);
        }
        return -1;
    });
    EXPECT_EQ(0, HI_MPI_SYS_Init());
    while (!waits) {
        usleep(1000);
    }
    EXPECT_EQ(0, HI_MPI_SYS_Exit());
    EXPECT_EQ(2, wakes);
}

TEST_F(SysTest, ReachesTheLogDevice) {
    device().openAs("/dev/logmpp", -1);
    LOG_LEVEL_S level = {{1, 2, 3, 4, 5, 6}};
    expectOutcomes(
        {{ENOENT, "open: No such file or directory\n", [&] { return HI_MPI_LOG_SetLevel(&level); }},
         {UINT32_MAX, "null ptr!\n", [] { return HI_MPI_LOG_SetLevel(nullptr); }}});
    device().reset();
    EXPECT_EQ(0, HI_MPI_LOG_SetLevel(&level));
    level = {};
    EXPECT_EQ(0, HI_MPI_LOG_GetLevel(&level));
    EXPECT_EQ(6U, reinterpret_cast<const std::uint32_t *>(&level)[5]);
    EXPECT_EQ(0, HI_MPI_LOG_SetWaitFlag(1));
    EXPECT_EQ(1U, device().board().log.waitFlag);
    EXPECT_EQ((Commands{logSetLevel, logGetLevel, logSetWaitFlag}), device().commands());
    ASSERT_EQ(0, HI_MPI_SYS_Init());
    char text[9] = {};
    EXPECT_EQ(9, HI_MPI_LOG_Read(text, 9));
    EXPECT_EQ("sys: star", std::string(text, 9));
    HI_MPI_LOG_Close();
}

} // namespace
