#include "tests/support/camera_process.h"

#include <gtest/gtest.h>

#include <elf.h>

#include <fstream>
#include <set>
#include <sstream>

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

// What the library defines, and what it calls: nothing may stand behind its own back.
TEST(Preload, ExportsItsWrappersAndNothingElse) {
    const std::string library = underTest("lib/libvcam_board.so");
    const Finished symbols = runProgram({"/usr/bin/nm", "-D", "--defined-only", library});
    ASSERT_EQ(0, symbols.status) << symbols.err;
    std::set<std::string> defined;
    std::istringstream lines(symbols.out);
    for (std::string line; std::getline(lines, line);) {
        defined.insert(line.substr(line.rfind(' ') + 1));
    }
    std::set<std::string> expected = {
        "__open64_2", "__open_2", "__read_chk", "__syslog_chk", "__vsyslog_chk",  "access",
        "bind",       "calloc",   "chmod",      "close",        "closelog",       "connect",
        "dup",        "dup2",     "dup3",       "fchmod",       "fcntl",          "fcntl64",
        "fopen",      "fopen64",  "fstat",      "fstat64",      "fstatat",        "fstatat64",
        "ftok",       "ioctl",    "lseek",      "lseek64",      "lstat",          "lstat64",
        "malloc",     "mkfifo",   "mmap",       "mmap64",       "open",           "open64",
        "openat",     "openat64", "openlog",    "poll",         "pthread_create", "read",
        "realloc",    "remove",   "select",     "semget",       "semop",          "send",
        "setsockopt", "shmat",    "shmctl",     "shmget",       "sleep",          "socket",
        "stat",       "stat64",   "syslog",     "unlink",       "unlinkat",       "vsyslog"};
    char identity[EI_NIDENT] = {};
    std::ifstream(library).read(identity, sizeof identity);
    if (identity[EI_CLASS] == ELFCLASS32) {
        expected.insert(
            {"__fcntl_time64", "__fstatat64_time64", "__ioctl_time64", "__stat64_time64"});
    }
    EXPECT_EQ(expected, defined);
}

} // namespace
