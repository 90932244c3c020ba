#include "tests/mpp/mpp_fixture.h"

#include <map>

namespace {

using AoChannelTest = MppTest;

constexpr std::uint32_t bindCommand = 0x40045800;
constexpr std::uint32_t enableCommand = 0x00005806;
constexpr std::uint32_t disableCommand = 0x00005807;

// An operation of a device and channel, its further arguments 0.
using Operation = std::function<std::int32_t(std::uint32_t dev, std::uint32_t chn)>;

template <typename... Further>
Operation ofDevice(std::int32_t (*operation)(std::uint32_t, Further...)) {
    return [operation](std::uint32_t dev, std::uint32_t) { return operation(dev, Further{}...); };
}

template <typename... Further>
Operation ofChannel(std::int32_t (*operation)(std::uint32_t, std::uint32_t, Further...)) {
    return [operation](auto dev, auto chn) { return operation(dev, chn, Further{}...); };
}

TEST_F(AoChannelTest, ChecksItsArgumentsFirst) {
    const Operation deviceOperations[] = {
        ofDevice(HI_MPI_AO_SetPubAttr),   ofDevice(HI_MPI_AO_GetPubAttr),
        ofDevice(HI_MPI_AO_ClrPubAttr),   ofDevice(HI_MPI_AO_Enable),
        ofDevice(HI_MPI_AO_Disable),      ofDevice(HI_MPI_AO_GetFileHandle),
        ofDevice(HI_MPI_AO_SetTrackMode), ofDevice(HI_MPI_AO_GetTrackMode),
        ofDevice(HI_MPI_AO_SetClkDir),    ofDevice(HI_MPI_AO_GetClkDir),
        ofDevice(HI_MPI_AO_SetVolume),    ofDevice(HI_MPI_AO_GetVolume),
        ofDevice(HI_MPI_AO_SetMute),      ofDevice(HI_MPI_AO_GetMute)};
    const Operation channelOperations[] = {
        ofChannel(HI_MPI_AO_EnableChn),    ofChannel(HI_MPI_AO_DisableChn),
        ofChannel(HI_MPI_AO_PauseChn),     ofChannel(HI_MPI_AO_ResumeChn),
        ofChannel(HI_MPI_AO_GetFd),        ofChannel(HI_MPI_AO_ClearChnBuf),
        ofChannel(HI_MPI_AO_DisableReSmp), ofChannel(HI_MPI_AO_EnableVqe),
        ofChannel(HI_MPI_AO_DisableVqe),   ofChannel(HI_MPI_AO_EnableMBC),
        ofChannel(HI_MPI_AO_DisableMBC),   ofChannel(HI_MPI_AO_QueryChnStat),
        ofChannel(HI_MPI_AO_SendFrame),    ofChannel(HI_MPI_AO_SaveFile),
        ofChannel(MPI_AO_SetVqeDbgInfo)};
    for (const Operation &operation : deviceOperations) {
        expectOutcomes({{0xA0168001, "ao dev 1 is invalid\n", [&] { return operation(1, 0); }}});
    }
    for (const Operation &operation : channelOperations) {
        expectOutcomes(
            {{0xA0168001, "ao dev 1 is invalid\n", [&] { return operation(1, 16); }},
             {0xA0168002, "ao chnid 16 is invalid\n", [&] { return operation(0, 16); }}});
    }
    EXPECT_EQ(Commands{}, device().commands());
    const std::string report = errorsOf([] { HI_MPI_AO_Enable(2); });
    EXPECT_TRUE(report.starts_with("[Func]:HI_MPI_AO_Enable [Line]:")) << report;
}

TEST_F(AoChannelTest, RefusesNullAndUnknownWords) {
    device().answer(0xC0105817, 3);
    std::uint32_t enable = 0;
    expectOutcomes({
        {0xA0168003, "illegal param: enClkDir(2)!\n", [] { return HI_MPI_AO_SetClkDir(0, 2); }},
        {0xA0168006, "the penTrackMode pointer for AoDev0 is NULL!\n",
         [] { return HI_MPI_AO_GetTrackMode(0, nullptr); }},
        {0xA0168006, "the AIO_ATTR_S pointer for AoDev0 is NULL!\n",
         [] { return HI_MPI_AO_GetPubAttr(0, nullptr); }},
        {0xA0168006, "", [] { return HI_MPI_AO_GetClkDir(0, nullptr); }},
        {0xA0168006, "Both pbEnable and pstFade pointer for  AoDev0 are NULL!\n",
         [] { return HI_MPI_AO_GetMute(0, nullptr, nullptr); }},
        {3, "Ao0 Get Mute error\n", [&] { return HI_MPI_AO_GetMute(0, &enable, nullptr); }},
        {0xA0168006, "the ps32VolumeDb pointer for Ao0 is NULL!\n",
         [] { return HI_MPI_AO_GetVolume(0, nullptr); }},
        {0xA0168006, "the AO_CHN_STATE_S pointer for AoDev0 is NULL!\n",
         [] { return HI_MPI_AO_QueryChnStat(0, 0, nullptr); }},
        {0xA0168006, "", [] { return HI_MPI_AO_SaveFile(0, 2, nullptr); }},
        {0xA0168006, "", [] { return HI_MPI_AO_QueryFileStatus(0, 2, nullptr); }},
        {0xA0168006, "", [] { return MPI_AO_SetResmpDbgInfo(0, 2, nullptr); }},
    });
}

TEST_F(AoChannelTest, PassesWordsToTheDriver) {
    configure(512);
    AIO_ATTR_S attr = {};
    EXPECT_EQ(0, HI_MPI_AO_GetPubAttr(0, &attr));
    EXPECT_EQ(512U, attr.u32PtNumPerFrm);
    const std::map<std::uint32_t, Operation> operations = {
        {0x00005803, ofDevice(HI_MPI_AO_Enable)},
        {0x00005804, ofDevice(HI_MPI_AO_Disable)},
        {0x00005818, ofDevice(HI_MPI_AO_ClrPubAttr)},
        {0x40045810, ofDevice(HI_MPI_AO_SetTrackMode)},
        {0x40045812, ofDevice(HI_MPI_AO_SetClkDir)},
        {0x00005808, ofChannel(HI_MPI_AO_PauseChn)},
        {0x00005809, ofChannel(HI_MPI_AO_ResumeChn)},
        {0x40045814, [](auto dev, auto) { return HI_MPI_AO_SetVolume(dev, -121); }},
        {0x40245801, [&](auto dev, auto) { return HI_MPI_AO_SetPubAttr(dev, &attr); }}};
    for (const auto &[command, operation] : operations) {
        device().answer(command, err(0xA0168009));
        EXPECT_EQ(err(0xA0168009), operation(0, 4)) << std::hex << command;
        EXPECT_EQ(command, device().commands().back());
    }
    EXPECT_EQ(-121, device().sent<std::int32_t>(0x40045814));
    device().answerWords(0x80045813, {1});
    std::uint32_t word = 0;
    EXPECT_EQ(0, HI_MPI_AO_GetClkDir(0, &word));
    EXPECT_EQ(1U, word);
    const AO_DUMP_S dump = {1, "/tmp", "name", 10};
    EXPECT_EQ(0, HI_MPI_AO_SaveFile(0, 2, &dump));
    EXPECT_EQ(520U, device().callsOf(0x42085819).at(0).record.size());
    device().answerWords(0x8208581A, {2});
    EXPECT_EQ(0, HI_MPI_AO_QueryFileStatus(0, 2, &word));
    EXPECT_EQ(2U, word);
    AO_FADE_S fade = {{4, 5, 6}};
    EXPECT_EQ(0, HI_MPI_AO_SetMute(0, 1, &fade));
    EXPECT_EQ((std::array{1U, 4U, 5U, 6U}), (device().sent<std::array<unsigned, 4>>(0x40105816)));
    device().answerWords(0xC0105817, {1, 7, 8, 9});
    EXPECT_EQ(0, HI_MPI_AO_GetMute(0, nullptr, &fade));
    EXPECT_EQ(8U, fade.au32Word[1]);
}

// Slots are opened when a channel is first used; channels 8 to 11 are used by no other test.
TEST_F(AoChannelTest, BindsADescriptorOnce) {
    const std::size_t descriptors = device().held().descriptors;
    device().answer(bindCommand, -1);
    EXPECT_EQ(err(0xA0168010), HI_MPI_AO_GetFd(0, 9));
    device().answer(bindCommand, 0);
    device().openAs("/dev/ao", -1);
    EXPECT_EQ(err(0xA0168010), HI_MPI_AO_EnableChn(0, 9));
    EXPECT_EQ(descriptors, device().held().descriptors); // closed again
    device().openAs("/dev/ao", 4711);
    EXPECT_EQ(4711, HI_MPI_AO_GetFd(0, 9));
    EXPECT_EQ(4711, HI_MPI_AO_GetFd(0, 9));
    EXPECT_EQ(2U, device().callsOf(bindCommand).size());
    EXPECT_EQ(9U, device().callsOf(bindCommand).back().as<std::uint32_t>());
}

TEST_F(AoChannelTest, EnablesOnceAndDisablesWhole) {
    configure();
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 12)); // never enabled
    device().clearCalls();
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 12));
    EXPECT_EQ((Commands{0xC04C6D0A, 0xC04C6D14, enableCommand}), device().commands());
    const Bytes block = device().callsOf(0xC04C6D0A).at(0).record;
    EXPECT_STREQ("AO(0,12) CirBuf", reinterpret_cast<const char *>(block.data() + 24));
    EXPECT_EQ(3U, device().held().memory);
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 12));
    EXPECT_EQ(1U, device().held().blocks);
    device().clearCalls();
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 12));
    EXPECT_EQ((Commands{0x4010580E, 0x4440580F, 0xC04C6D16, 0x404C6D0C, disableCommand}),
              device().commands());
    Bytes debug(1088);
    std::memcpy(debug.data() + 28, "\x01\x77\x01", 3); // 96001
    EXPECT_EQ(debug, device().callsOf(0x4440580F).at(0).record);
    EXPECT_EQ(Bytes(16), device().callsOf(0x4010580E).at(0).record);
}

TEST_F(AoChannelTest, EnablesWholeOrNotAtAll) {
    configure();
    const auto enable = [] { return HI_MPI_AO_EnableChn(0, 1); };
    device().answer(0xC04C6D0A, -1);
    expectOutcomes({{0xA016800C, "alloc mmb fail, len:0\n", enable}});
    device().reset();
    for (int n = 1; n <= 3; ++n) {
        device().failingMemory = n;
        expectOutcomes({{0xA016800C, "malloc err when enable ao chn!\n", enable}});
        EXPECT_EQ(0U, device().held().memory);
        EXPECT_EQ(0U, device().held().blocks);
    }
    EXPECT_EQ(0, enable());
    // A refusal comes too late: what it had is gone, so the channel counts as disabled.
    device().answer(disableCommand, 14);
    EXPECT_EQ(14, HI_MPI_AO_DisableChn(0, 1));
    EXPECT_EQ(0U, device().held().memory);
    const TestFrame frame(1280);
    messages([&] { EXPECT_EQ(err(0xA0168005), HI_MPI_AO_SendFrame(0, 1, &frame.frame, 0)); });
}

// Before the platform has started, and after it has failed to, operations end with a result.
TEST(AoWithoutPlatform, EndsWithAResult) {
    device().reset();
    const TestFrame frame(1280);
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 0));
    EXPECT_EQ(0, HI_MPI_AO_Disable(0));
    EXPECT_EQ(0, HI_MPI_AO_ClearChnBuf(0, 0));
    messages([&] { EXPECT_EQ(err(0xA0168005), HI_MPI_AO_SendFrame(0, 0, &frame.frame, 0)); });
}

} // namespace
