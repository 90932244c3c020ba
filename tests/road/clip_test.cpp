// Clips on the virtual camera: named and started over the control FIFO, pre-empted, reported.
#include "tests/support/camera_process.h"
#include "tests/wav/wav_bytes.h"
#include "vcam/camera/camera.h"
#include "vcam/sender/stream_sender.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace {

constexpr std::size_t chunkBytes = 2048;
constexpr std::size_t periodBytes = 1280;

std::string wavOf(std::uint32_t channels, std::size_t bytes, std::uint32_t rate = 8000) {
    return riff(fmtChunk({.channels = channels, .rate = rate}) + chunk("data", samples(bytes)));
}

// What the loudspeaker hears of a clip: its full chunks, as far as they have left the platform's
// buffer in whole periods when the clip is cleared. The layer below swaps the sides.
std::vector<std::int16_t> audible(std::uint32_t channels, std::size_t bytes) {
    const std::size_t chunks = bytes / chunkBytes;
    std::vector<std::int16_t> data(bytes / 2);
    std::memcpy(data.data(), samples(bytes).data(), 2 * data.size());
    data.resize(chunks * chunkBytes / 2);
    std::vector<std::int16_t> stereo;
    for (std::size_t i = 0; i < data.size(); i += channels) {
        stereo.insert(stereo.end(), {data[i + channels - 1], data[i]});
    }
    const std::size_t perChunk = chunkBytes / channels;
    const std::size_t queued = chunks == 0 ? 0 : (chunks - 1) * perChunk;
    stereo.resize(queued / periodBytes * periodBytes); // bytes of a side: as many samples of both
    return stereo;
}

// The settings daemon's log of its requests.
std::string log(const CameraProcess &camera) {
    return camera.vcam({"log"}).out;
}

// Waits for a report of a clip's state.
bool isReported(const CameraProcess &camera, const std::string &state,
                std::chrono::seconds patience = std::chrono::seconds(10)) {
    const std::string report = "status_audioclip_playing=" + state + "  ->";
    return eventually([&] { return log(camera).find(report) != std::string::npos; }, patience);
}

void start(const CameraProcess &camera, const std::string &path) {
    EXPECT_EQ(0, camera.vcam({"clip", "start", path}).status);
}

TEST(Clip, IsHeardExactly) {
    const struct {
        std::uint32_t channels;
        std::size_t bytes;
    } clips[] = {{1, 5000}, {1, 40000}, {2, 40960}, {1, 4096}, {2, 30001}, {1, 100}};
    for (const auto &clip : clips) {
        const CameraProcess camera;
        const TemporaryFile file(wavOf(clip.channels, clip.bytes));
        start(camera, file.path());
        EXPECT_TRUE(isReported(camera, "0"));
        EXPECT_TRUE(isReported(camera, "1"));
        EXPECT_EQ(audible(clip.channels, clip.bytes), camera.heard()) << clip.bytes;
        EXPECT_TRUE(camera.outputHolds("[play to the end of the file]\n"));
    }
}

TEST(Clip, GivesWayToTwoWayAudio) {
    const CameraProcess camera(realTime);
    const TemporaryFile file(wavOf(1, 160000)); // ten seconds
    start(camera, file.path());
    EXPECT_TRUE(eventually([&] { return camera.heard().size() > 8000; }));
    EXPECT_EQ(0, camera.vcam({"talk", "on"}).status);
    EXPECT_TRUE(isReported(camera, "0", std::chrono::seconds(2)));
    const std::size_t heard = camera.heard().size();
    const std::string text = log(camera);
    const std::size_t playing = text.find("status_audioclip_playing=1  ->  OK");
    const std::size_t query = text.find("get Value 99 0 | status_onlinenum_sip  ->  1");
    const std::size_t stopped = text.find("status_audioclip_playing=0  ->  OK");
    EXPECT_LT(playing, query);
    EXPECT_LT(query, stopped);
    EXPECT_NE(std::string::npos, stopped);
    // Nothing of the clip is left in any queue.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_LE(camera.heard().size(), heard + periodBytes);
    std::vector<std::int16_t> prefix = audible(1, 160000);
    prefix.resize(camera.heard().size());
    EXPECT_EQ(prefix, camera.heard());
    EXPECT_NE(std::string::npos, camera.vcam({"status"}).out.find("status_audioclip_playing=0\n"));
}

TEST(Clip, SilencesTheStreamWhileItPlays) {
    const CameraProcess camera(realTime);
    const TemporaryFile file(wavOf(1, 80000)); // five seconds, more than the queue holds
    start(camera, file.path());
    EXPECT_TRUE(isReported(camera, "1"));
    const CameraDir dir(camera.dir());
    StreamSender sender(dir);
    for (int i = 0; i < 20; ++i) {
        sender.sendPayload(std::vector<std::uint8_t>(streamPayload, 0x80));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // Signals do not cut the play-out short, and are obeyed behind it.
    EXPECT_TRUE(eventually([&] { return camera.outputHolds("[play to the end of the file]\n"); }));
    const auto end = std::chrono::steady_clock::now();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0, camera.vcam({"set", "audioout_c0_volume", "50"}).status);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    EXPECT_TRUE(isReported(camera, "0"));
    EXPECT_LT(std::chrono::milliseconds(2500), std::chrono::steady_clock::now() - end);
    EXPECT_TRUE(eventually([&] { return camera.status("codec gain") == "46 left, 46 right"; }));
    EXPECT_EQ(audible(1, 80000), camera.heard());
}

TEST(Clip, ReportsFilesThatItCannotPlay) {
    const CameraProcess camera;
    const TemporaryFile eightBits(riff(fmtChunk({.bits = 8}) + chunk("data", "abcd")));
    const TemporaryFile wideRate(wavOf(1, 10000, 44100));
    const std::pair<std::string, std::string> clips[] = {
        {"/no/such/clip.wav", "Open /no/such/clip.wav fail.\n"},
        {"/tmp", "Parse /tmp fail.\n"},
        {eightBits.path(), "Only support 16-bit samples at present.\n"},
        {"/" + std::string(250, 'p'), "Open /var/run/clips/" + std::string(44, 'p') + " fail.\n"}};
    for (const auto &[path, report] : clips) {
        const std::string lines = "[wav] : " + report + "Open audio clip file fail!\n";
        start(camera, path);
        EXPECT_TRUE(eventually([&] { return camera.outputHolds(lines); })) << path;
    }
    EXPECT_EQ(std::string::npos, log(camera).find("status_audioclip_playing=1"));
    start(camera, wideRate.path());
    EXPECT_TRUE(isReported(camera, "0"));
    EXPECT_TRUE(camera.outputHolds("dwVoxoOutSample: 44100, dwWavFileSampleRate: 44100, "
                                   "dwAlertDoubleFreqRatio: 2, dwWavFileChannel: 1\n"));
    EXPECT_EQ(audible(1, 10000), camera.heard()); // at the output's own rate
}

} // namespace
