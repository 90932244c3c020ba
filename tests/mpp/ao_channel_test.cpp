#include "tests/mpp/mpp_fixture.h"

#include <cstring>

namespace {

using Commands = std::vector<std::uint32_t>;
using AoChannelTest = MppTest;

constexpr std::uint32_t bindCommand = 0x40045800;

// Commands without the one that a channel's first use takes, and what it said.
Commands commandsAfterBinding() {
    Commands commands = device().commands();
    std::erase(commands, bindCommand);
    return commands;
}

TEST_F(AoChannelTest, ChecksItsArgumentsFirst) {
    AIO_ATTR_S attr = {};
    AO_CHN_STATE_S state = {};
    std::uint32_t word = 0;
    std::int32_t volume = 0;
    const std::vector<std::function<std::int32_t(std::uint32_t)>> ofDevice = {
        [&](std::uint32_t dev) { return HI_MPI_AO_SetPubAttr(dev, &attr); },
        [&](std::uint32_t dev) { return HI_MPI_AO_GetPubAttr(dev, &attr); },
        [](std::uint32_t dev) { return HI_MPI_AO_ClrPubAttr(dev); },
        [](std::uint32_t dev) { return HI_MPI_AO_Enable(dev); },
        [](std::uint32_t dev) { return HI_MPI_AO_Disable(dev); },
        [](std::uint32_t dev) { return HI_MPI_AO_GetFileHandle(dev); },
        [](std::uint32_t dev) { return HI_MPI_AO_SetTrackMode(dev, 0); },
        [&](std::uint32_t dev) { return HI_MPI_AO_GetTrackMode(dev, &word); },
        [](std::uint32_t dev) { return HI_MPI_AO_SetClkDir(dev, 0); },
        [&](std::uint32_t dev) { return HI_MPI_AO_GetClkDir(dev, &word); },
        [](std::uint32_t dev) { return HI_MPI_AO_SetVolume(dev, 0); },
        [&](std::uint32_t dev) { return HI_MPI_AO_GetVolume(dev, &volume); },
        [](std::uint32_t dev) { return HI_MPI_AO_SetMute(dev, 0, nullptr); },
        [&](std::uint32_t dev) { return HI_MPI_AO_GetMute(dev, &word, nullptr); }};
    const std::vector<std::function<std::int32_t(std::uint32_t, std::uint32_t)>> ofChannel = {
        HI_MPI_AO_EnableChn,
        HI_MPI_AO_DisableChn,
        HI_MPI_AO_PauseChn,
        HI_MPI_AO_ResumeChn,
        HI_MPI_AO_GetFd,
        HI_MPI_AO_ClearChnBuf,
        HI_MPI_AO_DisableReSmp,
        HI_MPI_AO_EnableVqe,
        HI_MPI_AO_DisableVqe,
        HI_MPI_AO_EnableMBC,
        HI_MPI_AO_DisableMBC,
        [&](std::uint32_t dev, std::uint32_t chn) {
            return HI_MPI_AO_QueryChnStat(dev, chn, &state);
        },
        [](std::uint32_t dev, std::uint32_t chn) {
            return HI_MPI_AO_SendFrame(dev, chn, nullptr, 0);
        },
        [](std::uint32_t dev, std::uint32_t chn) { return HI_MPI_AO_SaveFile(dev, chn, nullptr); },
        [](std::uint32_t dev, std::uint32_t chn) {
            return MPI_AO_SetVqeDbgInfo(dev, chn, nullptr);
        }};
    for (const auto &operation : ofDevice) {
        EXPECT_EQ("ao dev 1 is invalid\n",
                  messages([&] { EXPECT_EQ(err(0xA0168001), operation(1)); }));
    }
    for (const auto &operation : ofChannel) {
        EXPECT_EQ("ao dev 1 is invalid\n",
                  messages([&] { EXPECT_EQ(err(0xA0168001), operation(1, 16)); }));
        EXPECT_EQ("ao chnid 16 is invalid\n",
                  messages([&] { EXPECT_EQ(err(0xA0168002), operation(0, 16)); }));
    }
    EXPECT_EQ(Commands{}, device().commands());
    const std::string report = errorsOf([] { HI_MPI_AO_Enable(2); });
    EXPECT_TRUE(report.starts_with("[Func]:HI_MPI_AO_Enable [Line]:")) << report;
}

TEST_F(AoChannelTest, PassesWordsToTheDriver) {
    configure(512);
    AIO_ATTR_S attr = {};
    EXPECT_EQ(0, HI_MPI_AO_GetPubAttr(0, &attr));
    EXPECT_EQ(512U, attr.u32PtNumPerFrm);
    const struct {
        std::uint32_t command;
        std::function<std::int32_t()> call;
    } plain[] = {{0x00005803, [] { return HI_MPI_AO_Enable(0); }},
                 {0x00005804, [] { return HI_MPI_AO_Disable(0); }},
                 {0x00005818, [] { return HI_MPI_AO_ClrPubAttr(0); }},
                 {0x40045810, [] { return HI_MPI_AO_SetTrackMode(0, 3); }},
                 {0x40045812, [] { return HI_MPI_AO_SetClkDir(0, 1); }},
                 {0x40045814, [] { return HI_MPI_AO_SetVolume(0, -121); }},
                 {0x00005808, [] { return HI_MPI_AO_PauseChn(0, 4); }},
                 {0x00005809, [] { return HI_MPI_AO_ResumeChn(0, 4); }},
                 {0x40245801, [&] { return HI_MPI_AO_SetPubAttr(0, &attr); }}};
    for (const auto &operation : plain) {
        device().answer(operation.command, err(0xA0168009));
        EXPECT_EQ(err(0xA0168009), operation.call()) << std::hex << operation.command;
        EXPECT_EQ(operation.command, device().commands().back());
    }
    EXPECT_EQ(-121, device().callsOf(0x40045814).at(0).as<std::int32_t>());
    device().answer(0x80045813, [](void *record) {
        *static_cast<std::uint32_t *>(record) = 1;
        return 0;
    });
    std::uint32_t direction = 0;
    EXPECT_EQ(0, HI_MPI_AO_GetClkDir(0, &direction));
    EXPECT_EQ(1U, direction);
    EXPECT_EQ("illegal param: enClkDir(2)!\n",
              messages([] { EXPECT_EQ(err(0xA0168003), HI_MPI_AO_SetClkDir(0, 2)); }));
    EXPECT_EQ("the penTrackMode pointer for AoDev0 is NULL!\n",
              messages([] { EXPECT_EQ(err(0xA0168006), HI_MPI_AO_GetTrackMode(0, nullptr)); }));
    EXPECT_EQ("the AIO_ATTR_S pointer for AoDev0 is NULL!\n",
              messages([] { EXPECT_EQ(err(0xA0168006), HI_MPI_AO_GetPubAttr(0, nullptr)); }));
    EXPECT_EQ("", messages([] { EXPECT_EQ(err(0xA0168006), HI_MPI_AO_GetClkDir(0, nullptr)); }));
}

// Slots are opened when a channel is first used; channels 8 to 11 are used by no other test.
TEST_F(AoChannelTest, BindsADescriptorOnce) {
    const int before = device().openCount("/dev/ao");
    const std::size_t descriptors = device().openDescriptors();
    device().answer(bindCommand, -1);
    EXPECT_EQ(err(0xA0168010), HI_MPI_AO_GetFd(0, 9));
    EXPECT_EQ(descriptors, device().openDescriptors()); // closed again
    device().answer(bindCommand, 0);
    device().openAs("/dev/ao", 0);
    EXPECT_EQ(err(0xA0168010), HI_MPI_AO_GetFd(0, 9)); // 0 is no descriptor
    device().openAs("/dev/ao", 4711);
    EXPECT_EQ(4711, HI_MPI_AO_GetFd(0, 9));
    EXPECT_EQ(4711, HI_MPI_AO_GetFd(0, 9));
    EXPECT_EQ(before + 3, device().openCount("/dev/ao"));
    EXPECT_EQ(9U, device().callsOf(bindCommand).back().as<std::uint32_t>());
    device().failOpen("/dev/ao");
    EXPECT_EQ(err(0xA0168010), HI_MPI_AO_EnableChn(0, 10));
}

TEST_F(AoChannelTest, EnablesOnceAndDisablesWhole) {
    configure();
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 12)); // never enabled
    device().clearCalls();
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 12));
    EXPECT_EQ((Commands{0xC04C6D0A, 0xC04C6D14, 0x00005806}), commandsAfterBinding());
    EXPECT_STREQ("AO(0,12) CirBuf", reinterpret_cast<const char *>(
                                        device().callsOf(0xC04C6D0A).at(0).record.data() + 24));
    EXPECT_EQ(3U, device().memoryHeld());
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 12));
    EXPECT_EQ(1U, device().blocksHeld());
    device().clearCalls();
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 12));
    EXPECT_EQ((Commands{0x4010580E, 0x4440580F, 0xC04C6D16, 0x404C6D0C, 0x00005807}),
              device().commands());
    std::vector<unsigned char> debug(1088);
    debug[28] = 96001 & 0xFF;
    debug[29] = 96001 >> 8 & 0xFF;
    debug[30] = 96001 >> 16;
    EXPECT_EQ(debug, device().callsOf(0x4440580F).at(0).record);
    EXPECT_EQ(std::vector<unsigned char>(16), device().callsOf(0x4010580E).at(0).record);
    EXPECT_EQ(0U, device().memoryHeld());
    EXPECT_EQ(0U, device().blocksHeld());
}

TEST_F(AoChannelTest, EnablesWholeOrNotAtAll) {
    configure();
    device().answer(0xC04C6D0A, -1);
    EXPECT_EQ("alloc mmb fail, len:0\n",
              messages([] { EXPECT_EQ(err(0xA016800C), HI_MPI_AO_EnableChn(0, 1)); }));
    device().reset();
    for (int n = 1; n <= 3; ++n) {
        device().failMemory(n);
        EXPECT_EQ("malloc err when enable ao chn!\n",
                  messages([] { EXPECT_EQ(err(0xA016800C), HI_MPI_AO_EnableChn(0, 1)); }));
        EXPECT_EQ(0U, device().memoryHeld());
        EXPECT_EQ(0U, device().blocksHeld());
    }
    device().answer(0x00005806, 13);
    EXPECT_EQ(13, HI_MPI_AO_EnableChn(0, 1));
    EXPECT_EQ(0U, device().blocksHeld());
    device().answer(0x00005806, 0);
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 1));
    // A refusal comes too late: what it had is gone, so the channel counts as disabled.
    device().answer(0x00005807, 14);
    EXPECT_EQ(14, HI_MPI_AO_DisableChn(0, 1));
    EXPECT_EQ(0U, device().memoryHeld());
    const TestFrame frame(1280);
    messages([&] { EXPECT_EQ(err(0xA0168005), HI_MPI_AO_SendFrame(0, 1, &frame.frame, 0)); });
    device().answer(0x00005807, 0);
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 1));
}

TEST_F(AoChannelTest, SetsVolumeAndMute) {
    AO_FADE_S fade = {{4, 5, 6}};
    EXPECT_EQ(0, HI_MPI_AO_SetMute(0, 1, nullptr));
    EXPECT_EQ(0, HI_MPI_AO_SetMute(0, 1, &fade));
    struct Mute {
        std::uint32_t words[4];
    };
    const Mute plain = device().callsOf(0x40105816).at(0).as<Mute>();
    const Mute faded = device().callsOf(0x40105816).at(1).as<Mute>();
    EXPECT_EQ((std::vector<std::uint32_t>{1, 0, 0, 0}),
              std::vector<std::uint32_t>(plain.words, plain.words + 4));
    EXPECT_EQ(6U, faded.words[3]);
    device().answer(0xC0105817, [](void *record) {
        const std::uint32_t words[4] = {1, 7, 8, 9};
        std::memcpy(record, words, sizeof words);
        return 0;
    });
    std::uint32_t enable = 99;
    EXPECT_EQ(0, HI_MPI_AO_GetMute(0, nullptr, &fade));
    EXPECT_EQ(8U, fade.au32Word[1]);
    EXPECT_EQ(99U, enable);
    EXPECT_EQ(0, HI_MPI_AO_GetMute(0, &enable, nullptr));
    EXPECT_EQ(1U, enable);
    EXPECT_EQ("Both pbEnable and pstFade pointer for  AoDev0 are NULL!\n",
              messages([] { EXPECT_EQ(err(0xA0168006), HI_MPI_AO_GetMute(0, nullptr, nullptr)); }));
    device().answer(0xC0105817, 3);
    EXPECT_EQ("Ao0 Get Mute error\n",
              messages([&] { EXPECT_EQ(3, HI_MPI_AO_GetMute(0, &enable, nullptr)); }));
    EXPECT_EQ("the ps32VolumeDb pointer for Ao0 is NULL!\n",
              messages([] { EXPECT_EQ(err(0xA0168006), HI_MPI_AO_GetVolume(0, nullptr)); }));
    EXPECT_EQ("the AO_CHN_STATE_S pointer for AoDev0 is NULL!\n",
              messages([] { EXPECT_EQ(err(0xA0168006), HI_MPI_AO_QueryChnStat(0, 0, nullptr)); }));
}

TEST_F(AoChannelTest, AsksForDumps) {
    AO_DUMP_S dump = {1, "/tmp", "name", 10};
    EXPECT_EQ(0, HI_MPI_AO_SaveFile(0, 2, &dump));
    EXPECT_EQ(520U, device().callsOf(0x42085819).at(0).record.size());
    device().answer(0x8208581A, [](void *record) {
        *static_cast<std::uint32_t *>(record) = 1;
        return 0;
    });
    std::uint32_t enabled = 0;
    EXPECT_EQ(0, HI_MPI_AO_QueryFileStatus(0, 2, &enabled));
    EXPECT_EQ(1U, enabled);
    EXPECT_EQ("", messages([] {
                  EXPECT_EQ(err(0xA0168006), HI_MPI_AO_SaveFile(0, 2, nullptr));
                  EXPECT_EQ(err(0xA0168006), HI_MPI_AO_QueryFileStatus(0, 2, nullptr));
                  EXPECT_EQ(err(0xA0168006), MPI_AO_SetResmpDbgInfo(0, 2, nullptr));
              }));
}

// Before the platform has started, and after it has failed to, operations end with a result.
TEST(AoWithoutPlatform, EndsWithAResult) {
    device().reset();
    const TestFrame frame(1280);
    messages([&] {
        EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 0));
        EXPECT_EQ(0, HI_MPI_AO_Disable(0));
        EXPECT_EQ(0, HI_MPI_AO_ClearChnBuf(0, 0));
        EXPECT_EQ(err(0xA0168005), HI_MPI_AO_SendFrame(0, 0, &frame.frame, 0));
    });
}

} // namespace
