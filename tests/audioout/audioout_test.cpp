#include "audioout/audioout.h"

#include "audioout/acodec_record.h"
#include "audioout/hi3516a_acodec_ctrl.h"
#include "audioout/hi3516a_ao.h"
#include "mpp/include/mpp_ao.h"
#include "mpp/include/mpp_sys.h"
#include "tests/support/captured.h"
#include "tests/support/redirect.h"
#include "tests/support/scripted_device.h"
#include "vcam/preload/interpose.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <map>
#include <utility>

namespace {

using namespace driverCommand;

static_assert(ACODEC_CMD_SET_DACR_VOLUME == acodecSetRightVolume); // sent by no test by name

std::vector<unsigned> sleeps;

} // namespace

INTERPOSE(unsigned, sleep, (unsigned seconds)) {
    sleeps.push_back(seconds);
    return 0;
}

namespace {

using Commands = std::vector<std::uint32_t>;

// The audio output on a camera whose video side is up.
class AudioOutTest : public testing::Test {
protected:
    AudioOutTest() {
        std::filesystem::create_directories(dir_.path() / "var/run");
        std::ofstream(dir_.path() / "var/run/venc.pid") << "1\n";
        device().reset();
        sleeps.clear();
    }
    ~AudioOutTest() override {
        device().reset();
        Captured quiet;
        audioout_close(0, 0);
        HI_MPI_SYS_Exit();
    }

    static std::int32_t open() { return audioout_open(0, 0, 8000, 16, 640); }

    // What a call reports, one text a line behind the function that reports it.
    template <typename Call>
    static std::string reports(Call call, std::int32_t expected) {
        const std::string text = outputOf([&] { EXPECT_EQ(expected, call()); });
        return replaced(text, R"(\[Func\]:(\w+) \[Line\]:# \[Info\]:)", "$1: ");
    }

    // Expects a call to fail, and to report this among its texts.
    template <typename Call>
    static void expectFailure(const std::string &report, Call call) {
        const std::string text = reports(call, -1);
        EXPECT_NE(std::string::npos, text.find(report)) << report << '\n' << text;
    }

    // A call that writes a silent block.
    static auto write(std::int32_t size) {
        return [size] {
            static const std::vector<char> block(40000);
            return audioout_write(0, 0, block.data(), size);
        };
    }

    TemporaryDirectory dir_;
    RedirectedPaths paths_{dir_.path()};
};

TEST_F(AudioOutTest, OpensInOrder) {
    EXPECT_EQ("", reports(open, 0));
    Commands commands = device().commands();
    std::erase(commands, aoBind);                                      // at a channel's first use
    EXPECT_EQ((Commands{sysInit, sysGetKernelConfig, sysGetTuningMode, // platform
                        aoDisable,                                     // an earlier use is shut
                        aoSetAttr, acodecReset, acodecSetRate, acodecSetMute, vbGetConfig,
                        sysGetConfig, vbInit, // what the video side has set up
                        sysInit, sysGetKernelConfig, sysGetTuningMode, aoEnable, mmzAlloc, mmzMap,
                        aoEnableChn, aoSetVolume}),
              commands);
    const auto attr = device().sent<AIO_ATTR_S>(aoSetAttr);
    const std::uint32_t expected[] = {8000, 1, 0, 1, 1, 30, 640, 2, 0};
    EXPECT_EQ(0, std::memcmp(&attr, expected, sizeof attr));
    const BoardRegisters &board = device().board();
    EXPECT_EQ(24U, board.acodec.rateCode);
    EXPECT_EQ(0U, board.acodec.daclMute);
    EXPECT_EQ(-2, static_cast<std::int32_t>(board.ao.volumeDb));
    EXPECT_TRUE(sleeps.empty());
    EXPECT_EQ("", reports(open, 0)); // closes first
    EXPECT_EQ("", reports([] { return audioout_close(0, 0); }, 0));
    EXPECT_EQ(0U, device().held().memory);
}

TEST_F(AudioOutTest, WaitsForTheVideoSide) {
    std::filesystem::remove(dir_.path() / "var/run/venc.pid");
    EXPECT_EQ("", reports(open, 0));
    EXPECT_EQ(std::vector<unsigned>(30, 2), std::exchange(sleeps, {}));
    std::ofstream(dir_.path() / "var/run/venc.pid") << "1\n";
    int tries = 0;
    device().answer(vbGetConfig, [&](void *) { return ++tries < 9 ? -1 : 0; });
    EXPECT_EQ("", reports(open, 0));
    EXPECT_EQ(std::vector<unsigned>(8, 1), sleeps);
    device().answer(vbGetConfig, 0xABC);
    expectFailure("hi3516a_ao_open:  hi3516a's VB config is not ready - ErrCode(     ABC) !! \n",
                  open);
    device().leaveToDriver(vbGetConfig);
    device().board().sys.hasConfig = 0;
    expectFailure("hi3516a_ao_open:  hi3516a's System config is not ready -ErrCode(a0028010)\n",
                  open);
}

// Every command that may fail while the output opens, and what is said then.
TEST_F(AudioOutTest, TellsWhatDoesNotOpen) {
    const std::string code = " failed - ErrCode(  a0168009)\n";
    const std::map<std::uint32_t, std::string> cases = {
        {aoDisable, "hi3516a_ao_close: HI_MPI_AO_Disable" + code},
        {aoSetAttr, "hi3516a_ao_init_cfg: HI_MPI_AO_SetPubAttr" + code},
        {acodecReset, "hi3516a_acodec_ctrl: reset audio codec failed\n"},
        {acodecSetRate, "hi3516a_acodec_ctrl: set audio codec sample rate failed\n"},
        {acodecSetMute, "hi3516a_acodec_ctrl: set audio codec dacl mute failed \n"},
        {vbInit, "hi3516a_ao_open:  HI_MPI_VB_Init" + code},
        {aoEnable, "hi3516a_ao_open:  HI_MPI_AO_Enable" + code},
        {aoEnableChn, "hi3516a_ao_open:  HI_MPI_AO_EnableChn" + code},
        {aoSetVolume, "hi3516a_ao_open:  HI_MPI_AO_SetVolume" + code},
        {sysInit, "hi3516a_ao_open:  HI_MPI_SYS_Init" + code},
    };
    for (const auto &[command, report] : cases) {
        device().answer(command, static_cast<int>(0xA0168009));
        expectFailure(report, open);
        device().leaveToDriver(command);
    }
    EXPECT_EQ("", reports(open, 0));
    device().openAs("/dev/acodec", -1);
    expectFailure("hi3516a_acodec_ctrl: can't open codec\n"
                  "hi3516a_ao_init_cfg: Configure audio codec failed\n",
                  open);
}

TEST_F(AudioOutTest, RefusesARateOrWidthThatThereIsNot) {
    EXPECT_EQ("xfer_hi3516a_samp_rate:  sample rate (96000) is not support \n"
              "xfer_hi3516a_bit_width:  bit width (32) is not support \n"
              "hi3516a_ao_init_cfg: HI_MPI_AO_SetPubAttr failed - ErrCode(  a0168003)\n",
              reports([] { return hi3516a_ao_init_cfg(0, 96000, 32, 640); }, -1));
    const auto attr = device().sent<AIO_ATTR_S>(aoSetAttr);
    EXPECT_EQ(UINT32_MAX, attr.enSamplerate);
    EXPECT_EQ(UINT32_MAX, attr.enBitwidth);
    const std::map<std::int32_t, std::uint32_t> codes = {{8000, 24},  {11025, 24}, {12000, 24},
                                                         {16000, 25}, {22050, 25}, {24000, 25},
                                                         {32000, 26}, {44100, 26}, {48000, 26}};
    for (const auto &[rate, code] : codes) {
        EXPECT_EQ(0, hi3516a_ao_init_cfg(0, rate, 16, 640));
        EXPECT_EQ(code, device().board().acodec.rateCode);
    }
}

TEST_F(AudioOutTest, SplitsEveryWidthSecondChannelFirst) {
    for (const std::uint32_t sample : {1U, 2U, 3U}) {
        ASSERT_EQ(0, audioout_open(0, 0, 8000, static_cast<std::int32_t>(8 * sample), 80));
        std::string heard[2];
        device().watch(aoSend, [&](const void *record) {
            for (std::uint32_t k = 0; k < 2; ++k) {
                const auto side = periodOf<char>(record, k);
                heard[k].append(side.data(), side.size());
            }
        });
        std::string block;
        for (std::size_t i = 0; i < 512 * sample; ++i) {
            block += static_cast<char>(i % 251);
        }
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(0, audioout_write(0, 0, block.data(), static_cast<int>(block.size())));
        }
        ASSERT_GE(heard[0].size(), 3 * 80U);
        for (std::size_t i = 0; i + sample <= heard[0].size(); i += sample) {
            EXPECT_EQ(block.substr(2 * i, sample), heard[1].substr(i, sample)) << sample;
            EXPECT_EQ(block.substr(2 * i + sample, sample), heard[0].substr(i, sample)) << sample;
        }
    }
    const auto words = device().sent<std::array<std::uint32_t, 30>>(aoSend);
    EXPECT_EQ(2U, words[6]); // the time stamp
    EXPECT_EQ(0U, words[7]);
    EXPECT_EQ(1U, words[8]); // the sequence
    EXPECT_EQ(1000U, words[28]);
}

TEST_F(AudioOutTest, ReopensForABlockOfAnotherSize) {
    ASSERT_EQ(0, open());
    const std::string refused =
        "hi3516a_ao_pcm_write: HI_MPI_AO_SendFrame failed - ErrCode(  a0168009)\n"
        "audioout_write: hi3516a_ao_pcm_write failed\n";
    device().answer(aoGetReady, -1); // not ready
    EXPECT_EQ(refused, reports(write(2560), -1));
    EXPECT_EQ(refused + "hi3516a_ao_frmPt_check:  ao's PtNumPerFrm(640) is non match "
                        "framesize(512)\naudioout_write: reset hi3516a ao attribute\n",
              reports(write(2048), -1));
    const auto attr = device().callsOf(aoSetAttr).back().as<AIO_ATTR_S>();
    EXPECT_EQ(512U, attr.u32PtNumPerFrm);
    EXPECT_EQ(8000U, attr.enSamplerate);
    EXPECT_EQ(1U, attr.enBitwidth);
    device().answer(aoEnableChn, -1);
    expectFailure("hi3516a_ao_pcm_reset: hi3516a_ao_open failed\n"
                  "audioout_write: hi3516a_ao_pcm_reset failed\n",
                  write(2560));
    // What a reset leaves closed stays so until it is opened again.
    device().leaveToDriver(aoGetReady);
    device().leaveToDriver(aoEnableChn);
    EXPECT_EQ(std::string::npos, reports(write(2560), -1).find("reset hi3516a ao attribute"));
    ASSERT_EQ(0, open());
    EXPECT_EQ("", reports(write(2560), 0));
    device().answer(aoDisable, -1);
    EXPECT_EQ("hi3516a_ao_close: HI_MPI_AO_Disable failed - ErrCode(  ffffffff)\n"
              "hi3516a_ao_pcm_reset: hi3516a_ao_close failed\n",
              reports([] { return hi3516a_ao_pcm_reset(0, 0, 2048); }, -1));
}

TEST_F(AudioOutTest, RefusesBlocksThatCannotBe) {
    ASSERT_EQ(0, open());
    device().clearCalls();
    EXPECT_EQ("audioout_write: audioout_write fail, iFrameSize :0\n", reports(write(0), -1));
    EXPECT_EQ("audioout_write: audioout_write fail, iFrameSize :-5\n", reports(write(-5), -1));
    EXPECT_TRUE(device().commands().empty());
    for (const std::int32_t size : {-1, -4, INT32_MIN}) {
        hi3516a_ao_pcm_write(0, 0, "", size);
        EXPECT_TRUE(device().callsOf(aoSend).empty());
        expectFailure("hi3516a_ao_pcm_reset: block is no frame of the device\n",
                      [size] { return hi3516a_ao_pcm_reset(0, 0, size); });
    }
    ASSERT_EQ(0, audioout_close(0, 0));
    expectFailure("the output is not open\n", write(2560));
    for (const auto &[size, report] : {std::pair(32768, "HI_MPI_AO_SendFrame failed"),
                                       {32769, "block does not fit the channel buffers\n"}}) {
        ASSERT_EQ(0, audioout_open(0, 0, 8000, 8, 640));
        expectFailure(report, write(size));
    }
    // Attributes that make no sense, and none.
    ASSERT_EQ(0, open());
    for (const auto &[width, channels] : {std::pair(3U, 2U), {1U, 0U}, {2U, UINT32_MAX}}) {
        device().answerWords(aoGetAttr, {8000, width, 0, 1, 1, 30, 640, channels, 0});
        reports(write(2560), -1);
    }
    device().answer(aoGetAttr, 7);
    const std::string text = reports(write(2560), -1);
    for (const char *function :
         {"hi3516a_ao_pcm_write", "hi3516a_ao_frmPt_check", "hi3516a_ao_pcm_reset"}) {
        const std::string report = ": HI_MPI_AO_GetPubAttr failed - ErrCode(         7)\n";
        EXPECT_NE(std::string::npos, text.find(function + report)) << text;
    }
}

TEST_F(AudioOutTest, SetsBothSidesOfTheVolumeAndClears) {
    EXPECT_EQ("", reports([] { return audioout_set_volume(46); }, 0));
    EXPECT_EQ(46U, device().board().acodec.volume[0]);
    EXPECT_EQ(46U, device().board().acodec.volume[1]);
    device().clearCalls();
    EXPECT_EQ("hi3516a_acodec_ctrl_dacl_volume: set audio codec dacl volume failed\n"
              "hi3516a_acodec_ctrl_dacl_volume: set audio codec dacr volume failed\n"
              "hi3516a_acodec_ctrl: set audio codec dacl volume failed \n"
              "hi3516a_ao_reset_volume: Configure audio codec failed\n"
              "audioout_set_volume: hi3516a_ao_reset_volume failed !\n",
              reports([] { return audioout_set_volume(128); }, -1));
    EXPECT_EQ(2U, device().commands().size()); // the right side is tried all the same
    device().answer(aoClearChn, 3);
    expectFailure(
        "hi3516a_ao_clear_audio_buffer: HI_MPI_AO_ClearChnBuf failed - ErrCode(         3)\n"
        "audioout_clear_audio_buffer: hi3516a_ao_clear_audio_buffer failed !\n",
        [] { return audioout_clear_audio_buffer(0, 0); });
}

TEST_F(AudioOutTest, EndsACodecRequestAtItsFirstFailure) {
    device().answer(acodecReset, 5); // more than 0 is no failure
    const ACODEC_CTRL_REQUEST request = {0x1 | 0x2 | 0x40, 96000, 1, 0};
    const std::size_t descriptors = device().held().descriptors;
    EXPECT_EQ("hi3516a_acodec_ctrl_samprate: audio codec not support enSample\n"
              "hi3516a_acodec_ctrl: set audio codec sample rate failed\n",
              reports([&] { return hi3516a_acodec_ctrl(&request); }, -1));
    EXPECT_EQ(Commands{acodecReset}, device().commands());
    EXPECT_EQ(descriptors, device().held().descriptors);
}

} // namespace
