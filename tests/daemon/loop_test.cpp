#include "src/voxo/loop.h"

#include "src/voxo/process.h"
#include "tests/daemon/daemon_fixture.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace {

using namespace driverCommand;

// Allocations of this thread, from the first call on: known where the program is sanitised.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t counted = 1;
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void *,
                                                                          std::size_t),
                                                         void (*onFree)(const volatile void *));
std::size_t allocationCount() {
    static thread_local std::size_t allocations;
    [[maybe_unused]] static const int installed = __sanitizer_install_malloc_and_free_hooks(
        [](const volatile void *, std::size_t) { ++allocations; }, [](const volatile void *) {});
    return allocations;
}
#else
constexpr std::size_t counted = 0;
std::size_t allocationCount() {
    return 0;
}
#endif

// Sets the flag as a signal handler does, which is no thread's doing.
[[gnu::no_sanitize_thread]] void requestQuit() {
    quitRequested = 1;
}

class LoopTest : public DaemonTest {
protected:
    LoopTest() {
        int sockets[2] = {};
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, sockets));
        fcntl(sockets[0], F_SETFL, O_NONBLOCK);
        voxoContext.streamFd = sockets[0];
        sender_.reset(sockets[1]);
    }
    ~LoopTest() override { close(voxoContext.streamFd); }

    UniqueFd sender_;
};

TEST_F(LoopTest, AllocatesNothingBetweenTheFirstRecordAndTheEnd) {
    device().keepsCalls = false;
    std::atomic<int> played{0};
    device().watch(aoSend, [&played](const void *) { ++played; });
    const Record record = audioRecord(std::vector<std::uint8_t>(640, 0x33));
    std::thread sender([&] {
        for (int i = 0; i < 200; ++i) {
            send(sender_.get(), record.data(), record.size(), 0);
        }
        while (played < 199) {
            std::this_thread::yield();
        }
        requestQuit();
        send(sender_.get(), "", 0, 0); // ends the wait
    });
    const Captured quiet;
    const std::size_t before = allocationCount();
    const std::unique_ptr<int> allocated(new int(0));
    EXPECT_EQ(before + counted, allocationCount());
    voxoMainLoop(&voxoContext);
    EXPECT_EQ(before + counted, allocationCount());
    sender.join();
    EXPECT_EQ(199, played);
}

TEST_F(LoopTest, WakesOnceASecondAndLeavesTheDriverAlone) {
    device().clearCalls();
    std::thread clock([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        requestQuit();
    });
    const auto before = std::chrono::steady_clock::now();
    voxoMainLoop(&voxoContext);
    const auto spent = std::chrono::steady_clock::now() - before;
    clock.join();
    EXPECT_GE(spent, std::chrono::milliseconds(1900)); // two waits
    EXPECT_TRUE(device().commands().empty());
}

class ProcessTest : public DaemonTest {
protected:
    ProcessTest() {
        file_ = dir_.path() / "own.pid";
        file_.string().copy(pidFilePath, sizeof pidFilePath - 1);
        pidFilePath[file_.string().size()] = '\0';
    }
    ~ProcessTest() override { pidFilePath[0] = '\0'; }

    std::filesystem::path file_;
};

TEST_F(ProcessTest, OwnsItsPidFileWhileItHoldsItsId) {
    const mode_t mask = umask(0077);
    EXPECT_EQ(0, voxoCreatePidFile());
    umask(mask);
    EXPECT_EQ(std::to_string(getpid()) + "\n", contentsOf(file_));
    EXPECT_EQ(std::filesystem::perms(0644), std::filesystem::status(file_).permissions());
    voxoCleanup(&voxoContext);
    EXPECT_FALSE(std::filesystem::exists(file_));
    std::ofstream(file_) << getpid() + 1 << "\n"; // another daemon's by now
    voxoCleanup(&voxoContext);
    EXPECT_TRUE(std::filesystem::exists(file_));
    std::filesystem::remove(file_);
    EXPECT_EQ("can't open " + file_.string() + "\n", errorsOf([] { voxoCleanup(&voxoContext); }));
    std::strcpy(pidFilePath, "/no/such/dir/pid");
    EXPECT_EQ("can't open /no/such/dir/pid\n",
              errorsOf([] { EXPECT_EQ(-1, voxoCreatePidFile()); }));
    std::strcpy(pidFilePath, "/dev/full");
    EXPECT_EQ(-1, voxoCreatePidFile());
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_TRUE(std::filesystem::exists(pidFilePath)); // not the daemon's to remove
}

volatile std::sig_atomic_t signals;

TEST_F(ProcessTest, NotifiesTheEncoder) {
    std::signal(SIGUSR1, [](int) { signals = signals + 1; });
    signals = 0;
    const std::string own = "  " + std::to_string(getpid());
    for (const char *text : {own.c_str(), "", "none", "0\n", "-1\n"}) { // one process's id
        std::ofstream(file_) << text;
        voxoNotifyEncoder(file_.c_str());
    }
    EXPECT_EQ(1, signals);
    std::filesystem::remove(file_);
    EXPECT_EQ(0, mkfifo(file_.c_str(), 0600)); // that nobody writes to
    EXPECT_EQ("", errorsOf([&] { voxoNotifyEncoder(file_.c_str()); }));
    EXPECT_EQ("", errorsOf([] { voxoNotifyEncoder(""); }));
    EXPECT_EQ("can't open /no/such/pid\n", errorsOf([] { voxoNotifyEncoder("/no/such/pid"); }));
    std::signal(SIGUSR1, SIG_DFL);
}

} // namespace
