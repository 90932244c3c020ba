#include "tests/mpp/mpp_fixture.h"

namespace {

using namespace driverCommand;

class AoVqeTest : public MppTest {
protected:
    AoVqeTest() {
        configure(attributes(640, AUDIO_SOUND_MODE_MONO));
        EXPECT_EQ(0, HI_MPI_AO_EnableChn(0, 0));
        device().watch(aoSend, [this](const void *record) {
            const auto period = periodOf<std::int16_t>(record, 0);
            heard_.insert(heard_.end(), period.begin(), period.end());
        });
        device().clearCalls();
    }

    // Plays a frame of `points` 16-bit samples that rise by one from point to point.
    std::int32_t play(std::uint32_t points) {
        TestFrame frame(2 * points, AUDIO_SOUND_MODE_MONO);
        for (std::uint32_t i = 0; i < points; ++i) {
            const auto sample = static_cast<std::int16_t>(played_++ * 8);
            std::memcpy(frame.left.data() + std::size_t{2} * i, &sample, 2);
        }
        return HI_MPI_AO_SendFrame(0, 0, &frame.frame, 0);
    }

    int played_ = 0;
    std::vector<std::int16_t> heard_;
};

TEST_F(AoVqeTest, RefusesWhatCannotBeResampled) {
    const auto mono = [](std::uint32_t rate, std::uint32_t channels = 2) {
        return attributes(640, AUDIO_SOUND_MODE_MONO, AUDIO_BIT_WIDTH_16, rate, channels);
    };
    const struct {
        std::uint32_t result, chn, rate;
        AIO_ATTR_S attr;
    } refusals[] = {{0xA0168005, 3, 16000, mono(8000)},    {0xA0168003, 0, 8001, mono(8000)},
                    {0xA0168009, 0, 8000, mono(8000)},     {0xA0168003, 0, 16000, attributes()},
                    {0xA0168002, 0, 16000, mono(8000, 0)}, {0xA0168009, 0, 16000, mono(96000)},
                    {0xA0168041, 0, 16000, mono(0)}};
    for (const auto &refusal : refusals) {
        pretend(refusal.attr);
        const std::string text = messages([&] {
            EXPECT_EQ(err(refusal.result), HI_MPI_AO_EnableReSmp(0, refusal.chn, refusal.rate));
        });
        EXPECT_EQ(refusal.result == 0xA0168041, text.empty());
    }
    device().answer(aoGetAttr, 5);
    expectOutcome(0xA0168007, "can't get aodev0's attribute!\n",
                  [] { return HI_MPI_AO_EnableReSmp(0, 0, 16000); });
}

TEST_F(AoVqeTest, ResamplesWithoutSeams) {
    EXPECT_EQ(0, HI_MPI_AO_EnableReSmp(0, 0, 16000));
    EXPECT_EQ(16000U, device().sent<AO_RESMP_DBG_S>(aoSetResampleDebug).enInSampleRate);
    EXPECT_EQ(0, HI_MPI_AO_EnableReSmp(0, 0, 16000));
    expectOutcome(
        0xA0168009,
        "Resmp has been enable but the resamplerate:44100 not the same as before:16000.\n",
        [] { return HI_MPI_AO_EnableReSmp(0, 0, 44100); });
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(0, play(333)); // odd frames leave an output point between two of them
    }
    ASSERT_GT(heard_.size(), 5000U);
    for (std::size_t i = 2; i < heard_.size(); ++i) { // every other one
        ASSERT_EQ(16, static_cast<std::int16_t>(heard_[i] - heard_[i - 1])) << i;
    }
    EXPECT_EQ(0, HI_MPI_AO_DisableReSmp(0, 0));
    EXPECT_EQ(0, HI_MPI_AO_DisableReSmp(0, 0));
}

TEST_F(AoVqeTest, RefusesWhatResamplingMakesTooLong) {
    pretend(attributes(640, AUDIO_SOUND_MODE_MONO, AUDIO_BIT_WIDTH_16, 48000));
    EXPECT_EQ(0, HI_MPI_AO_EnableReSmp(0, 0, 8000));
    expectOutcome(0xA0168003,
                  "PointNum after ao resample is:4098, it's biger than MAX_AO_POINT_NUM:4096, "
                  "or small than 0\n",
                  [&] { return play(683); });
    EXPECT_EQ(0, play(682));
}

TEST_F(AoVqeTest, PassesVoiceQualityThrough) {
    AO_VQE_ATTR_S attr = {44100, 640, {}};
    EXPECT_EQ(err(0xA0168009), HI_MPI_AO_EnableVqe(0, 0)); // nothing is set
    EXPECT_EQ(err(0xA0168007), HI_MPI_AO_GetVqeAttr(0, 0, &attr));
    EXPECT_EQ(err(0xA0168003), HI_MPI_AO_SetVqeAttr(0, 0, &attr));
    attr.u32WorkSampleRate = 8000;
    attr.au32Effect[13] = 77;
    EXPECT_EQ(0, HI_MPI_AO_SetVqeAttr(0, 0, &attr));
    EXPECT_EQ(0, HI_MPI_AO_EnableVqe(0, 0));
    EXPECT_EQ(err(0xA0168009), HI_MPI_AO_SetVqeAttr(0, 0, &attr)); // while it is on
    EXPECT_EQ(0, HI_MPI_AO_EnableMBC(0, 0));
    EXPECT_EQ(0, HI_MPI_AO_EnableReSmp(0, 0, 16000));
    EXPECT_EQ(0, HI_MPI_AO_ClearChnBuf(0, 0));
    EXPECT_EQ(0, HI_MPI_AO_DisableReSmp(0, 0));
    attr = {};
    EXPECT_EQ(0, HI_MPI_AO_GetVqeAttr(0, 0, &attr)); // kept when the engine is made anew
    EXPECT_EQ(77U, attr.au32Effect[13]);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(0, play(640));
    }
    ASSERT_EQ(3U * 640, heard_.size());
    EXPECT_EQ(8 * 1919, heard_.back());
    EXPECT_EQ(0, HI_MPI_AO_DisableVqe(0, 0));
    EXPECT_EQ(0, HI_MPI_AO_DisableMBC(0, 0));
}

TEST_F(AoVqeTest, DumpsBothSidesUpToTheLimit) {
    AO_DUMP_S dump = {1, "/no/such/directory", "test", 3};
    EXPECT_EQ(0, HI_MPI_AO_SaveFile(0, 0, &dump));
    const AO_VQE_ATTR_S attr = {8000, 640, {}};
    EXPECT_EQ(0, HI_MPI_AO_SetVqeAttr(0, 0, &attr));
    EXPECT_EQ(0, HI_MPI_AO_EnableVqe(0, 0));
    const auto playOn = [this] { return play(640); };
    expectOutcome(0,
                  "out: DevId:0, AoChn:0, File: InFilePath/OutFilePath open failed!Please check "
                  "your Filepath!\n",
                  playOn);
    device().answer(aoGetDump, -1);
    expectOutcome(0, "get ao dumpfile cfg error!\n", playOn);
    const TemporaryDirectory dir;
    dump = {1, {}, "test", 3};
    dir.path().string().copy(dump.acPath, sizeof dump.acPath - 1);
    EXPECT_EQ(0, HI_MPI_AO_SaveFile(0, 0, &dump));
    device().leaveToDriver(aoGetDump);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(0, playOn());
    }
    // 3 KiB is reached within the third frame of 1280 bytes, which is written whole.
    EXPECT_EQ(3840U, file_size(dir.path() / "Sin_AoDev0_Chn0_8K_test.pcm"));
    EXPECT_EQ(3840U, file_size(dir.path() / "Sou_AoDev0_Chn0_8K_test.pcm"));
    std::memcpy(&dump, device().board().ao.channels[0].dump, sizeof dump);
    EXPECT_EQ(0U, dump.bEnable); // told to the driver
    EXPECT_EQ(1U, dump.u32KBytes);
    dump.bEnable = 1;
    dump.u32KBytes = 100;
    EXPECT_EQ(0, HI_MPI_AO_SaveFile(0, 0, &dump));
    EXPECT_EQ(0, playOn());
    EXPECT_EQ(0, HI_MPI_AO_DisableChn(0, 0)); // closes the files
    EXPECT_EQ(1280U, file_size(dir.path() / "Sou_AoDev0_Chn0_8K_test.pcm"));
}

} // namespace
