#include "mpp/code/mkp/bind/sys_bind_table.h"
#include "tests/mpp/mpp_fixture.h"

namespace {

int received;
std::uint32_t lastChannel;
std::uint32_t lastArgument;
int resets;
std::vector<BIND_DEST_S> notices;

std::int32_t receive(std::uint32_t /*dev*/, std::uint32_t chn, std::uint32_t argument,
                     std::uint32_t /*type*/, void * /*data*/) {
    ++received;
    lastChannel = chn;
    lastArgument = argument;
    return 1 << chn % 8;
}

void reset(std::uint32_t /*dev*/, std::uint32_t /*chn*/, void * /*data*/) {
    ++resets;
}

void notify(std::uint32_t /*dev*/, std::uint32_t /*chn*/, const BIND_DEST_S *destinations) {
    notices.push_back(*destinations);
}

std::int32_t bind(const BIND_CHN_S &source, const BIND_CHN_S &destination) {
    return SYS_Bind(&source, &destination);
}

std::int32_t unbind(const BIND_CHN_S &destination) {
    return SYS_UnBind(&destination);
}

bool isSame(const BIND_CHN_S &a, const BIND_CHN_S &b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

class BindTest : public testing::Test {
protected:
    BindTest() {
        SYS_BIND_Init();
        received = 0;
        resets = 0;
        notices.clear();
        const BIND_SENDER_S sender = {24, 1, 32, nullptr};
        EXPECT_EQ(0, SYS_BIND_RegisterSender(&sender));
        EXPECT_EQ(0, registerReceiver(22, 2, 70, receive));
    }
    ~BindTest() override { SYS_BIND_Init(); }

    static std::int32_t registerReceiver(std::uint32_t modId, std::uint32_t devices,
                                         std::uint32_t channels,
                                         decltype(BIND_RECEIVER_S::pfnReceive) onReceive,
                                         decltype(BIND_RECEIVER_S::pfnReset) onReset = reset) {
        const BIND_RECEIVER_S receiver = {modId, devices, channels, onReceive, onReset};
        return SYS_BIND_RegisterReceiver(&receiver);
    }

    static void registerSender(std::uint32_t modId, std::uint32_t channels = 4) {
        const BIND_SENDER_S sender = {modId, 2, channels, notify};
        EXPECT_EQ(0, SYS_BIND_RegisterSender(&sender));
    }

    std::int32_t send(std::uint32_t chn) { return SYS_BIND_SendData(24, 0, chn, 9, 5, &chn); }

    BIND_CHN_S source_ = {24, 0, 3};
    BIND_CHN_S destination_ = {22, 0, 1};
};

TEST_F(BindTest, DeliversToEveryDestinationInOrder) {
    const BIND_CHN_S second = {22, 1, 0};
    EXPECT_EQ(0, bind(source_, destination_) | bind(source_, second));
    EXPECT_EQ(1 << 1 | 1 << 0, send(3)); // combined with or
    EXPECT_EQ(2, received);
    EXPECT_EQ(0U, lastChannel);
    EXPECT_EQ(9U, lastArgument);
    BIND_DEST_S destinations = {};
    EXPECT_EQ(0, SYS_GetBindbySrc(&source_, &destinations));
    EXPECT_EQ(2U, destinations.u32Num);
    EXPECT_TRUE(isSame(destinations.astChn[1], second));
    BIND_CHN_S found = {};
    EXPECT_EQ(0, SYS_GetBindbyDest(&second, &found));
    EXPECT_TRUE(isSame(found, source_));
    EXPECT_EQ(0, SYS_BIND_ResetData(24, 0, 3, &found));
    EXPECT_EQ(2, resets);
    EXPECT_EQ(0, unbind(second) | unbind(second) | unbind(destination_)); // one has gone by then
    expectOutcome(0xA0028009, "have not Binder !\n", [&] { return send(3); });
    expectOutcome(0, "have not Binder !\n", [&] { return SYS_BIND_ResetData(24, 0, 3, &found); });
}

TEST_F(BindTest, CountsWhatItHandsOver) {
    EXPECT_EQ(0, registerReceiver(30, 1, 1, receive, nullptr));
    EXPECT_EQ(0, bind(source_, destination_) | bind(source_, {30, 0, 0}));
    send(3);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(0, SYS_BIND_ResetData(24, 0, 3, &i));
    }
    const auto counts = [](std::uint32_t module, std::uint32_t channel) {
        const BindRecord &record = bindTables.receivers[module]->records[channel];
        return std::pair(record.sendCount, record.resetCount);
    };
    EXPECT_EQ(std::pair(1U, 2U), counts(22, 1));
    EXPECT_EQ(std::pair(1U, 0U), counts(30, 0)); // there is nobody to reset
    EXPECT_EQ(std::pair(0U, 0U), counts(22, 0));
}

TEST_F(BindTest, RefusesWithTheRightWords) {
    std::uint32_t data = 0;
    BIND_CHN_S found = {};
    const BIND_CHN_S unbound = {22, 0, 0};
    EXPECT_EQ(0, bind(source_, destination_));
    for (const std::function<std::int32_t()> &call :
         {std::function([&] { return SYS_Bind(nullptr, &destination_); }),
          {[] { return SYS_UnBind(nullptr); }},
          {[&] { return SYS_GetBindbyDest(&destination_, nullptr); }},
          {[] { return SYS_GetBindbySrc(nullptr, nullptr); }},
          {[] { return SYS_BIND_ResetData(24, 0, 0, nullptr); }},
          {[] { return SYS_BIND_RegisterSender(nullptr); }},
          {[] { return SYS_BIND_SendData(24, 0, 0, 0, 0, nullptr); }},
          {[] { return registerReceiver(30, 1, 1, nullptr); }}}) {
        expectOutcome(0xA0028006, "Null point \n", call);
    }
    const std::string notBound = "Mod 24, dev 0, chn 5, have not bind !\n";
    const std::string outside = "Bind dev or chn is invalid, dev:2, chn:70 !\n";
    expectOutcomes({
        {0xA0028003, "ModId:60 is invalid !\n",
         [&] {
             return bind({60, 0, 0}, destination_);
         }},
        {0xA0028003, "ModId:22(ao) is not supported !\n", [&] { return bind(unbound, unbound); }},
        {0xA0028003, outside,
         [&] {
             return bind(source_, {22, 2, 70});
         }},
        {0xA0028009, outside, [&] { return SYS_BIND_SendData(24, 2, 70, 0, 0, &data); }},
        {0xA0028009, "Dest have bind Src:(adec,0,3) !\n",
         [&] {
             return bind({24, 0, 4}, destination_);
         }},
        {0xA0028003, "Dest have not bind any Src \n",
         [&] { return SYS_GetBindbyDest(&unbound, &found); }},
        {0xA0028009, notBound, [&] { return send(5); }},
        {0, notBound, [&] { return SYS_BIND_ResetData(24, 0, 5, &data); }},
        {0xA0028009, "Mod:30 have not register ! \n", [] { return SYS_BIND_UnRegisterSender(30); }},
        {0xA0028003, "", [] { return SYS_BIND_UnRegisterReceiver(52); }},
        {0xA0028009, "Mod 22 have register !\n",
         [] { return registerReceiver(22, 1, 16, receive); }},
    });
    messages([] {
        EXPECT_EQ(err(0xA0028003), registerReceiver(30, 1, 0, receive));
        EXPECT_EQ(err(0xA0028003), registerReceiver(30, 0x10000, 0x10000, receive));
    });
    EXPECT_EQ(1 << 1, send(3)); // and the binding stands
}

TEST_F(BindTest, HoldsSixtyFourDestinations) {
    for (std::uint32_t i = 0; i < 64; ++i) {
        ASSERT_EQ(0, bind(source_, {22, 0, i}));
    }
    expectOutcome(0xA0028009, "src bind max(64) err!\n", [&] {
        return bind(source_, {22, 0, 64});
    });
    send(3);
    EXPECT_EQ(64, received);
}

TEST_F(BindTest, TellsASenderOfItsBindings) {
    registerSender(7);
    registerSender(8); // is told nothing
    EXPECT_EQ(0, bind({7, 1, 2}, destination_) | bind({8, 1, 2}, {22, 0, 5}));
    EXPECT_EQ(0, unbind(destination_));
    ASSERT_EQ(2U, notices.size());
    EXPECT_EQ(1U, notices[0].u32Num);
    EXPECT_EQ(22U, notices[0].astChn[0].u32ModId);
    EXPECT_EQ(0U, notices[1].u32Num);
}

TEST_F(BindTest, KnowsTheModulesWithRulesOfTheirOwn) {
    for (const std::uint32_t modId : {5U, 15U, 16U}) {
        registerSender(modId);
        const bool byChannel = modId == 15;
        EXPECT_EQ(0, bind({modId, byChannel ? 1U : 0U, byChannel ? 0U : 2U}, destination_));
        std::uint32_t data = 0;
        // The device is taken as 0 for 5 and 16, the channel for 15.
        EXPECT_EQ(2, SYS_BIND_SendData(modId, 1, 2, 0, 0, &data));
        EXPECT_EQ(0, unbind(destination_));
    }
    EXPECT_EQ(1, resets); // unbinding from module 5 resets the destination
}

TEST_F(BindTest, OutlivesEitherSide) {
    std::uint32_t data = 0;
    EXPECT_EQ(0, bind(source_, destination_));
    EXPECT_EQ(0, SYS_BIND_UnRegisterSender(24));
    EXPECT_EQ(0, unbind(destination_)); // the sender has gone
    registerSender(24);                 // fewer channels than before
    EXPECT_EQ(0, bind({24, 1, 3}, destination_));
    EXPECT_EQ(0, SYS_BIND_UnRegisterSender(24));
    registerSender(24, 40);
    EXPECT_EQ(0, unbind(destination_)); // the sender that bound it is another one
    EXPECT_EQ(0, bind({24, 1, 39}, destination_));
    EXPECT_EQ(0, SYS_BIND_UnRegisterReceiver(22));
    expectOutcome(0, "Mod 22 have not register !\n",
                  [&] { return SYS_BIND_SendData(24, 1, 39, 0, 0, &data); });
    EXPECT_EQ(0, received);
}

// A callback may do anything that any caller may.
std::int32_t busyReceive(std::uint32_t dev, std::uint32_t chn, std::uint32_t /*argument*/,
                         std::uint32_t /*type*/, void *data) {
    const BIND_CHN_S self = {23, dev, chn};
    BIND_CHN_S source = {};
    BIND_DEST_S destinations = {};
    EXPECT_EQ(0, SYS_GetBindbyDest(&self, &source));
    EXPECT_EQ(0, SYS_GetBindbySrc(&source, &destinations));
    if (chn == 0) {
        EXPECT_EQ(0, bind({24, 0, 9}, {23, 0, 1}));
        EXPECT_EQ(0, SYS_BIND_SendData(24, 0, 9, 0, 0, data));
        EXPECT_EQ(0, SYS_BIND_ResetData(24, 0, 9, data));
        EXPECT_EQ(0, unbind({23, 0, 1}));
    }
    ++received;
    return 0;
}

TEST_F(BindTest, HoldsNoLockAcrossACallback) {
    EXPECT_EQ(0, registerReceiver(23, 1, 2, busyReceive));
    EXPECT_EQ(0, bind(source_, {23, 0, 0}));
    EXPECT_EQ(0, send(3));
    EXPECT_EQ(2, received);
    EXPECT_EQ(1, resets);
}

TEST_F(BindTest, EndsOnWhatNobodyMayHandIn) {
    std::uint32_t data = 0;
    EXPECT_EXIT(SYS_BIND_SendData(52, 0, 0, 0, 0, &data), testing::ExitedWithCode(255),
                "condition: enModId < HI_ID_BUTT");
    EXPECT_EXIT(SYS_BIND_SendData(24, 0, 0, 0, 6, &data), testing::ExitedWithCode(255),
                "condition: enDataType < MPP_DATA_BUTT");
}

} // namespace
