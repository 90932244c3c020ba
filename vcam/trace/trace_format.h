// The file of a trace: what reached the daemon in its life, and when.
//
// It begins with a TraceFileHead. Records follow, each a TraceHeader, a TraceCall and data. All
// words are little-endian. Times are nanoseconds of the daemon's monotonic clock since the trace
// began; a record's is that of the call's return. Records are in the order in which calls returned,
// but for a signal, whose time may be a little before that of the record in front of it.
//
// | bytes | of                                                                                    |
// |-------|---------------------------------------------------------------------------------------|
// | 8     | file: magic "VOXOTRC1"                                                                |
// | 4 4   | file: size of a pointer, 0                                                            |
// | 2 2 4 | header: kind, flags, bytes that follow this header                                    |
// | 8     | header: time                                                                          |
// | 4 4   | call: result; errno where the result is negative, else 0                              |
// | 4     | call: descriptor, segment or set that it was about, else -1                           |
// | 4 4   | call: argument, more; see below                                                       |
// | 4 8   | call: bytes of data that there were; how long the call took                           |
//
// What is not named is 0. A result of a call that gives an address or a stream is 0, or -1.
//
// | kind       | result       | argument             | more           | data                     |
// |------------|--------------|----------------------|----------------|--------------------------|
// | start      | process id   |                      |                | arguments, each with \0  |
// | detach     | of daemon()  | process id from here |                |                          |
// | end        | records lost | a TraceEnd           | status, atOnce |                          |
// | open       | descriptor   | flags                | device         | path                     |
// | openStream | of fopen()   |                      |                | path                     |
// | look       | the call's   | a TraceLook          | access's mode  | path                     |
// | close      | the call's   |                      | device         |                          |
// | command    | the driver's | command              | device         | records, period          |
// | map        | of mmap()    | length               | device         |                          |
// | deviceRead | count        | room                 | device         | bytes                    |
// | bind       | the call's   |                      |                | path                     |
// | datagram   | count        | room                 |                | bytes                    |
// | message    | count        | room                 |                | bytes                    |
// | connect    | the call's   |                      |                | path                     |
// | request    | count        | size                 | flags          | bytes                    |
// | reply      | count        | room                 |                | bytes                    |
// | fileBytes  | count        | room                 | file offset    | bytes                    |
// | wait       | the call's   | ms or traceForEver   | a TraceWait    | ready descriptors, i32   |
// | sleep      | the call's   | microseconds         | a TraceSleep   |                          |
// | handler    | of signal()  | signal               | a TraceHandler |                          |
// | signal     | 0            | signal               | sender or 0    |                          |
// | snapshot   | the call's   | key, command, count  | a TraceSnapshot| operations, size         |
// |            |              | or flags             |                |                          |
// | segment    | 0            |                      |                | what is in the segment   |
//
// `device` is a path's place in cameraDevicePaths counted from 1, and 0 for any other. A command's
// data are the record before the call and after it, each of the size that the command names, or
// nothing when it was made without one; a period that the driver has taken follows, its left and
// right side or the one that it has, each of the length that its record names. A command's record
// and its period are there whole or not at all. The bytes of a segment are recorded when they are
// not those of the last time.
#pragma once

#include "vcam/board/command_words.h"

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

enum class TraceEnd : std::uint32_t { exit, atOnce, limit };
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
