// Senders that mean no good: they keep nobody waiting, and the log stays short.
#include "tests/support/camera_process.h"
#include "vcam/sender/stream_sender.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <atomic>
#include <fstream>
#include <thread>

namespace {

using std::chrono::seconds;

TEST(Flood, KeepsNobodyWaiting) {
    const CameraProcess camera;
    const CameraDir dir(camera.dir());
    const CameraDir::Address address = dir.socketAddress(streamSocketPath);
    std::atomic<std::size_t> sent = 0;
    const auto flood = [&](const std::stop_token &stop) {
        const UniqueFd fd(socket(AF_UNIX, SOCK_DGRAM, 0));
        EXPECT_EQ(0, connect(fd.get(), reinterpret_cast<const sockaddr *>(&address.address),
                             address.length));
        for (std::size_t i = 0; !stop.stop_requested(); ++i) {
            const std::vector<std::uint8_t> garbage(i % 3 * 30, 0xEE);
            sent += send(fd.get(), garbage.data(), garbage.size(), 0) >= 0 ? 1 : 0;
        }
    };
    const auto linesOf = [&](const std::string &text) {
        std::ifstream log(camera.dir() / "messages");
        std::size_t count = 0;
        for (std::string line; std::getline(log, line);) {
            count += line.find(text) != std::string::npos ? 1 : 0;
        }
        return count;
    };
    {
        const std::jthread one(flood);
        const std::jthread other(flood);
        EXPECT_TRUE(eventually([&] { return sent > 2000; }));
        EXPECT_EQ(0, camera.vcam({"set", "audioout_c0_volume", "50"}).status);
        EXPECT_TRUE(eventually([&] { return camera.status("codec gain") == "46 left, 46 right"; },
                               seconds(1)));
        EXPECT_EQ(0, camera.vcam({"clip", "stop"}).status);
        EXPECT_TRUE(eventually([&] { return camera.outputHolds("Get stop!!"); }, seconds(1)));
        StreamSender sender(dir);
        for (std::size_t i = 0; i < 10; ++i) {
            sender.sendPayload(std::vector<std::uint8_t>(streamPayload, 0x33));
            EXPECT_TRUE(eventually([&] { return camera.heard().size() == 2 * i * streamPayload; },
                                   seconds(1)));
        }
    }
    EXPECT_LT(1000U, sent);
    EXPECT_EQ(1U, linesOf("out of limits, dropped"));
}

} // namespace
