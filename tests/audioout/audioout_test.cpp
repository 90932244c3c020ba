#include "audioout/audioout.h"

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

namespace {

std::vector<unsigned> sleeps;

} // namespace

INTERPOSE(unsigned, sleep, (unsigned seconds)) {
    sleeps.push_back(seconds);
    return 0;
}

namespace {

constexpr std::uint32_t setAttr = 0x40245801;
constexpr std::uint32_t getAttr = 0x80245802;
constexpr std::uint32_t sendCommand = 0xC0785805;

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

    // A call that writes a silent block.
    static auto write(std::int32_t size) {
        return [size] {
            static const std::vector<char> block(40000);
            return audioout_write(0, 0, block.data(), size);
        };
    }

    // Keeps what each side of the periods from now on holds.
    void listen() {
        device().answer(sendCommand, [this](void *record) {
            for (std::uint32_t k = 0; k < 2; ++k) {
                const auto side = periodOf<char>(record, k);
                heard_[k].append(side.data(), side.size());
            }
            return 0;
        });
    }

    // Sets other attributes for an output that is open, with nothing queued.
    static void configure(std::uint32_t width, std::uint32_t points) {
        const AIO_ATTR_S attr = {8000, width, 0, 1, 1, 30, points, 2, 0};
        ASSERT_EQ(0, HI_MPI_AO_SetPubAttr(0, &attr));
        ASSERT_EQ(0, HI_MPI_AO_ClearChnBuf(0, 0));
    }

    std::string heard_[2];
    TemporaryDirectory dir_;
    RedirectedPaths paths_{dir_.path()};
};

TEST_F(AudioOutTest, OpensInOrder) {
    EXPECT_EQ("", reports(open, 0));
    Commands commands = device().commands();
    std::erase(commands, 0x40045800U);                      // binding, at a channel's first use
    EXPECT_EQ((Commands{0x00005900, 0x8008590E, 0x80045918, // platform
                        0x00005804,                         // an earlier use is shut
                        setAttr, 0x00004100, 0xC0044106, 0xC0044112,    // attributes, codec
                        0x81844209, 0x80045903, 0x00004207,             // configurations
                        0x00005900, 0x8008590E, 0x80045918, 0x00005803, // enable
                        0xC04C6D0A, 0xC04C6D14, 0x00005806, 0x40045814}),
              commands);
    const auto attr = device().sent<AIO_ATTR_S>(setAttr);
    const std::uint32_t expected[] = {8000, 1, 0, 1, 1, 30, 640, 2, 0};
    EXPECT_EQ(0, std::memcmp(&attr, expected, sizeof attr));
    EXPECT_EQ(24U, device().sent(0xC0044106));
    EXPECT_EQ(0U, device().sent(0xC0044112));
    EXPECT_EQ(-2, device().sent<std::int32_t>(0x40045814));
    EXPECT_TRUE(sleeps.empty());
    EXPECT_EQ("", reports(open, 0)); // closes first
    EXPECT_EQ("", reports([] { return audioout_close(0, 0); }, 0));
    EXPECT_EQ(0U, device().held().memory);
}

TEST_F(AudioOutTest, WaitsForTheVideoSide) {
    std::filesystem::remove(dir_.path() / "var/run/venc.pid");
    EXPECT_EQ("", reports(open, 0));
    EXPECT_EQ(std::vector<unsigned>(30, 2), sleeps);
}

TEST_F(AudioOutTest, WaitsForTheConfigurations) {
    int tries = 0;
    device().answer(0x81844209, [&](void *) { return ++tries < 9 ? -1 : 0; });
    EXPECT_EQ("", reports(open, 0));
    EXPECT_EQ(std::vector<unsigned>(8, 1), sleeps);
    device().answer(0x81844209, 0xABC);
    EXPECT_EQ("hi3516a_ao_open:  hi3516a's VB config is not ready - ErrCode(     ABC) !! \n"
              "audioout_open: hi3516a_ao_open failed\n",
              reports(open, -1));
    device().answer(0x81844209, 0);
    device().answer(0x80045903, 0xABC);
    EXPECT_EQ("hi3516a_ao_open:  hi3516a's System config is not ready -ErrCode(     abc)\n"
              "audioout_open: hi3516a_ao_open failed\n",
              reports(open, -1));
}

// Every command that may fail while the output opens, and what is said then.
TEST_F(AudioOutTest, TellsWhatDoesNotOpen) {
    const std::string openFailed = "audioout_open: hi3516a_ao_open failed\n";
    const std::string initFailed = "hi3516a_ao_init_cfg: Configure audio codec failed\n"
                                   "audioout_open: hi3516a_ao_init_cfg failed\n";
    const auto step = [&](const char *call) {
        return std::string("hi3516a_ao_open:  ") + call + " failed - ErrCode(  a0168009)\n" +
               openFailed;
    };
    const std::map<std::uint32_t, std::string> cases = {
        {0x00005804, "hi3516a_ao_close: HI_MPI_AO_Disable failed - ErrCode(  a0168009)\n"
                     "audioout_open: hi3516a_ao_close failed\n"},
        {setAttr, "hi3516a_ao_init_cfg: HI_MPI_AO_SetPubAttr failed - ErrCode(  a0168009)\n"
                  "audioout_open: hi3516a_ao_init_cfg failed\n"},
        {0x00004100, "hi3516a_acodec_ctrl_reset: reset audio codec error\n"
                     "hi3516a_acodec_ctrl: reset audio codec failed\n" +
                         initFailed},
        {0xC0044106, "hi3516a_acodec_ctrl_samprate: set audio codec sample rate failed\n"
                     "hi3516a_acodec_ctrl: set audio codec sample rate failed\n" +
                         initFailed},
        {0xC0044112, "hi3516a_acodec_ctrl_dacl_mute: set audio codec dacl mute failed\n"
                     "hi3516a_acodec_ctrl: set audio codec dacl mute failed \n" +
                         initFailed},
        {0x00004207, step("HI_MPI_VB_Init")},
        {0x00005803, step("HI_MPI_AO_Enable")},
        {0x00005806, step("HI_MPI_AO_EnableChn")},
        {0x40045814, step("HI_MPI_AO_SetVolume")},
        {0x00005900, "HI_MPI_SYS_Init fail\n" + step("HI_MPI_SYS_Init")},
    };
    for (const auto &[command, expected] : cases) {
        device().answer(command, static_cast<int>(0xA0168009));
        EXPECT_EQ(expected, reports(open, -1)) << std::hex << command;
        device().answer(command, 0);
        if (command == setAttr) {
            device().reset();
        }
    }
    EXPECT_EQ("", reports(open, 0));
    device().openAs("/dev/acodec", -1);
    EXPECT_EQ("hi3516a_acodec_ctrl: can't open codec\n" + initFailed, reports(open, -1));
}

TEST_F(AudioOutTest, RefusesARateOrWidthThatThereIsNot) {
    device().answer(setAttr, -1); // as a driver does
    EXPECT_EQ("xfer_hi3516a_samp_rate:  sample rate (96000) is not support \n"
              "xfer_hi3516a_bit_width:  bit width (32) is not support \n"
              "hi3516a_ao_init_cfg: HI_MPI_AO_SetPubAttr failed - ErrCode(  ffffffff)\n",
              reports([] { return hi3516a_ao_init_cfg(0, 96000, 32, 640); }, -1));
    const auto attr = device().sent<AIO_ATTR_S>(setAttr);
    EXPECT_EQ(UINT32_MAX, attr.enSamplerate);
    EXPECT_EQ(UINT32_MAX, attr.enBitwidth);
    device().reset();
    const std::map<std::int32_t, std::uint32_t> codes = {{8000, 24},  {11025, 24}, {12000, 24},
                                                         {16000, 25}, {22050, 25}, {24000, 25},
                                                         {32000, 26}, {44100, 26}, {48000, 26}};
    for (const auto &[rate, code] : codes) {
        EXPECT_EQ(0, hi3516a_ao_init_cfg(0, rate, 16, 640));
        EXPECT_EQ(code, device().callsOf(0xC0044106).back().as<std::uint32_t>());
    }
}

TEST_F(AudioOutTest, SplitsEveryWidthSecondChannelFirst) {
    ASSERT_EQ(0, open());
    listen();
    for (const std::uint32_t width : {0U, 1U, 2U}) {
        configure(width, 4);
        const std::uint32_t sample = width + 1;
        std::string block;
        for (char i = 0; i < static_cast<char>(16 * sample); ++i) {
            block += i;
        }
        for (std::string &side : heard_) {
            side.clear();
        }
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(0, audioout_write(0, 0, block.data(), static_cast<int>(block.size())));
        }
        ASSERT_GE(heard_[0].size(), 4U);
        for (std::size_t i = 0; i + sample <= heard_[0].size(); i += sample) {
            EXPECT_EQ(block.substr(2 * i, sample), heard_[1].substr(i, sample)) << width;
            EXPECT_EQ(block.substr(2 * i + sample, sample), heard_[0].substr(i, sample)) << width;
        }
    }
    const auto words = device().sent<std::array<std::uint32_t, 30>>(sendCommand);
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
    device().answer(0x8004581B, -1); // not ready
    EXPECT_EQ(refused, reports(write(2560), -1));
    EXPECT_EQ(refused + "hi3516a_ao_frmPt_check:  ao's PtNumPerFrm(640) is non match "
                        "framesize(512)\naudioout_write: reset hi3516a ao attribute\n",
              reports(write(2048), -1));
    const auto attr = device().callsOf(setAttr).back().as<AIO_ATTR_S>();
    EXPECT_EQ(512U, attr.u32PtNumPerFrm);
    EXPECT_EQ(8000U, attr.enSamplerate);
    EXPECT_EQ(1U, attr.enBitwidth);
    device().answer(0x00005806, -1);
    const std::string text = reports(write(2560), -1);
    EXPECT_TRUE(text.ends_with("HI_MPI_AO_EnableChn failed - ErrCode(  ffffffff)\n"
                               "hi3516a_ao_pcm_reset: hi3516a_ao_open failed\n"
                               "audioout_write: hi3516a_ao_pcm_reset failed\n"))
        << text;
    // What a reset leaves closed stays so until it is opened again.
    device().answerWords(0x8004581B, {1});
    device().answer(0x00005806, 0);
    EXPECT_EQ(std::string::npos, reports(write(2560), -1).find("reset hi3516a ao attribute"));
    ASSERT_EQ(0, open());
    EXPECT_EQ("", reports(write(2560), 0));
    device().answer(0x00005804, -1);
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
    configure(AUDIO_BIT_WIDTH_8, 640);
    for (const std::int32_t size : {32768, 32769}) { // a channel's room, which the platform refuses
        const bool fits = reports(write(size), -1).find("does not fit") == std::string::npos;
        EXPECT_EQ(size == 32768, fits);
    }
    configure(AUDIO_BIT_WIDTH_16, 640);
    for (const std::int32_t size : {-1, -4, INT32_MIN}) {
        hi3516a_ao_pcm_write(0, 0, "", size);
        EXPECT_TRUE(device().callsOf(sendCommand).empty());
        EXPECT_EQ("hi3516a_ao_pcm_reset: block is no frame of the device\n",
                  reports([size] { return hi3516a_ao_pcm_reset(0, 0, size); }, -1));
    }
    ASSERT_EQ(0, audioout_close(0, 0));
    EXPECT_NE(std::string::npos, reports(write(2560), -1).find("the output is not open\n"));
    // Attributes that make no sense.
    ASSERT_EQ(0, open());
    for (const auto &[width, channels] : {std::pair(3U, 2U), {1U, 0U}, {2U, UINT32_MAX}}) {
        device().answerWords(getAttr, {8000, width, 0, 1, 1, 30, 640, channels, 0});
        reports(write(2560), -1);
    }
    device().answer(getAttr, 7);
    EXPECT_EQ("hi3516a_ao_pcm_write: HI_MPI_AO_GetPubAttr failed - ErrCode(         7)\n"
              "audioout_write: hi3516a_ao_pcm_write failed\n"
              "hi3516a_ao_frmPt_check: HI_MPI_AO_GetPubAttr failed - ErrCode(         7)\n"
              "audioout_write: reset hi3516a ao attribute\n"
              "hi3516a_ao_pcm_reset: HI_MPI_AO_GetPubAttr failed - ErrCode(         7)\n"
              "audioout_write: hi3516a_ao_pcm_reset failed\n",
              reports(write(2560), -1));
}

TEST_F(AudioOutTest, SetsBothSidesOfTheVolume) {
    EXPECT_EQ("", reports([] { return audioout_set_volume(46); }, 0));
    using Volume = std::array<std::uint32_t, 2>;
    EXPECT_EQ((Volume{46, 0}), device().sent<Volume>(0xC008410C));
    EXPECT_EQ((Volume{46, 0}), device().sent<Volume>(0xC008410D));
    device().answer(0xC008410C, 1); // the right side is tried all the same
    device().answer(0xC008410D, 1);
    EXPECT_EQ("hi3516a_acodec_ctrl_dacl_volume: set audio codec dacl volume failed\n"
              "hi3516a_acodec_ctrl_dacl_volume: set audio codec dacr volume failed\n"
              "hi3516a_acodec_ctrl: set audio codec dacl volume failed \n"
              "hi3516a_ao_reset_volume: Configure audio codec failed\n"
              "audioout_set_volume: hi3516a_ao_reset_volume failed !\n",
              reports([] { return audioout_set_volume(46); }, -1));
}

TEST_F(AudioOutTest, EndsACodecRequestAtItsFirstFailure) {
    device().answer(0x00004100, 5); // a reset that returns more than 0 has not failed
    const ACODEC_CTRL_REQUEST request = {0x1 | 0x2 | 0x40, 96000, 1, 0};
    const std::size_t descriptors = device().held().descriptors;
    EXPECT_EQ("hi3516a_acodec_ctrl_samprate: audio codec not support enSample\n"
              "hi3516a_acodec_ctrl: set audio codec sample rate failed\n",
              reports([&] { return hi3516a_acodec_ctrl(&request); }, -1));
    EXPECT_EQ(Commands{0x00004100}, device().commands());
    EXPECT_EQ(descriptors, device().held().descriptors);
}

TEST_F(AudioOutTest, ClearsTheChannel) {
    EXPECT_EQ("", reports([] { return audioout_clear_audio_buffer(0, 0); }, 0));
    device().answer(0x0000580C, 3);
    EXPECT_EQ("hi3516a_ao_clear_audio_buffer: HI_MPI_AO_ClearChnBuf failed - ErrCode(         3)\n"
              "audioout_clear_audio_buffer: hi3516a_ao_clear_audio_buffer failed !\n",
              reports([] { return audioout_clear_audio_buffer(0, 0); }, -1));
}

} // namespace
