// The file of a trace: what reached the daemon in its life, and when.
//
// It begins with a TraceFileHead. Records follow, each a TraceHeader, a TraceCall and data. All
// words are little-endian. Times are nanoseconds of the daemon's monotonic clock since the trace
// began; a record's is that of the call's return. Records are in the order in which calls returned,
// but for a signal, whose time may be a little before that of the record in front of it.
//
// Every record has a call's result, its errno where the result is negative (else 0), the descriptor
// that it was about (else -1) and how long it took. The rest goes by kind; what is not named is 0:
//
// | kind       | result      | descriptor | argument           | more             | data |
// |------------|-------------|------------|--------------------|------------------|-------------------|
// | start      | process id  |            |                    |                  | arguments, each
// | |            |             |            |                    |                  | with its end
// | | detach     | daemon()'s  |            | process id after   |                  | | | end |
// records lost|            | a TraceEnd         | exit status      |                   | | open |
// descriptor  |            | flags              | device           | path              | |
// openStream | 0 or -1     |            |                    |                  | path | | look |
// the call's  |            | a TraceLook        | access's mode    | path              | | close |
// the call's  | closed     |                    | device           |                   | | command
// | the driver's| commanded  | command            | device           | see below         | | map |
// 0 or -1     | mapped     | length             | device           |                   | |
// deviceRead | count       | read       | room               | device           | bytes | | bind |
// the call's  | bound      |                    |                  | path              | | datagram
// | count       | read       | room               |                  | bytes             | |
// message    | count       | read       | room               |                  | bytes | | connect
// | the call's  | connected  |                    |                  | path              | |
// request    | count       | sent to    | size               | flags            | bytes | | reply
// | count       | read       | room               |                  | bytes             | |
// fileBytes  | count       | read       | room               | offset           | bytes | | wait |
// the call's  |            | patience, ms, or   | a TraceWait      | descriptors that  | | | | |
// traceForEver       |                  | are ready, i32    | | sleep      | the call's  | |
// microseconds       | a TraceSleep     |                   | | handler    | 0 or -1     | | signal
// | a TraceHandler   |                   | | signal     | 0           |            | signal | its
// sender or 0  |                   | | snapshot   | the call's  |            | key, command,      |
// a TraceSnapshot  | of semop: its     | |            |             | segment or | operations or |
// | operations; of    | |            |             | set        | flags              | | shmctl:
// u32 size  | | segment    | 0           | segment    |                    |                  |
// what is in it     |
//
// `device` is a path's place in cameraDevicePaths counted from 1, and 0 for any other. A command's
// data are the record before the call and after it, each of the size that the command names, or
// nothing when it was made without one; a period that the driver has taken follows, its left and
// right side or the one that it has, each of the length that its record names. A command's record
// and its period are there whole or not at all. The bytes of a segment are recorded when they are
// not those of the last time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little);

constexpr char traceMagic[8] = {'V', 'O', 'X', 'O', 'T', 'R', 'C', '1'};

struct TraceFileHead {
    char magic[8];
    std::uint32_t pointerSize; // of the daemon, in bytes
    std::uint32_t reserved;
};
static_assert(sizeof(TraceFileHead) == 16);

enum class TraceKind : std::uint16_t {
    start = 1,
    detach,
    end,
    open,
    openStream,
    look,
    close,
    command,
    map,
    deviceRead,
    bind,
    datagram,
    message,
    connect,
    request,
    reply,
    fileBytes,
    wait,
    sleep,
    handler,
    signal,
    snapshot,
    segment,
};
constexpr std::uint16_t traceKindEnd = static_cast<std::uint16_t>(TraceKind::segment) + 1;

enum class TraceEnd : std::uint32_t { exit, limit };
enum class TraceLook : std::uint32_t { access, stat };
enum class TraceWait : std::uint32_t { select, poll };
enum class TraceSleep : std::uint32_t { sleep, usleep, clockNanosleep };
enum class TraceHandler : std::uint32_t { standard, ignore, own };
enum class TraceSnapshot : std::uint32_t { semget, semop, shmget, shmat, shmctl };

struct TraceHeader {
    std::uint16_t kind;
    std::uint16_t flags;
    std::uint32_t size; // bytes after this header
    std::uint64_t time;
};
static_assert(sizeof(TraceHeader) == 16);

// The record has fewer bytes of data than there were.
constexpr std::uint16_t traceIsCut = 1;

struct TraceCall {
    std::int32_t result = 0;
    std::int32_t error = 0;
    std::int32_t fd = -1;
    std::uint32_t argument = 0;
    std::uint32_t more = 0;
    std::uint32_t whole = 0; // bytes of data that there were
    std::uint64_t duration = 0;
};
static_assert(sizeof(TraceCall) == 32);

constexpr std::size_t traceDataLimit = 65536; // bytes of data in a record
constexpr std::size_t traceRecordLimit = sizeof(TraceHeader) + sizeof(TraceCall) + traceDataLimit;

constexpr std::uint32_t traceForEver = UINT32_MAX;

// What a driver command says of its record.
constexpr std::size_t commandRecordSize(std::uint32_t command) {
    return command >> 16 & 0x3FFF;
}
