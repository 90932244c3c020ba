// The whole road of a record of 640 bytes: a datagram in a real socket, the main loop's steps, the
// platform, a driver that takes everything; beside a loop that makes the same system calls and
// nothing else.
#include "audioout/audioout.h"
#include "bench/tireless_driver.h"
#include "src/voxo/context.h"
#include "src/voxo/input.h"
#include "src/voxo/stream.h"
#include "src/voxo/stream_record.h"

#include <benchmark/benchmark.h>

#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace {

constexpr std::uint32_t payloadSize = 640;
constexpr std::int64_t manyRecords = 10'000'000;

struct StreamRecord {
    std::uint8_t bytes[recordBody + payloadSize];

    StreamRecord() {
        std::memset(bytes, 0, sizeof bytes);
        setRecordWord(bytes, recordSizeWord, sizeof bytes);
        setRecordWord(bytes, recordTypeWord, codeG711);
        for (std::uint32_t i = 0; i < payloadSize; ++i) {
            bytes[recordBody + i] = static_cast<std::uint8_t>(i * 37);
        }
    }
};

class SocketPair {
public:
    SocketPair() { socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends_); }
    SocketPair(const SocketPair &) = delete;
    SocketPair &operator=(const SocketPair &) = delete;
    ~SocketPair() {
        close(ends_[0]);
        close(ends_[1]);
    }

    int receiver() const { return ends_[0]; }
    void send(const StreamRecord &record) const {
        ::send(ends_[1], record.bytes, sizeof record.bytes, 0);
    }

private:
    int ends_[2] = {-1, -1};
};

// The daemon's output and decoder, open: there is one in a process.
class Daemon {
public:
    static Daemon &instance() {
        static Daemon daemon;
        return daemon;
    }

    Daemon() {
        voxoContext = {};
        G711Dec_GetOps(&voxoContext.decoder);
        audioout_open(0, 0, 8000, 16, payloadSize);
        voxoContext.decoder.init(&voxoContext.decoder.codecDesc->handle);
    }
    Daemon(const Daemon &) = delete;
    Daemon &operator=(const Daemon &) = delete;
    ~Daemon() {
        voxoContext.decoder.release(&voxoContext.decoder.codecDesc->handle);
        audioout_close(0, 0);
    }

    // The main loop's steps for a record that is there.
    void takeRecord(int socket) {
        if (voxoWaitInput(socket, recvBuf, sizeof recvBuf, 1) == 0) {
            voxoHandleRecord(&voxoContext, &state_);
        }
    }

    void handleAgain(std::int64_t times) {
        const StreamRecord record;
        for (std::int64_t i = 0; i < times; ++i) {
            std::memcpy(recvBuf, record.bytes, sizeof record.bytes);
            recvLength = sizeof record.bytes;
            voxoHandleRecord(&voxoContext, &state_);
        }
    }

private:
    VoxoLoopState state_;
};

void road(benchmark::State &state) {
    Daemon &daemon = Daemon::instance();
    const SocketPair sockets;
    const StreamRecord record;
    setDriverMakesCalls(true);
    while (state.KeepRunning()) {
        sockets.send(record);
        daemon.takeRecord(sockets.receiver());
    }
}

BENCHMARK(road)->Name("road of a record/voxo");

// As many commands as a record takes when the road is warm.
std::uint64_t commandsOfARecord() {
    setDriverMakesCalls(false);
    Daemon &daemon = Daemon::instance();
    daemon.handleAgain(10);
    const std::uint64_t before = driverCommands();
    daemon.handleAgain(100);
    return (driverCommands() - before) / 100;
}

void sameCalls(benchmark::State &state) {
    const std::uint64_t commands = commandsOfARecord();
    const SocketPair sockets;
    const StreamRecord record;
    while (state.KeepRunning()) {
        sockets.send(record);
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(sockets.receiver(), &readable);
        timeval timeout = {1, 0};
        select(sockets.receiver() + 1, &readable, nullptr, nullptr, &timeout);
        benchmark::DoNotOptimize(read(sockets.receiver(), recvBuf, sizeof recvBuf));
        for (std::uint64_t i = 0; i < commands; ++i) {
            makeDriverCall();
        }
    }
    state.SetLabel(std::to_string(commands) + " commands");
}
BENCHMARK(sameCalls)->Name("road of a record/system calls");

// What a record costs does not depend on how many there were.
void lateRoad(benchmark::State &state) {
    static const bool isOld = [] {
        setDriverMakesCalls(false);
        Daemon::instance().handleAgain(manyRecords);
        return true;
    }();
    benchmark::DoNotOptimize(isOld);
    road(state);
}
BENCHMARK(lateRoad)->Name("road of a record/voxo after 10 million");

} // namespace
