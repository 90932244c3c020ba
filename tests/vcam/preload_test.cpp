#include "tests/support/camera_process.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

TEST(Preload, IsReachedByEveryName) {
    const CameraProcess camera({"--bare"});
    for (const char *probe :
         {"bin/preload_probe", "bin/preload_probe_fortified", "bin/preload_probe_64"}) {
        const Finished finished = camera.vcam({"exec", underTest(probe)});
        EXPECT_EQ("probe: 0 failures\n", finished.out) << probe << finished.err;
        EXPECT_EQ(0, finished.status);
    }
    EXPECT_TRUE(eventually([&] {
        std::ifstream log(camera.dir() / "messages");
        std::string line;
        return std::getline(log, line) && line == "<12>probe: the probe says 42";
    }));
}

// A name of the library's own would take the place of a program's name that is the same.
TEST(Preload, DefinesNoNamesOfItsOwn) {
    const Finished symbols =
        runProgram({"/usr/bin/nm", "-D", "--defined-only", underTest("lib/libvcam_board.so")});
    EXPECT_NE(std::string::npos, symbols.out.find(" T ioctl\n")) << symbols.err;
    EXPECT_EQ(std::string::npos, symbols.out.find("_Z"));
}

} // namespace
