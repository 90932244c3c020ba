#include "tests/mpp/mpp_fixture.h"

#include <map>

namespace {

using namespace driverCommand;

using AoChannelTest = MppTest;

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
    const Operation ofDevices[] = {
        ofDevice(HI_MPI_AO_SetPubAttr),   ofDevice(HI_MPI_AO_GetPubAttr),
        ofDevice(HI_MPI_AO_ClrPubAttr),   ofDevice(HI_MPI_AO_Enable),
        ofDevice(HI_MPI_AO_Disable),      ofDevice(HI_MPI_AO_GetFileHandle),
        ofDevice(HI_MPI_AO_SetTrackMode), ofDevice(HI_MPI_AO_GetTrackMode),
        ofDevice(HI_MPI_AO_SetClkDir),    ofDevice(HI_MPI_AO_GetClkDir),
        ofDevice(HI_MPI_AO_SetVolume),    ofDevice(HI_MPI_AO_GetVolume),
        ofDevice(HI_MPI_AO_SetMute),      ofDevice(HI_MPI_AO_GetMute)};
    const Operation ofChannels[] = {
        ofChannel(HI_MPI_AO_EnableChn),    ofChannel(HI_MPI_AO_DisableChn),
        ofChannel(HI_MPI_AO_PauseChn),     ofChannel(HI_MPI_AO_ResumeChn),
        ofChannel(HI_MPI_AO_GetFd),        ofChannel(HI_MPI_AO_ClearChnBuf),
        ofChannel(HI_MPI_AO_DisableReSmp), ofChannel(HI_MPI_AO_EnableVqe),
        ofChannel(HI_MPI_AO_DisableVqe),   ofChannel(HI_MPI_AO_EnableMBC),
        ofChannel(HI_MPI_AO_DisableMBC),   ofChannel(HI_MPI_AO_QueryChnStat),
        ofChannel(HI_MPI_AO_SendFrame),    ofChannel(HI_MPI_AO_SaveFile),
        ofChannel(MPI_AO_SetVqeDbgInfo)};
    for (const Operation &operation : ofDevices) {
        expectOutcome(0xA0168001, "ao dev 1 is invalid\n", [&] { return operation(1, 0); });
    }
    for (const Operation &operation : ofChannels) {
        expectOutcome(0xA0168001, "ao dev 1 is invalid\n", [&] { return operation(1, 16); });
        expectOutcome(0xA0168002, "ao chnid 16 is invalid\n", [&] { return operation(0, 16); });
    }
    EXPECT_EQ(Commands{}, device().commands());
    // Further arguments that must not be null.
    for (const Operation &operation :
         {ofDevice(HI_MPI_AO_GetPubAttr), ofDevice(HI_MPI_AO_GetTrackMode),
          ofDevice(HI_MPI_AO_GetMute), ofDevice(HI_MPI_AO_GetVolume),
          ofChannel(HI_MPI_AO_QueryChnStat)}) {
        const std::string text = messages([&] { EXPECT_EQ(err(0xA0168006), operation(0, 0)); });
        EXPECT_TRUE(text.starts_with("the ") || text.starts_with("Both ")) << text;
        EXPECT_TRUE(text.ends_with(" NULL!\n")) << text;
    }
    for (const Operation &operation :
         {ofDevice(HI_MPI_AO_GetClkDir), ofChannel(HI_MPI_AO_SaveFile),
          ofChannel(HI_MPI_AO_QueryFileStatus), ofChannel(MPI_AO_SetResmpDbgInfo)}) {
        expectOutcome(0xA0168006, "", [&] { return operation(0, 0); });
    }
    const std::string report = errorsOf([] { HI_MPI_AO_Enable(2); });
    EXPECT_TRUE(report.starts_with("[Func]:HI_MPI_AO_Enable [Line]:")) << report;
}

TEST_F(AoChannelTest, PassesWordsToTheDriver) {
    const AIO_ATTR_S attr = attributes(512);
    const std::map<std::uint32_t, Operation> operations = {
        {aoEnable, ofDevice(HI_MPI_AO_Enable)},
        {aoDisable, ofDevice(HI_MPI_AO_Disable)},
        {aoClearAttr, ofDevice(HI_MPI_AO_ClrPubAttr)},
        {aoPauseChn, ofChannel(HI_MPI_AO_PauseChn)},
        {aoResumeChn, ofChannel(HI_MPI_AO_ResumeChn)},
        {aoSetTrackMode, ofDevice(HI_MPI_AO_SetTrackMode)},
        {aoSetClkDir, ofDevice(HI_MPI_AO_SetClkDir)},
        {aoSetVolume, ofDevice(HI_MPI_AO_SetVolume)},
        {aoSetMute, [](auto dev, auto) { return HI_MPI_AO_SetMute(dev, 1, nullptr); }},
        {aoSetAttr, [&](auto dev, auto) { return HI_MPI_AO_SetPubAttr(dev, &attr); }}};
    for (const auto &[command, operation] : operations) {
        device().answer(command, err(0xA0168009));
        EXPECT_EQ(err(0xA0168009), operation(0, 4)) << std::hex << command;
        EXPECT_EQ(command, device().commands().back());
        device().leaveToDriver(command);
    }
    configure(attr);
    AIO_ATTR_S kept = {};
    EXPECT_EQ(0, HI_MPI_AO_GetPubAttr(0, &kept));
    EXPECT_EQ(0, std::memcmp(&attr, &kept, sizeof attr));
    const auto expectKept = [](auto set, auto get, auto value) {
        EXPECT_EQ(0, set(0, value));
        auto found = decltype(value){};
        EXPECT_EQ(0, get(0, &found));
        EXPECT_EQ(value, found);
    };
    expectKept(HI_MPI_AO_SetVolume, HI_MPI_AO_GetVolume, -121);
    expectKept(HI_MPI_AO_SetTrackMode, HI_MPI_AO_GetTrackMode, 7U);
    expectKept(HI_MPI_AO_SetClkDir, HI_MPI_AO_GetClkDir, 1U);
    expectOutcome(0xA0168003, "illegal param: enClkDir(2)!\n",
                  [] { return HI_MPI_AO_SetClkDir(0, 2); });
    std::uint32_t word = 0;
    AO_FADE_S fade = {{4, 5, 6}};
    EXPECT_EQ(0, HI_MPI_AO_SetMute(0, 1, &fade));
    fade = {};
    EXPECT_EQ(0, HI_MPI_AO_GetMute(0, &word, nullptr));
    EXPECT_EQ(0, HI_MPI_AO_GetMute(0, nullptr, &fade));
    EXPECT_EQ(1U, word);
    EXPECT_EQ(5U, fade.au32Word[1]);
    device().answer(aoGetMute, 3);
    expectOutcome(3, "Ao0 Get Mute error\n", [&] { return HI_MPI_AO_GetMute(0, &word, nullptr); });
    const AO_DUMP_S dump = {2, "/tmp", "name", 10};
    EXPECT_EQ(0, HI_MPI_AO_SaveFile(0, 2, &dump));
    EXPECT_EQ(0, HI_MPI_AO_QueryFileStatus(0, 2, &word));
    EXPECT_EQ(2U, word);
    AO_CHN_STATE_S state = {};
    EXPECT_EQ(0, HI_MPI_AO_QueryChnStat(0, 2, &state));
    EXPECT_EQ(30U, state.au32Counter[1]); // all free
}

// Slots are opened when a channel is first used; channels 8 to 11 are used by no other test.
TEST_F(AoChannelTest, BindsADescriptorOnce) {
    const std::size_t descriptors = device().held().descriptors;
    device().answer(aoBind, -1);
    EXPECT_EQ(err(0xA0168010), HI_MPI_AO_GetFd(0, 9));
    device().leaveToDriver(aoBind);
    device().openAs("/dev/ao", -1);
    EXPECT_EQ(err(0xA0168010), HI_MPI_AO_EnableChn(0, 9));
    EXPECT_EQ(descriptors, device().held().descriptors); // closed again
    device().openAs("/dev/ao", 4711);
    EXPECT_EQ(4711, HI_MPI_AO_GetFd(0, 9));
    EXPECT_EQ(4711, HI_MPI_AO_GetFd(0, 9));
    EXPECT_EQ(2U, device().callsOf(aoBind).size());
    EXPECT_EQ(9U, device().sent(aoBind, 1));
}

TEST_F(AoChannelTest, EnablesOnceAndDisablesWhole) {
    configure();
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 12)); // never enabled
    device().clearCalls();
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 12));
    EXPECT_EQ((Commands{mmzAlloc, mmzMap, aoEnableChn}), device().commands());
    const Bytes block = device().callsOf(mmzAlloc).at(0).record;
    EXPECT_STREQ("AO(0,12) CirBuf", reinterpret_cast<const char *>(block.data() + 24));
    EXPECT_EQ(3U, device().held().memory);
    EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 12));
    EXPECT_EQ(1U, device().held().blocks);
    device().clearCalls();
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 12));
    EXPECT_EQ((Commands{aoSetResampleDebug, aoSetVqeDebug, mmzUnmap, mmzFree, aoDisableChn}),
              device().commands());
    Bytes debug(1088);
    std::memcpy(debug.data() + 28, "\x01\x77\x01", 3); // 96001
    EXPECT_EQ(debug, device().callsOf(aoSetVqeDebug).at(0).record);
    EXPECT_EQ(Bytes(16), device().callsOf(aoSetResampleDebug).at(0).record);
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
