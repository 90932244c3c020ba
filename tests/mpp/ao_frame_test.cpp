#include "tests/mpp/ao_model.h"
#include "tests/support/random.h"

namespace {

using namespace driverCommand;

class AoFrameTest : public MppTest {
protected:
    AoFrameTest() {
        configure();
        EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 0));
        device().watch(aoSend, [this](const void *record) {
            periods_.push_back({periodOf(record, 0), periodOf(record, 1)});
        });
        device().clearCalls();
    }

    static std::int32_t send(const TestFrame &frame, std::int32_t milliSec = 1000) {
        return HI_MPI_AO_SendFrame(0, 0, &frame.frame, milliSec);
    }

    using Period = std::pair<Bytes, Bytes>;
    std::vector<Period> periods_; // that the driver was handed
};

TEST_F(AoFrameTest, HandsAFrameOverOneCallLater) {
    const TestFrame first(1280, 1, 1, 3);
    const TestFrame second(1280, 1, 1, 5);
    EXPECT_EQ(0, send(first));
    EXPECT_EQ((Commands{aoGetReady, aoGetAttr, aoGetAttr}), device().commands());
    EXPECT_EQ(0U, periods_.size());
    EXPECT_EQ(0, send(second, -1));
    ASSERT_EQ(1U, periods_.size());
    EXPECT_EQ(first.left, periods_[0].first);
    EXPECT_EQ(first.right, periods_[0].second);

    const auto words = device().sent<std::array<std::uint32_t, 30>>(aoSend);
    EXPECT_EQ((std::vector<std::uint32_t>{0x89ABCDEF, 0x01234567, 7, 1280}),
              std::vector(words.begin() + 6, words.begin() + 10));
    EXPECT_EQ(1U, words[0]);
    EXPECT_EQ(1U, words[1]);
    EXPECT_EQ(UINT32_MAX, words[28]); // the time-out
}

TEST_F(AoFrameTest, RefusesWhatCannotBePlayed) {
    const struct {
        std::uint32_t result;
        void (*change)(AUDIO_FRAME_S &frame);
    } refusals[] = {
        {0xA0168003, [](auto &frame) { frame.enSoundmode = 2; }},
        {0xA0168003, [](auto &frame) { frame.enBitwidth = 3; }},
        {0xA0168008, [](auto &frame) { frame.enSoundmode = AUDIO_SOUND_MODE_MONO; }},
        {0xA0168008, [](auto &frame) { frame.enBitwidth = AUDIO_BIT_WIDTH_8; }},
        {0xA0168006, [](auto &frame) { frame.pVirAddr[0] = nullptr; }},
        {0xA0168006, [](auto &frame) { frame.pVirAddr[1] = nullptr; }},
        {0xA0168003, [](auto &frame) { frame.u32Len = 1; }},
        {0xA0168003, [](auto &frame) { frame.u32Len = 8194; }},
    };
    for (const auto &refusal : refusals) {
        TestFrame frame(20000);
        frame.frame.u32Len = 8192;
        messages([&] { EXPECT_EQ(0, send(frame)); });
        EXPECT_EQ(0, HI_MPI_AO_ClearChnBuf(0, 0));
        refusal.change(frame.frame);
        const std::string report = messages([&] { EXPECT_EQ(err(refusal.result), send(frame)); });
        EXPECT_TRUE(report.ends_with("frame info error.\n") || report.starts_with("PointNum of"));
    }
    const TestFrame frame(1280);
    const auto plain = [&] { return send(frame); };
    expectOutcomes({
        {0xA0168003, "s32MilliSec(-2) can not be lower than -1.\n",
         [&] { return send(frame, -2); }},
        {0xA0168006, "the AUDIO_FRAME_S pointer for is Ao(0, 0) NULL!\n",
         [] { return HI_MPI_AO_SendFrame(0, 0, nullptr, 0); }},
        {0xA0168005, "AO chn 5 is not enable\n",
         [&] { return HI_MPI_AO_SendFrame(0, 5, &frame.frame, 0); }},
    });
    for (const std::uint32_t points : {0U, 8193U, 0x80000000U, 0xFFFFFFFFU}) {
        pretend(attributes(points));
        messages([&] { EXPECT_EQ(err(0xA0168003), plain()) << points; });
    }
    pretend(attributes(8192));
    EXPECT_EQ(0, plain());
    device().answer(aoGetAttr, -1);
    expectOutcome(0xA0168007, "can't get aodev0's attribute!\n", plain);
    device().answerWords(aoGetReady, {0});
    expectOutcome(0xA0168009, "", plain);
    EXPECT_EQ(0U, periods_.size());
}

TEST_F(AoFrameTest, TakesFramesFromTheBinder) {
    const BIND_CHN_S source = {24, 0, 3};
    const BIND_CHN_S destination = {22, 0, 0};
    ASSERT_EQ(0, SYS_Bind(&source, &destination));
    TestFrame frame(1280);
    EXPECT_EQ(0, SYS_BIND_SendData(24, 0, 3, 0, 5, &frame.frame));
    EXPECT_EQ(0, SYS_BIND_SendData(24, 0, 3, 0, 5, &frame.frame));
    EXPECT_EQ(1U, periods_.size());
    EXPECT_EXIT(MPI_AO_ReceiveFrm(0, 0, 0, 4, &frame.frame), testing::ExitedWithCode(255),
                "condition: MPP_DATA_AUDIO_FRAME == enDataType");
    EXPECT_EXIT(MPI_AO_ReceiveFrm(0, 0, 0, 5, nullptr), testing::ExitedWithCode(255),
                "condition: NULL != pData");
}

TEST_F(AoFrameTest, HandsOverEveryByteOnce) {
#if defined(__SANITIZE_THREAD__)
    constexpr int steps = 50000; // slow there, and there is but one thread
#elif defined(__OPTIMIZE__)
    constexpr int steps = 300000;
#else
    constexpr int steps = 30000;
#endif
    const Captured quiet;
    Random random;
    AoModel model([&](std::uint32_t end) { return random.below(end); });
    for (int i = 0; i < steps && model.mistakes() == 0; ++i) {
        model.step();
    }
    EXPECT_EQ(0, model.mistakes());
    EXPECT_GT(model.taken(), steps / 10);
}

} // namespace
