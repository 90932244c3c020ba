#include "src/voxo/options.h"

#include "src/voxo/context.h"
#include "src/voxo/daemon.h"
#include "tests/support/captured.h"
#include "vcam/camera/environment.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

namespace {

struct Parsed {
    int result;
    int daemonFlag;
    std::string errors;
};

Parsed parse(std::vector<std::string> arguments) {
    voxoContext = {};
    pidFilePath[0] = '\0';
    arguments.insert(arguments.begin(), "voxo");
    const std::vector<char *> argv = argumentsOf(arguments);
    Parsed parsed = {};
    parsed.daemonFlag = 7;
    parsed.errors = errorsOf([&] {
        parsed.result =
            voxoParseOptions(static_cast<int>(arguments.size()), argv.data(), &parsed.daemonFlag);
    });
    return parsed;
}

TEST(Options, TakeWhatFits) {
    const std::string config(255, 'c');
    const std::string pid(127, 'p');
    Parsed parsed = parse({"-c", config, "-p", pid});
    EXPECT_EQ(0, parsed.result);
    EXPECT_EQ(0, parsed.daemonFlag);
    EXPECT_EQ(config, voxoContext.configPath);
    EXPECT_EQ(pid, pidFilePath);
    parsed = parse({"-dc", "longer than the next", "-cshort"});
    EXPECT_EQ(0, parsed.result);
    EXPECT_EQ(1, parsed.daemonFlag);
    EXPECT_EQ(std::string("short") + std::string(251, '\0'),
              std::string(voxoContext.configPath, 256)); // replaced whole
    EXPECT_STREQ("", pidFilePath);
}

TEST(Options, RefuseTheRest) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"-d"}, "Config file path not set!\n"},
        {{"-c", std::string(256, 'c')}, "Config file path too long!\n"},
        {{"-c", "x", "-p", std::string(128, 'p')}, "PID file path too long!\n"},
        {{"-c", "x", "-x"}, "Unknown option `-x'.\n"},
        {{"-c", "x", "-\xC3"}, "Unknown option character `\\xc3'.\n"},
        {{"-c"}, "Unknown option `-c'.\n"},
        {{"-c", "x", "-p"}, "Unknown option `-p'.\n"}};
    for (const auto &[arguments, errors] : cases) {
        const Parsed parsed = parse(arguments);
        EXPECT_EQ(-1, parsed.result);
        EXPECT_EQ(errors, parsed.errors);
    }
}

TEST(Options, EndTheDaemonWhenTheyAreWrong) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr); // as a parent may leave it
    char name[] = "voxo";
    char *argv[] = {name, nullptr};
    EXPECT_EQ(std::string(voxoUsage) + "\n", outputOf([&] { EXPECT_EQ(1, voxoRun(1, argv)); }));
    sigprocmask(SIG_BLOCK, nullptr, &signals);
    EXPECT_EQ(0, sigismember(&signals, SIGTERM));
}

} // namespace
