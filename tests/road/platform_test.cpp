// The media platform on the virtual camera's board: its example program, and its tuning hook.
#include "tests/support/camera_process.h"
#include "tests/wav/wav_bytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

TEST(Road, CarriesTheExampleProgram) {
    const CameraProcess camera({"--bare", "--fast"});
    const std::string player = underTest("bin/play_wav");
    const std::string data = samples(64004); // of both sides; ends inside a period
    const TemporaryFile file(riff(fmtChunk({.channels = 2, .rate = 16000}) + chunk("data", data)));
    const Finished played = camera.vcam({"exec", player, file.path()});
    EXPECT_EQ(0, played.status) << played.err;
    std::vector<std::int16_t> expected(data.size() / 2);
    std::memcpy(expected.data(), data.data(), data.size());
    std::vector<std::int16_t> heard = camera.heard();
    ASSERT_GE(heard.size(), expected.size());
    heard.resize(expected.size());
    EXPECT_EQ(expected, heard);
    EXPECT_EQ("0", camera.status("channel 0 refused"));
    const Finished none = camera.vcam({"exec", player, "/no/such/file"});
    EXPECT_EQ("[wav] : Open /no/such/file fail.\n", none.out);
    EXPECT_EQ(1, none.status);
}

TEST(Road, RunsTheTuningLibraryOnDemand) {
    // By a name without what the loader splits the path at.
    const std::filesystem::path library = "/tmp/voxo-tuning-" + std::to_string(getpid());
    std::filesystem::create_directory_symlink(underTest("tests/aqcontrol"), library);
    setenv("LD_LIBRARY_PATH", library.c_str(), 1);
    CameraProcess camera({"--fast", "--tuning"});
    unsetenv("LD_LIBRARY_PATH");
    for (const char *argument : {"42", "43"}) {
        EXPECT_EQ(0, camera.vcam({"tune", argument}).status);
        const std::string told =
            std::string("tuning begins ") + argument + "\ntuning ends " + argument + "\n";
        EXPECT_TRUE(eventually([&] { return camera.outputHolds(told); })) << camera.output();
    }
    EXPECT_EQ(0, camera.end(SIGTERM)); // the thread that waits is woken to its end
    std::filesystem::remove(library);
}

TEST(Road, GoesOnWithoutATuningLibrary) {
    CameraProcess camera({"--fast", "--tuning"});
    EXPECT_EQ(0, camera.vcam({"tune", "42"}).status);
    EXPECT_TRUE(eventually(
        [&] { return camera.outputHolds("[Info]:dlopen libaqcontrol.so fail,Msg:lib"); }));
    camera.expectPlaysSpeech();
    EXPECT_EQ(0, camera.end(SIGTERM));
}

} // namespace
