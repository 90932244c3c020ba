#include "tests/mpp/ao_model.h"
#include "tests/support/random.h"

namespace {

constexpr std::uint32_t sendCommand = aoSendCommand;
constexpr std::uint32_t getAttrCommand = 0x80245802;
constexpr std::uint32_t readyCommand = 0x8004581B;

class AoFrameTest : public MppTest {
protected:
    AoFrameTest() {
        configure();
        EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 0));
        device().answer(sendCommand, [this](void *record) {
            periods_.push_back({periodOf(record, 0), periodOf(record, 1)});
            return 0;
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
    EXPECT_EQ((Commands{readyCommand, getAttrCommand, getAttrCommand}), device().commands());
    EXPECT_EQ(0U, periods_.size());
    EXPECT_EQ(0, send(second, -1));
    ASSERT_EQ(1U, periods_.size());
    EXPECT_EQ(first.left, periods_[0].first);
    EXPECT_EQ(first.right, periods_[0].second);

    const auto words = device().sent<std::array<std::uint32_t, 30>>(sendCommand);
    EXPECT_EQ((std::vector<std::uint32_t>{0x89ABCDEF, 0x01234567, 7, 1280}),
              std::vector(words.begin() + 6, words.begin() + 10));
    EXPECT_EQ(1U, words[0]);
    EXPECT_EQ(1U, words[1]);
    EXPECT_EQ(UINT32_MAX, words[28]); // the time-out
}

TEST_F(AoFrameTest, RefusesWithTheRightWords) {
    const auto altered = [](auto change) {
        return [change] {
            TestFrame frame(20000);
            frame.frame.u32Len = 1280;
            change(frame.frame);
            return send(frame, 0);
        };
    };
    const TestFrame frame(1280);
    const auto plain = [&] { return send(frame); };
    const std::string info = "Ao dev: 0, ao chn:0, frame info error.\n";
    const std::string limits = ", it's big than MAX_AO_POINT_NUM:4096, or small than 0\n";
    expectOutcomes({
        {0xA0168003, "Invalid Soundmode(2)!\n" + info, altered([](auto &f) { f.enSoundmode = 2; })},
        {0xA0168003, "Invalid Bitwidth(3)!\n" + info, altered([](auto &f) { f.enBitwidth = 3; })},
        {0xA0168008, "Soundmode(0), stAioAttr.enSoundmode(1)!\n" + info,
         altered([](auto &f) { f.enSoundmode = 0; })},
        {0xA0168008, "enBitwidth(0), stAioAttr.enBitwidth(1)!\n" + info,
         altered([](auto &f) { f.enBitwidth = 0; })},
        {0xA0168006, "NULL pointer pVirAddr[0]!\n" + info,
         altered([](auto &f) { f.pVirAddr[0] = nullptr; })},
        {0xA0168006, "NULL pointer pVirAddr[1]!\n" + info,
         altered([](auto &f) { f.pVirAddr[1] = nullptr; })},
        {0xA0168003, "PointNum of input frame is:0" + limits,
         altered([](auto &f) { f.u32Len = 1; })},
        {0xA0168003, "PointNum of input frame is:4097" + limits,
         altered([](auto &f) { f.u32Len = 8194; })},
        {0xA0168003, "s32MilliSec(-2) can not be lower than -1.\n",
         [&] { return send(frame, -2); }},
        {0xA0168006, "the AUDIO_FRAME_S pointer for is Ao(0, 0) NULL!\n",
         [] { return HI_MPI_AO_SendFrame(0, 0, nullptr, 0); }},
        {0xA0168005, "AO chn 5 is not enable\n",
         [&] { return HI_MPI_AO_SendFrame(0, 5, &frame.frame, 0); }},
    });
    for (const std::uint32_t points : {0U, 8193U, 0x80000000U, 0xFFFFFFFFU}) {
        configure(points);
        messages([&] { EXPECT_EQ(err(0xA0168003), plain()) << points; });
    }
    device().answerWords(readyCommand, {0});
    expectOutcomes({{0xA0168009, "", plain}});
    device().answerWords(readyCommand, {1});
    device().answer(getAttrCommand, -1);
    expectOutcomes({{0xA0168007, "can't get aodev0's attribute!\n", plain}});
    EXPECT_EQ(0U, periods_.size());
    device().reset();
    configure(8192);
    EXPECT_EQ(0, plain());
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
