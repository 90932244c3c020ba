// Daemons that come and go at the worst moments. Each leaves on the camera what the next one finds.
#include "tests/support/camera_process.h"
#include "tests/support/random.h"
#include "vcam/sender/stream_sender.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

namespace {

using std::chrono::milliseconds;

const std::vector<std::string> bare = {"--bare", "--fast"};

class Daemon {
public:
    explicit Daemon(const CameraProcess &camera) : log_(camera.dir() / "voxo.log") {
        std::filesystem::remove(log_);
        start(child_,
              {vcamPath(), "--dir", camera.dir(), "exec", underTest("bin/voxo"), "-c",
               camera.dir() / "voxo.xml", "-p", voxoPidPath},
              log_, log_);
    }

    bool says(const std::string &text) const {
        return eventually([&] { return contentsOf(log_).find(text) != std::string::npos; });
    }
    bool isReady() const { return says("G.711Dec initialized!"); }
    pid_t pid() const { return child_.pid(); }

    // Sends a signal, unless it is 0, and returns the exit status; -1 if it does not end in time.
    int end(int signal) {
        kill(child_.pid(), signal);
        return waitFor(child_, std::chrono::seconds(5));
    }

private:
    const std::string log_;
    Child child_;
};

void expectGoodDaemon(const CameraProcess &camera) {
    Daemon daemon(camera);
    ASSERT_TRUE(daemon.isReady());
    const Finished cast = camera.vcam({"cast", speech, "--fast", "--check"});
    EXPECT_EQ(0, cast.status) << cast.out << cast.err;
    EXPECT_EQ(0, daemon.end(SIGTERM));
}

TEST(Storm, EndsAtAnyMomentOfItsStart) {
    const CameraProcess camera(bare);
    Random random;
    for (int i = 0; i < 30; ++i) {
        Daemon daemon(camera);
        std::this_thread::sleep_for(milliseconds(random.below(250)));
        const int status = daemon.end(SIGTERM); // it is taken from the open output on
        EXPECT_TRUE(status == 0 || status == 128 + SIGTERM) << status;
    }
    expectGoodDaemon(camera);
}

// The driver refuses the output to the second daemon, which ends. The name of the stream socket has
// gone to it by then; who was connected to the first one still reaches it.
TEST(Storm, KeepsTheFirstOfTwoDaemons) {
    const CameraProcess camera(bare);
    Daemon first(camera);
    ASSERT_TRUE(first.isReady());
    StreamSender sender(CameraDir(camera.dir()));
    Daemon second(camera);
    EXPECT_EQ(255, second.end(0));
    EXPECT_TRUE(second.says("Open device fail"));
    EXPECT_EQ(first.pid(), camera.daemon()); // the PID file is not the second one's to remove
    for (int i = 0; i < 10; ++i) {
        sender.sendPayload(std::vector<std::uint8_t>(streamPayload, 0x22));
    }
    EXPECT_TRUE(eventually([&] { return camera.heard().size() == 9 * (2 * streamPayload); }));
    EXPECT_EQ(0, first.end(SIGTERM));
    EXPECT_FALSE(std::filesystem::exists(camera.place(voxoPidPath)));
    expectGoodDaemon(camera);
}

} // namespace
