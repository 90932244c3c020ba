// The whole road on the virtual camera: the real daemon, from a datagram to the loudspeaker.
#include "tests/support/camera_process.h"
#include "tests/wav/wav_bytes.h"
#include "vcam/camera/camera.h"

#include <gtest/gtest.h>

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <csignal>
#include <fstream>

namespace {

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
    kill(camera.daemon(), SIGSTOP);
    expectRefused(camera.vcam({"cast", speech, "--timeout", "1"}),
                  "vcam: the daemon has taken nothing for 1 s; given up\n");
    kill(camera.daemon(), SIGCONT);
    // What would run without the board is not run.
    expectRefused(camera.vcam({"exec", "/usr/bin/su"}),
                  "vcam: the board cannot be loaded into /usr/bin/su, which is given rights");
    EXPECT_EQ(0, camera.end(SIGTERM));
    const Finished unguarded = camera.vcam({"--board", speech, "run"});
    EXPECT_EQ(1, unguarded.status);
    EXPECT_NE(std::string::npos, unguarded.err.find("vcam: the board does not load into "));
    expectRefused(camera.vcam({"cast", speech}), "vcam: no camera is running in ");
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

// Driver commands of the start-up, failed: the daemon ends as it should, or goes on.
TEST(Road, EndsWhenTheDriverRefusesToStart) {
    const CameraProcess ends({"--fast", "--fail", "0xC04C6D0A:1"});
    EXPECT_TRUE(eventually([&] { return ends.outputHolds("voxo has ended by itself"); }));
    expectInOrder(ends.output(),
                  {"alloc mmb fail", "Open device fail ( Socket ", "with status 255"});
    const CameraProcess goesOn({"--fast", "--fail", "0xC008410C:1"});
    goesOn.expectPlaysSpeech();
    EXPECT_TRUE(goesOn.outputHolds("Set audio volume failed!"));
}

} // namespace
