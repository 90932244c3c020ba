// The whole road on the virtual camera: the real daemon, from a datagram to the loudspeaker.
#include "tests/support/camera_process.h"
#include "tests/wav/wav_bytes.h"
#include "vcam/camera/camera.h"
#include "vcam/cli/law_codec.h"
#include "vcam/cli/stream_sender.h"

#include <gtest/gtest.h>

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <csignal>
#include <cstring>
#include <fstream>

namespace {

const std::string speech = VOXO_SPEECH_SAMPLE;
const std::vector<std::string> realTime;

void expectInOrder(const std::string &text, const std::vector<std::string> &parts) {
    std::size_t at = 0;
    for (const std::string &part : parts) {
        at = text.find(part, at);
        ASSERT_NE(std::string::npos, at) << "not found, or not in order: " << part;
        at += part.size();
    }
}

TEST(Road, PlaysSpeechExactly) {
    const CameraProcess camera;
    for (const char *law : {"--alaw", "--ulaw"}) {
        camera.expectPlaysSpeech(law);
    }
    EXPECT_EQ("0", camera.status("channel 0 refused"));
    EXPECT_EQ("running", camera.status("voxo").substr(0, 7));
    EXPECT_EQ("-2 dB", camera.status("AO volume"));
    EXPECT_EQ("19 left, 19 right", camera.status("codec gain")); // of volume 80
}

TEST(Road, PlaysInRealTime) {
    const CameraProcess camera(realTime);
    const auto before = std::chrono::steady_clock::now();
    const TemporaryFile file(riff(fmtChunk() + chunk("data", samples(24000))));
    const Finished cast = camera.vcam({"cast", file.path(), "--check"});
    EXPECT_EQ(0, cast.status) << cast.out << cast.err;
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(1400));
}

TEST(Road, TellsOfItsStartAndEndInOrder) {
    CameraProcess camera;
    const pid_t daemon = camera.daemon();
    EXPECT_GT(daemon, 0);
    EXPECT_EQ("1", camera.status("encoder signals"));
    EXPECT_EQ(0, camera.end(SIGINT));
    expectInOrder(camera.output(),
                  {"config file parse OK!!\n",
                   "Initial FIFO succeeded, fd = ", "dwVolume = 80, dwGain = 19\n",
                   "Voxo Program (" + std::to_string(daemon) + ") Start...\n",
                   "Initial Sample rate=8000 Frequecy ratio*2=2 Output Size=1280\n",
                   ": G.711Dec initialized!\n", ": G.711Dec released!\n", ": End\n",
                   "vcam: the camera has ended\n"});
    std::ifstream log(camera.dir() / "messages");
    std::string first;
    std::getline(log, first);
    EXPECT_EQ("<15>[voxo]: Voxo Program (" + std::to_string(daemon) + ") Start...", first);
}

// Whatever state they are in, Ctrl-C ends both and leaves nothing behind.
TEST(Road, LeavesNothingBehind) {
    const std::vector<std::function<void(const CameraProcess &)>> states = {
        [](const CameraProcess &) {},
        [](const CameraProcess &camera) { kill(camera.daemon(), SIGSTOP); },
        [](const CameraProcess &camera) {
            const CameraDir dir(camera.dir());
            StreamSender(dir).sendPayload(std::vector<std::uint8_t>(640));
        },
        [](const CameraProcess &camera) {
            EXPECT_EQ(0, camera.vcam({"clip", "start", speech}).status);
        }};
    for (const auto &enter : states) {
        CameraProcess camera(realTime);
        const pid_t daemon = camera.daemon();
        const key_t key = ftok(camera.place(tesselProgramPath).c_str(), 'c');
        EXPECT_NE(-1, shmget(key, 0, 0));
        enter(camera);
        camera.end(SIGINT);
        EXPECT_TRUE(eventually([&] { return kill(daemon, 0) != 0; }));
        EXPECT_FALSE(std::filesystem::exists(camera.place("/tmp/tessel")));
        EXPECT_FALSE(std::filesystem::exists(camera.place("/var")));
        EXPECT_FALSE(std::filesystem::exists(camera.place("/memory")));
        EXPECT_EQ(-1, shmget(key, 0, 0));
        EXPECT_EQ(-1, semget(key, 0, 0));
    }
}

TEST(Road, SaysWhatIsWrong) {
    CameraProcess camera;
    const auto expectRefused = [](const Finished &finished, const std::string &start) {
        EXPECT_EQ(1, finished.status);
        EXPECT_TRUE(finished.err.starts_with(start)) << finished.err;
    };
    expectRefused(camera.vcam({"run"}),
                  "vcam: a camera is already running in " + camera.dir().string() + "\n");
    expectRefused(camera.vcam({"cast", "/no/such/file.wav"}),
                  "vcam: cannot read /no/such/file.wav: ");
    expectRefused(camera.vcam({"cast", "/proc/self/exe"}), "vcam: ");
    EXPECT_EQ(0, camera.end(SIGTERM));
    expectRefused(camera.vcam({"cast", speech}), "vcam: no camera is running in ");
    expectRefused(camera.vcam({"status"}), "vcam: no camera is running in ");
    const TemporaryDirectory full;
    std::ofstream(full.path() / "mine") << "x";
    const Finished refused = runProgram({vcamPath(), "-d", full.path(), "run"});
    expectRefused(refused, "vcam: ");
    EXPECT_NE(std::string::npos, refused.err.find("holds other files")) << refused.err;
    EXPECT_TRUE(std::filesystem::exists(full.path() / "mine"));
}

TEST(Road, RefusesAWrongCommandLine) {
    const CameraProcess camera({"--bare"});
    const Finished none = camera.vcam({"exec", underTest("bin/voxo")});
    EXPECT_EQ(1, none.status);
    EXPECT_EQ("Config file path not set!\n", none.err);
    EXPECT_EQ("Usage : voxo [-d] -c config_xml_file [-p pid_file]\n\t-d Daemon mode\n"
              "\t-c Config file path\n\t-p PID file output path\n",
              none.out);
    const Finished missing = camera.vcam({"exec", underTest("bin/voxo"), "-c", "/no/such/file"});
    EXPECT_EQ(255, missing.status);
    EXPECT_TRUE(missing.out.ends_with(": Parse Config File fail!\n")) << missing.out;
}

// Hostile datagrams of every kind between good ones: what is heard is the good ones.
TEST(Road, SurvivesHostileDatagrams) {
    const CameraProcess camera;
    const CameraDir dir(camera.dir());
    const CameraDir::Address address = dir.socketAddress(streamSocketPath);
    const UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM, 0));
    ASSERT_EQ(
        0, connect(fd.get(), reinterpret_cast<const sockaddr *>(&address.address), address.length));
    for (std::uint32_t i = 0; i < 2000; ++i) {
        std::vector<std::uint8_t> record(i % 20001);
        if (record.size() >= 44) {
            const std::uint32_t words[] = {i * 0x01234567U, i % 3 == 0 ? 0x464E4F43U : 0x31313747U,
                                           0x31313747U};
            std::memcpy(record.data(), words, sizeof words);
            const std::uint32_t extra = i * 0x89ABCDEFU;
            std::memcpy(record.data() + 40, &extra, sizeof extra);
        }
        send(fd.get(), record.data(), record.size(), 0);
    }
    camera.expectPlaysSpeech();
}

// Driver commands of the start-up, failed: the daemon ends as it should, or goes on.
TEST(Road, EndsWhenTheDriverRefusesToStart) {
    const std::pair<const char *, const char *> faults[] = {
        {"0x00005804:1", "HI_MPI_AO_Disable failed"},
        {"0x40245801:1", "HI_MPI_AO_SetPubAttr failed"},
        {"0x00004100:1", "reset audio codec failed"},
        {"0x00005803:1", "HI_MPI_AO_Enable failed"},
        {"0x00005806:1", "HI_MPI_AO_EnableChn failed"},
        {"0x40045800:1", "HI_MPI_AO_DisableChn failed"},
        {"0xC04C6D0A:1", "alloc mmb fail"}};
    for (const auto &[fault, report] : faults) {
        CameraProcess camera({"--fast", "--fail", fault});
        EXPECT_TRUE(eventually([&] { return camera.outputHolds("voxo has ended by itself"); }));
        expectInOrder(camera.output(), {report, "Open device fail ( Socket ", "with status 255"});
    }
    const CameraProcess goesOn({"--fast", "--fail", "0xC008410C:1"});
    goesOn.expectPlaysSpeech();
    EXPECT_TRUE(goesOn.outputHolds("Set audio volume failed!"));
}

} // namespace
