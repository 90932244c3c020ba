#include "tests/mpp/mpp_fixture.h"
#include "tests/support/random.h"

#include <deque>

namespace {

constexpr std::uint32_t sendCommand = 0xC0785805;
constexpr std::uint32_t getAttrCommand = 0x80245802;
constexpr std::uint32_t readyCommand = 0x8004581B;

class AoFrameTest : public MppTest {
protected:
    AoFrameTest() {
        configure();
        EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 0));
        device().answer(sendCommand, [this](void *record) {
            periods_.push_back({periodOf(record, 0), periodOf(record, 1)});
            return refuses_ ? err(0xA016800F) : 0;
        });
        device().clearCalls();
    }

    static std::int32_t send(const TestFrame &frame, std::int32_t milliSec = 1000) {
        return HI_MPI_AO_SendFrame(0, 0, &frame.frame, milliSec);
    }

    using Period = std::pair<Bytes, Bytes>;
    std::vector<Period> periods_; // that the driver was handed
    bool refuses_ = false;
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

TEST_F(AoFrameTest, FillsItsBufferToTheLastByte) {
    refuses_ = true;
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(0, send(TestFrame(4096))) << i; // 32768 bytes exactly
    }
    EXPECT_EQ(err(0xA016800F), send(TestFrame(2)));
    periods_.clear();
    refuses_ = false;
    EXPECT_EQ(0, send(TestFrame(4096)));
    EXPECT_EQ(25U, periods_.size()); // every whole period of 32768 bytes
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

// The buffers against queues: whatever the frames' sizes, the attributes, the driver's moods,
// clears and re-enables, the driver is handed every byte that was stored, once and in order.
class AoModelTest : public MppTest {
protected:
    AoModelTest() {
        device().keepsCalls = false;
        device().answer(sendCommand, [this](void *record) { return take(record); });
        reconfigure();
    }

    void reconfigure() {
        width_ = random_.below(3);
        subChannels_ = 1 + random_.below(2);
        period_ = (1 + random_.below(AO_PERIOD_MAX >> width_)) << width_;
        configure(period_ >> width_, subChannels_ - 1, width_);
        EXPECT_EQ(0, (random_.oneIn(2) ? HI_MPI_AO_DisableChn : HI_MPI_AO_ClearChnBuf)(0, 0));
        EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 0));
        stored_[0].clear();
        stored_[1].clear();
    }

    int take(void *record) {
        if (random_.oneIn(4)) {
            return -1;
        }
        for (std::uint32_t k = 0; k < subChannels_; ++k) {
            const Bytes bytes = periodOf(record, k);
            if (bytes.size() != period_ || stored_[k].size() < period_ ||
                !std::equal(bytes.begin(), bytes.end(), stored_[k].begin())) {
                ++mistakes_;
                return 0;
            }
            stored_[k].erase(stored_[k].begin(), stored_[k].begin() + period_);
        }
        ++taken_;
        return 0;
    }

    void step() {
        const std::uint32_t length = std::max(1U, random_.below(MAX_AO_POINT_NUM + 1)) << width_;
        TestFrame frame(length, subChannels_ - 1, width_, random_.next());
        const std::int32_t result = HI_MPI_AO_SendFrame(0, 0, &frame.frame, 0);
        const bool fits = AO_CIRCLE_SIZE - stored_[0].size() >= length;
        mistakes_ += result == (fits ? 0 : err(0xA016800F)) ? 0 : 1;
        if (fits) {
            stored_[0].insert(stored_[0].end(), frame.left.begin(), frame.left.end());
            stored_[1].insert(stored_[1].end(), frame.right.begin(), frame.right.end());
            stored_[1].resize(subChannels_ == 2 ? stored_[1].size() : 0);
        }
    }

    Random random_;
    std::uint32_t width_ = 0;
    std::uint32_t subChannels_ = 1;
    std::uint32_t period_ = 1;
    std::deque<unsigned char> stored_[2];
    int taken_ = 0;
    int mistakes_ = 0;
};

TEST_F(AoModelTest, HandsOverEveryByteOnce) {
#ifdef __OPTIMIZE__
    constexpr int steps = 300000;
#else
    constexpr int steps = 30000;
#endif
    for (int i = 0; i < steps && mistakes_ == 0; ++i) {
        if (random_.oneIn(50)) {
            reconfigure();
        }
        step();
    }
    EXPECT_EQ(0, mistakes_);
    EXPECT_GT(taken_, steps / 10);
}

// A driver that answers nonsense: whatever it says, nothing is read or written outside the buffers,
// whose ends are guarded.
TEST_F(AoFrameTest, StaysInsideItsBuffers) {
    Random random;
    device().keepsCalls = false;
    const auto nonsense = [&]() -> std::uint32_t {
        static constexpr std::uint32_t numbers[] = {
            0, 1, 2, 3, 640, 4096, 8192, 16384, 16385, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        return numbers[random.below(std::size(numbers))];
    };
    device().answer(getAttrCommand, [&](void *record) {
        AIO_ATTR_S attr = {8000, random.below(3), 0, random.below(2), 1, 30, random.below(20000), 2,
                           0};
        if (random.oneIn(4)) {
            reinterpret_cast<std::uint32_t *>(&attr)[random.below(9)] = nonsense();
        }
        std::memcpy(record, &attr, sizeof attr);
        return random.oneIn(16) ? -1 : 0;
    });
    device().answer(sendCommand, [&](void *record) {
        static_cast<std::uint32_t *>(record)[random.below(30)] = nonsense();
        return random.oneIn(4) ? -1 : 0;
    });
    messages([&] {
        for (int i = 0; i < 20000; ++i) {
            const std::uint32_t width = random.below(3);
            const std::uint32_t points = 1 + random.below(MAX_AO_POINT_NUM);
            const TestFrame frame(points << width, random.below(2), width);
            send(frame);
            if (random.oneIn(64)) {
                HI_MPI_AO_ClearChnBuf(0, 0);
            }
        }
    });
    device().reset();
    configure();
    EXPECT_EQ(0, HI_MPI_AO_ClearChnBuf(0, 0));
    EXPECT_EQ(0, send(TestFrame(1280)));
}

// The attributes can no longer be read, at any point of a delivery: no period is heard twice, none
// is lost that was stored, and the sub-channels do not part.
TEST_F(AoFrameTest, KeepsSubChannelsTogetherWhenTheAttributesGo) {
    int reads = 0;
    int failing = 0;
    device().answer(getAttrCommand, [&](void *record) {
        const AIO_ATTR_S attr = {8000, 1, 0, 1, 1, 30, 640, 2, 0};
        std::memcpy(record, &attr, sizeof attr);
        return ++reads == failing ? -1 : 0;
    });
    for (failing = 1; failing <= 20; ++failing) {
        HI_MPI_AO_ClearChnBuf(0, 0);
        periods_.clear();
        reads = 0;
        std::vector<Period> stored;
        for (unsigned seed = 1; seed <= 6; ++seed) {
            const TestFrame frame(1280, 1, 1, 2 * seed + 1);
            messages([&] {
                if (send(frame) == 0) {
                    stored.emplace_back(frame.left, frame.right);
                }
            });
        }
        stored.pop_back(); // the last one waits in the buffer
        EXPECT_EQ(stored, periods_) << failing;
    }
    device().reset();
}

} // namespace
