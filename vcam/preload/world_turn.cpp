#include "vcam/preload/world_turn.h"

#include "vcam/preload/board_process.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

namespace {

// The two sides wait for each other by the wall's clock and the kernel's means.
SystemBoardTime wall;

constexpr std::uint64_t lookAtWorldProcess = nanosecondsPerSecond;

BoardRegisters &registers() {
    return processBoard().registers;
}

WorldRegisters &world() {
    return registers().world;
}

// Whether a signal that is raised now would be handled.
bool isHandled(int signal) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler != SIG_IGN;
}

// Gives the turn away and waits until it is back. True: a signal has been handled on the way.
bool handOver(std::uint32_t request) {
    static const long worldProcess = syscall(SYS_getppid);
    const int error = errno;
    WorldRegisters &turns = world();
    turns.request = request;
    turns.signal = 0;
    turns.turn = turnOfWorld;
    wall.wake(turns.turn);
    wall.waitForChange(turns.turn, turnOfWorld, wall.now() + lookAtWorldProcess);
    while (turns.turn != turnOfDaemon) {
        if (syscall(SYS_getppid) != worldProcess) {
            _exit(1); // there is no world any more
        }
        wall.waitForChange(turns.turn, turnOfWorld, wall.now() + lookAtWorldProcess);
    }
    const auto signal = static_cast<int>(turns.signal.load());
    const bool comes = signal != 0 && isHandled(signal);
    if (signal != 0) {
        syscall(SYS_tgkill, syscall(SYS_getpid), syscall(SYS_gettid), signal);
    }
    errno = error;
    return comes;
}

bool waitForWord(std::uint32_t word, std::uint32_t seen, std::uint64_t deadline) {
    world().word = word;
    world().seen = seen;
    setLongRegister(world().deadline, deadline);
    return handOver(worldGoesOn);
}

} // namespace

bool isTimeVirtual() {
    return cameraDir() != nullptr && world().isOn != 0;
}

std::uint64_t virtualNow() {
    return longRegister(world().now);
}

bool lookAtWorld() {
    return !handOver(worldCarriesOutWhatIsDue);
}

Woken waitInWorld(std::uint64_t deadline) {
    if (waitForWord(0, 0, deadline)) {
        return Woken::bySignal;
    }
    return virtualNow() >= deadline ? Woken::byClock : Woken::byWorld;
}

void logInWorld(const char *line, std::size_t length) {
    const std::size_t count = std::min(length, sizeof world().line);
    std::memcpy(world().line, line, count);
    world().lineLength = static_cast<std::uint32_t>(count);
    handOver(worldLogsLine);
}

void VirtualBoardTime::waitForChange(Register &word, std::uint32_t seen, std::uint64_t deadline) {
    const auto *const first = reinterpret_cast<const unsigned char *>(&registers());
    const auto offset = reinterpret_cast<const unsigned char *>(&word) - first;
    waitForWord(static_cast<std::uint32_t>(offset) / sizeof(Register), seen, deadline);
}

// Whoever waits for a register is asked for it by the world.
void VirtualBoardTime::wake(Register & /*word*/) {}
