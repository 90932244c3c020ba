// What the traced calls share: the trace that they write to.
//
// The library stands in front of all others and hands every call on to the next definition. Its own
// file it reaches by system calls, so that nobody behind it sees them.
#pragma once

#include "vcam/trace/trace_format.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

// Environment variables: the trace's file, without which nothing is recorded; how many bytes it may
// have at most, and how many bytes of each file that the daemon reads are recorded.
constexpr char traceFileVariable[] = "VOXO_TRACE";
constexpr char traceLimitVariable[] = "VOXO_TRACE_LIMIT";
constexpr char traceClipVariable[] = "VOXO_TRACE_CLIP";

bool traceIsOn();
std::uint64_t traceNow();

// Bytes of a file that are recorded.
std::uint32_t traceClipLimit();

struct TracePart {
    const void *bytes;
    std::size_t size;
};

// A call that is being made: begin it in front of the next definition, and record it behind.
// Recording changes no errno.
class TracedCall {
public:
    TracedCall() : start_(traceIsOn() ? traceNow() : 0) {}

    // `call` without error and duration.
    void record(TraceKind kind, const TraceCall &call,
                std::initializer_list<TracePart> parts = {}) const;

    // The same for a call about a path, which may be null.
    void recordPath(TraceKind kind, const TraceCall &call, const char *path) const;

private:
    std::uint64_t start_;
};

// Notes a signal. May be called from a handler.
void traceSignal(int number, int sender);

// Writes out what is recorded so far: before the daemon waits.
void traceFlush();

// Ends the trace with the process, which hands out this status if it ends at once.
void traceEnd(TraceEnd reason, int status);

// The process is a child, which has no trace.
void traceForget();

// Whether a descriptor is the trace's own, which the daemon may not close.
bool isTraceFile(int fd);
