// The board's registers: what its devices are set to and have done, in one file that every process
// of the camera maps. They survive a restart of the daemon.
//
// The layout is the same on every processor, so a native `vcam` and a daemon built for another
// instruction set share it: fixed-width words only. A register of several words is changed by one
// process at a time; single words may be read at any moment.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

using Register = std::atomic<std::uint32_t>;
static_assert(sizeof(Register) == 4 && Register::is_always_lock_free);

constexpr std::uint32_t boardMagic = 0x6D616376; // "vcam"
constexpr std::uint32_t boardLayout = 6;

constexpr std::uint32_t aoChannelCount = 16;
constexpr std::uint32_t aoQueueRoom = 50;     // periods, of any device attributes
constexpr std::uint32_t aoPeriodRoom = 16384; // bytes of a period and sub-channel

// How often the camera's clock ticks.
enum : std::uint32_t {
    paceRealTime = 0,
    paceAsTheyCome = 1, // periods are played as soon as they are there
    paceDropped = 2,    // periods are dropped as soon as the driver has taken them
};

// One period in the queue of a channel.
struct AoPeriodSlot {
    std::uint32_t bytes; // of each sub-channel
    std::uint32_t subChannels;
    std::uint8_t data[2][aoPeriodRoom];
};

// A channel's queue is a ring that the driver fills and the DAC empties. All counts only ever grow:
// slots [played, queued) wait, except those below `flushed`, which are to be dropped.
struct AoChannelRegisters {
    Register enabled;
    Register owner; // the process that enabled it, or sent to it last
    Register paused;
    Register queued;  // periods taken from senders; written by the driver
    Register played;  // periods that have left the queue; written by the DAC
    Register flushed; // where the queue was when it was last cleared; written by the driver
    Register refused; // periods that were not taken
    Register resampleDebug[4];
    Register vqeDebugWrites;
    std::uint32_t dump[130]; // the 520-byte dump configuration
};

struct AoRegisters {
    Register hasAttr;
    Register attr[9]; // the attribute record, word by word
    Register enabled;
    Register volumeDb;
    Register trackMode;
    Register clkDir;
    Register mute[4];
    Register periodsPlayed;
    Register underruns; // dropouts: the queue ran dry and the sound went on within a second
    Register peak;      // largest magnitude of a 16-bit sample so far
    Register work;      // grows with each period, clearing or change of state: the DAC waits on it
    Register space;     // grows with each period played: a sender waits on it
    AoChannelRegisters channels[aoChannelCount];
};

struct AcodecRegisters {
    Register resets;
    Register rateCode;
    Register volume[2]; // left, right
    Register daclMute;
};

struct SysRegisters {
    Register starts;
    Register isStarted;
    Register hasConfig;
    Register config;
    Register tuningMode;
    Register tuningRequests; // grows with each run that is asked for and each wake
    Register tuningPending;  // 1: a run has been asked for and not begun
    Register tuningArgument;
    Register tuningRuns; // runs that were reported over
    Register cacheFlushes;
};

constexpr std::uint32_t vbPoolCount = 32;
constexpr std::uint32_t vbBlocksPerPool = 32;

struct VbPoolRegisters {
    Register used;
    std::uint32_t blkSize;
    std::uint32_t blkCnt;
    std::uint32_t phys;
    Register taken; // a bit for each block
};

struct VbRegisters {
    Register isStarted;
    Register userPools; // a bit for each user that has pools of its own
    Register word;
    std::uint32_t config[97]; // the 388-byte configuration
    VbPoolRegisters pools[vbPoolCount];
};

constexpr std::uint32_t zoneBlockCount = 64;

struct ZoneBlockRegisters {
    Register owner; // process that holds the block, 0: free
    std::uint32_t phys;
    std::uint32_t size;
    char name[16];
    char zone[32];
};

struct ZoneRegisters {
    ZoneBlockRegisters blocks[zoneBlockCount];
};

constexpr std::uint32_t logRoom = 4096;

// The kernel's log text: a ring of bytes. Counts only ever grow.
struct LogRegisters {
    Register written;
    Register read;
    Register waitFlag;
    std::uint32_t levels[6];
    char text[logRoom];
};

constexpr std::uint32_t faultCount = 128;

// A command, or a call of the C library, that is to fail: the countdown-th time that it is issued.
// The slots are filled from the first on.
struct FaultRegisters {
    Register command;   // or the call's code (library_calls.h); 0: no fault is set
    Register countdown; // 0: it has failed
    Register result;    // what the driver answers then
};

// The daemon's neighbours, played by the process that runs the camera.
struct NeighbourRegisters {
    Register encoderSignals; // SIGUSR1 that the audio encoder has received
};

// How soon the daemon gets going: microseconds from its process's start, 0: not yet.
struct StartRegisters {
    Register deviceOpen;  // the AO device was enabled
    Register firstPeriod; // the AO driver took the first period
};

// What the loudspeaker could not keep.
struct LossRegisters {
    Register periods;
    Register error; // errno of the last
};

// The PC's own loudspeaker, when somebody listens.
struct ListenRegisters {
    Register isOn;      // 1: the device plays
    Register underruns; // it ran dry while the board played on
    Register dropped;   // periods that it was too slow to take
};

// How long the way to the ear is. Moments are microseconds of the board's clock, odd ones, which
// leaves 0 for "none".
struct LatencyRegisters {
    Register sentAt;       // when a sender sent the first record of a sound; gone when it is heard
    Register soundAfter;   // microseconds from then until a period began; 0: not measured
    Register stoppedAt;    // when a clip was told to stop; gone when it is silent
    Register silenceAfter; // microseconds from then until no period played; 0: not measured
};

// What the daemon's process asks of the world that keeps the virtual clock.
enum : std::uint32_t {
    worldCarriesOutWhatIsDue = 1, // time does not pass
    worldGoesOn = 2,              // until something has come, or the deadline
    worldLogsLine = 3,
};

// Whose turn it is: only one of the two ever runs.
enum : std::uint32_t {
    turnOfDaemon = 0,
    turnOfWorld = 1,
};

constexpr std::uint32_t worldLineRoom = 2048;

// The virtual clock. Each side changes these registers only in its turn.
struct WorldRegisters {
    Register isOn; // 0: the camera lives on the wall's clock
    Register turn;
    Register request;
    Register word;        // a register's number that the wait is for; 0: none
    Register seen;        // its value when the wait began
    Register signal;      // answer: to be raised before the wait ends; 0: none
    Register now[2];      // nanoseconds, the low half first
    Register deadline[2]; // of the wait
    Register commands[2]; // digest of all driver commands so far
    Register commandCount;
    Register callers; // grows when the daemon reaches for a server's socket
    Register lineLength;
    char line[worldLineRoom]; // for the system log
};

constexpr std::uint32_t replayRecordRoom = 0x4000;

// A daemon's commands beside those of an earlier life, whose answers it is given (answers.h).
struct ReplayRegisters {
    Register isOn;
    Register issued;         // commands
    Register differsAt;      // the number of the first that differs, from 1 on; 0: none does
    Register command;        // that was issued there,
    Register recordSize;     // and its record
    Register hasOtherPeriod; // 1: it is the same, but not the period that it hands over
    std::uint8_t record[replayRecordRoom];
};

struct BoardRegisters {
    Register magic;
    Register layout;
    Register pace;
    Register dacPid; // the process that plays; 0: none
    FaultRegisters faults[faultCount];
    NeighbourRegisters neighbours;
    StartRegisters start;
    SysRegisters sys;
    VbRegisters vb;
    ZoneRegisters zones;
    AcodecRegisters acodec;
    LogRegisters log;
    AoRegisters ao;
    AoPeriodSlot queue[aoChannelCount][aoQueueRoom];
    Register soundsBegun; // grows when a sender begins a sound: a gap before it is no dropout
    LossRegisters loss;
    ListenRegisters listen;
    LatencyRegisters latency;
    WorldRegisters world;
    ReplayRegisters replay;
};
static_assert(offsetof(BoardRegisters, queue) % 4 == 0);

// A moment of the board's clock, in nanoseconds, as LatencyRegisters hold it.
constexpr std::uint32_t latencyMoment(std::uint64_t now) {
    return static_cast<std::uint32_t>(now / 1000) | 1;
}

// Two registers as one number; for those that one process changes at a time.
inline std::uint64_t longRegister(const Register (&halves)[2]) {
    return halves[0] | static_cast<std::uint64_t>(halves[1]) << 32;
}

inline void setLongRegister(Register (&halves)[2], std::uint64_t value) {
    halves[0] = static_cast<std::uint32_t>(value);
    halves[1] = static_cast<std::uint32_t>(value >> 32);
}
