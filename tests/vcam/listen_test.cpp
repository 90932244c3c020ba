// The loudspeaker as it is kept in files and heard on the PC, which needs no sound card for it.
#include "tests/support/camera_process.h"

#include "vcam/camera/text_file.h"

#include <gtest/gtest.h>
#include <sndfile.hh>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

using Sound = std::vector<std::int16_t>;

Sound soundOf(const std::filesystem::path &path) {
    SndfileHandle file(path.string());
    Sound samples(static_cast<std::size_t>(file.frames() * file.channels()));
    file.readf(samples.data(), file.frames());
    return samples;
}

Sound rawSoundOf(const std::filesystem::path &path) {
    std::ifstream in(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(in), {});
    Sound samples(bytes.size() / sizeof(std::int16_t));
    std::copy_n(bytes.begin(), samples.size() * sizeof(std::int16_t),
                reinterpret_cast<char *>(samples.data()));
    return samples;
}

// ALSA with a device that writes to a file what it is given.
class ListenTest : public testing::Test {
protected:
    ListenTest() {
        writeFile(alsa_.path() / "asound.conf",
                  "</usr/share/alsa/alsa.conf>\n"
                  "pcm.tofile { type file slave.pcm \"null\" format \"raw\" file \"" +
                      heardFile().string() + "\" }\n");
        std::filesystem::current_path(alsa_.path());
        setenv("ALSA_CONFIG_PATH", "asound.conf", 1); // a list of paths, which a colon ends
    }
    ~ListenTest() override {
        unsetenv("ALSA_CONFIG_PATH");
        std::filesystem::current_path(before_);
    }

    std::filesystem::path heardFile() const { return alsa_.path() / "heard.raw"; }

private:
    const std::filesystem::path before_ = std::filesystem::current_path();
    const TemporaryDirectory alsa_;
};

// Whether `longer` is `sound` with nothing but silence between its samples.
bool isSoundWithGaps(const Sound &longer, const Sound &sound) {
    auto next = sound.begin();
    return std::all_of(longer.begin(), longer.end(),
                       [&](std::int16_t sample) {
                           const bool isNext = next != sound.end() && *next == sample;
                           next += isNext ? 1 : 0;
                           return isNext || sample == 0;
                       }) &&
           next == sound.end();
}

// Of the raw sound, `from` to `to`, times the factor that the controls make.
void expectScaled(const Sound &heard, const Sound &raw, std::size_t from, std::size_t to,
                  double decibels) {
    const double factor = std::pow(10, decibels / 20);
    for (std::size_t i = from; i < to; ++i) {
        ASSERT_NEAR(raw[i] * factor, heard[i], 1) << i;
    }
}

// The codec takes 19 decibels at a volume of 80 and none at 100, the output 2 more.
TEST_F(ListenTest, HearsWhatTheLoudspeakerPlays) {
    CameraProcess camera({"--listen=tofile"});
    EXPECT_EQ(0, camera.vcam({"cast", "--check", speech}).status);
    const std::size_t quiet = camera.heard().size();
    EXPECT_NE("(none)", camera.status("heard on this PC"));
    EXPECT_NE("not measured", camera.status("record to sound"));
    EXPECT_EQ(0, camera.vcam({"set", "audioout_c0_volume", "100"}).status);
    ASSERT_TRUE(eventually([&] { return camera.outputHolds("dwGain = 0\n"); }));
    EXPECT_EQ(0, camera.vcam({"cast", speech}).status);
    EXPECT_EQ(0, camera.end(SIGTERM));

    const Sound raw = camera.heard();
    const Sound heard = rawSoundOf(heardFile());
    ASSERT_EQ(raw.size(), heard.size());
    expectScaled(heard, raw, 0, quiet, -21);
    expectScaled(heard, raw, quiet, raw.size(), -2);
    const Sound kept = soundOf(camera.dir() / "speaker.wav");
    EXPECT_TRUE(isSoundWithGaps(kept, heard));
    EXPECT_LT(raw.size() + std::size_t{2} * 8000 / 100, kept.size());
}

TEST_F(ListenTest, DoesWithoutADeviceThatIsNotThere) {
    CameraProcess camera({"--fast", "--listen=hw:31"});
    EXPECT_TRUE(camera.outputHolds("vcam: nothing is heard on this PC: the sound device hw:31 "
                                   "cannot be opened (No such file or directory); the camera goes "
                                   "on"))
        << camera.output();
    camera.expectPlaysSpeech();
    EXPECT_EQ("(none)", camera.status("heard on this PC"));
}

} // namespace
