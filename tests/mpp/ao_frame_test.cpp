#include "tests/mpp/mpp_fixture.h"
#include "tests/support/random.h"

#include <cstring>
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

    using Period = std::pair<std::vector<unsigned char>, std::vector<unsigned char>>;
    std::vector<Period> periods_; // that the driver was handed
    bool refuses_ = false;
};

TEST_F(AoFrameTest, HandsAFrameOverOneCallLater) {
    const TestFrame first(1280, 1, 1, 3);
    const TestFrame second(1280, 1, 1, 5);
    EXPECT_EQ(0, send(first));
    EXPECT_EQ((std::vector<std::uint32_t>{readyCommand, getAttrCommand, getAttrCommand}),
              device().commands());
    EXPECT_EQ(0U, periods_.size());
    EXPECT_EQ(0, send(second, -1));
    ASSERT_EQ(1U, periods_.size());
    EXPECT_EQ(first.left, periods_[0].first);
    EXPECT_EQ(first.right, periods_[0].second);

    struct SendRecord {
        std::uint32_t words[30];
    };
    const SendRecord record = device().callsOf(sendCommand).at(0).as<SendRecord>();
    EXPECT_EQ(1U, record.words[0]);
    EXPECT_EQ(1U, record.words[1]);
    EXPECT_EQ(0x89ABCDEFU, record.words[6]);
    EXPECT_EQ(0x01234567U, record.words[7]);
    EXPECT_EQ(7U, record.words[8]);
    EXPECT_EQ(1280U, record.words[9]);
    EXPECT_EQ(UINT32_MAX, record.words[28]); // the time-out
}

TEST_F(AoFrameTest, CutsPeriodsFromFramesOfAnySize) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0, send(TestFrame(1000)));
    }
    EXPECT_EQ(1U, periods_.size());
}

TEST_F(AoFrameTest, KeepsWhatTheDriverRefuses) {
    refuses_ = true;
    const TestFrame frame(4096);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(0, send(frame)) << i; // 32768 bytes exactly
    }
    EXPECT_EQ(err(0xA016800F), send(frame));
    EXPECT_EQ(err(0xA016800F), send(TestFrame(2)));
    periods_.clear();
    refuses_ = false;
    EXPECT_EQ(0, send(frame));
    EXPECT_EQ(25U, periods_.size()); // every whole period of 32768 bytes
    EXPECT_EQ(0, HI_MPI_AO_ClearChnBuf(0, 0));
    periods_.clear();
    EXPECT_EQ(0, send(frame)); // finds empty buffers
    EXPECT_EQ(0U, periods_.size());
}

TEST_F(AoFrameTest, RefusesWithTheRightWords) {
    const auto altered = [](auto change) {
        AUDIO_FRAME_S frame = TestFrame(1280).frame;
        static unsigned char data[20000];
        frame.pVirAddr[0] = data;
        frame.pVirAddr[1] = data;
        change(frame);
        return frame;
    };
    const std::string info = "Ao dev: 0, ao chn:0, frame info error.\n";
    const struct {
        AUDIO_FRAME_S frame;
        std::uint32_t result;
        std::string message;
    } cases[] = {
        {altered([](auto &f) { f.enSoundmode = 2; }), 0xA0168003, "Invalid Soundmode(2)!\n" + info},
        {altered([](auto &f) { f.enBitwidth = 3; }), 0xA0168003, "Invalid Bitwidth(3)!\n" + info},
        {altered([](auto &f) { f.enSoundmode = 0; }), 0xA0168008,
         "Soundmode(0), stAioAttr.enSoundmode(1)!\n" + info},
        {altered([](auto &f) { f.enBitwidth = 0; }), 0xA0168008,
         "enBitwidth(0), stAioAttr.enBitwidth(1)!\n" + info},
        {altered([](auto &f) { f.pVirAddr[0] = nullptr; }), 0xA0168006,
         "NULL pointer pVirAddr[0]!\n" + info},
        {altered([](auto &f) { f.pVirAddr[1] = nullptr; }), 0xA0168006,
         "NULL pointer pVirAddr[1]!\n" + info},
        {altered([](auto &f) { f.u32Len = 1; }), 0xA0168003,
         "PointNum of input frame is:0, it's big than MAX_AO_POINT_NUM:4096, or small than 0\n"},
        {altered([](auto &f) { f.u32Len = 8194; }), 0xA0168003,
         "PointNum of input frame is:4097, it's big than MAX_AO_POINT_NUM:4096, or small than 0\n"},
    };
    for (const auto &refusal : cases) {
        EXPECT_EQ(refusal.message, messages([&] {
                      EXPECT_EQ(err(refusal.result), HI_MPI_AO_SendFrame(0, 0, &refusal.frame, 0));
                  }));
    }
    const TestFrame frame(1280);
    EXPECT_EQ("s32MilliSec(-2) can not be lower than -1.\n",
              messages([&] { EXPECT_EQ(err(0xA0168003), send(frame, -2)); }));
    EXPECT_EQ("the AUDIO_FRAME_S pointer for is Ao(0, 0) NULL!\n",
              messages([] { EXPECT_EQ(err(0xA0168006), HI_MPI_AO_SendFrame(0, 0, nullptr, 0)); }));
    EXPECT_EQ("AO chn 5 is not enable\n", messages([&] {
                  EXPECT_EQ(err(0xA0168005), HI_MPI_AO_SendFrame(0, 5, &frame.frame, 0));
              }));
    device().answer(readyCommand, 0); // leaves the word 0
    EXPECT_EQ("", messages([&] { EXPECT_EQ(err(0xA0168009), send(frame)); }));
    device().answer(readyCommand, [](void *record) {
        *static_cast<std::uint32_t *>(record) = 1;
        return 0;
    });
    device().answer(getAttrCommand, -1);
    EXPECT_EQ("can't get aodev0's attribute!\n",
              messages([&] { EXPECT_EQ(err(0xA0168007), send(frame)); }));
    EXPECT_EQ(0U, periods_.size());
}

TEST_F(AoFrameTest, RefusesAPeriodThatCannotBe) {
    for (const std::uint32_t points : {0U, 8193U, 0x80000000U, 0xFFFFFFFFU}) {
        configure(points);
        messages([&] { EXPECT_EQ(err(0xA0168003), send(TestFrame(1280))) << points; });
    }
    configure(8192);
    EXPECT_EQ(0, send(TestFrame(1280)));
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
        device().record(false);
        device().answer(sendCommand, [this](void *record) { return take(record); });
        reconfigure();
    }

    void reconfigure() {
        width_ = random_.below(3);
        subChannels_ = 1 + random_.below(2);
        period_ = (1 + random_.below(AO_PERIOD_MAX >> width_)) << width_;
        configure(period_ >> width_, subChannels_ - 1, width_);
        if (random_.below(2) == 0) {
            EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 0));
        } else {
            EXPECT_EQ(0, HI_MPI_AO_ClearChnBuf(0, 0));
        }
        EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 0));
        stored_[0].clear();
        stored_[1].clear();
    }

    int take(void *record) {
        if (random_.below(4) == 0) {
            return -1;
        }
        for (std::uint32_t k = 0; k < subChannels_; ++k) {
            const std::vector<unsigned char> bytes = periodOf(record, k);
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
        if (random_.below(50) == 0) {
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
    device().record(false);
    const auto nonsense = [&]() -> std::uint32_t {
        static constexpr std::uint32_t numbers[] = {
            0, 1, 2, 3, 640, 4096, 8192, 16384, 16385, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        return numbers[random.below(std::size(numbers))];
    };
    device().answer(getAttrCommand, [&](void *record) {
        AIO_ATTR_S attr = {8000, random.below(3), 0, random.below(2), 1, 30, random.below(20000), 2,
                           0};
        if (random.below(4) == 0) {
            reinterpret_cast<std::uint32_t *>(&attr)[random.below(9)] = nonsense();
        }
        std::memcpy(record, &attr, sizeof attr);
        return random.below(16) == 0 ? -1 : 0;
    });
    device().answer(sendCommand, [&](void *record) {
        static_cast<std::uint32_t *>(record)[random.below(30)] = nonsense();
        return random.below(4) == 0 ? -1 : 0;
    });
    messages([&] {
        for (int i = 0; i < 20000; ++i) {
            const std::uint32_t width = random.below(3);
            const std::uint32_t points = 1 + random.below(MAX_AO_POINT_NUM);
            const TestFrame frame(points << width, random.below(2), width);
            send(frame);
            if (random.below(64) == 0) {
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
        std::vector<TestFrame> stored;
        for (unsigned seed = 1; seed <= 6; ++seed) {
            const TestFrame frame(1280, 1, 1, 2 * seed + 1);
            std::int32_t result = 0;
            messages([&] { result = send(frame); });
            if (result == 0) {
                stored.push_back(frame);
            }
        }
        ASSERT_EQ(stored.size() - 1, periods_.size()) << failing;
        for (std::size_t i = 0; i < periods_.size(); ++i) {
            EXPECT_EQ(stored[i].left, periods_[i].first) << failing;
            EXPECT_EQ(stored[i].right, periods_[i].second) << failing;
        }
    }
    device().reset();
}

} // namespace
