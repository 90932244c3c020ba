// Look-ups in the settings daemon's snapshot.
#include "vcam/preload/interpose.h"
#include "vcam/trace/trace_library.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <algorithm>
#include <atomic>

namespace {

void *const notAttached = reinterpret_cast<void *>(-1);

// The segment that is attached, and what it held when it was recorded. One at a time is.
std::atomic<int> segment = -1;
std::atomic<const void *> segmentAddress = nullptr;
std::atomic<std::uint64_t> recordedBytes = 0;

// The 64-bit FNV-1a hash.
std::uint64_t hashOf(const void *bytes, std::size_t size) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (std::size_t i = 0; i < size; ++i) {
        hash = (hash ^ static_cast<const unsigned char *>(bytes)[i]) * 0x100000001B3;
    }
    return hash;
}

int recordStep(const TracedCall &made, int result, TraceSnapshot step, int fd,
               std::uint32_t argument, TracePart data = {}) {
    made.record(TraceKind::snapshot,
                {.result = result,
                 .fd = fd,
                 .argument = argument,
                 .more = static_cast<std::uint32_t>(step)},
                {data});
    return result;
}

// Records what the attached segment holds, if that has changed.
void recordSegment(std::size_t size) {
    const void *const bytes = segmentAddress;
    if (!traceIsOn() || bytes == nullptr) {
        return;
    }
    const std::uint64_t hash = hashOf(bytes, std::min(size, traceDataLimit));
    if (recordedBytes.exchange(hash) != hash) {
        const TracedCall made;
        made.record(TraceKind::segment, {.fd = segment}, {{bytes, size}});
    }
}

} // namespace

INTERPOSE(int, semget, (key_t key, int count, int flags)) {
    using Get = int (*)(key_t, int, int);
    const TracedCall made;
    return recordStep(made, NEXT(Get, semget)(key, count, flags), TraceSnapshot::semget, -1,
                      static_cast<std::uint32_t>(key));
}

INTERPOSE(int, semop, (int set, sembuf *operations, std::size_t count)) {
    using Operate = int (*)(int, sembuf *, std::size_t);
    traceFlush();
    const TracedCall made;
    return recordStep(made, NEXT(Operate, semop)(set, operations, count), TraceSnapshot::semop, set,
                      static_cast<std::uint32_t>(count), {operations, count * sizeof *operations});
}

INTERPOSE(int, shmget, (key_t key, std::size_t size, int flags)) {
    using Get = int (*)(key_t, std::size_t, int);
    const TracedCall made;
    return recordStep(made, NEXT(Get, shmget)(key, size, flags), TraceSnapshot::shmget, -1,
                      static_cast<std::uint32_t>(key));
}

INTERPOSE(void *, shmat, (int id, const void *address, int flags)) {
    using Attach = void *(*)(int, const void *, int);
    const TracedCall made;
    void *const attached = NEXT(Attach, shmat)(id, address, flags);
    if (attached != notAttached) {
        segment = id;
        segmentAddress = attached;
    }
    recordStep(made, attached == notAttached ? -1 : 0, TraceSnapshot::shmat, id,
               static_cast<std::uint32_t>(flags));
    return attached;
}

INTERPOSE(int, shmdt, (const void *address)) {
    if (address == segmentAddress) {
        segmentAddress = nullptr;
    }
    return NEXT(int (*)(const void *), shmdt)(address);
}

// Tells the size of what is attached.
INTERPOSE(int, shmctl, (int id, int command, shmid_ds *status)) {
    using Control = int (*)(int, int, shmid_ds *);
    const TracedCall made;
    const int result = NEXT(Control, shmctl)(id, command, status);
    const bool hasSize = result == 0 && command == IPC_STAT;
    const auto size = static_cast<std::uint32_t>(hasSize ? status->shm_segsz : 0);
    recordStep(made, result, TraceSnapshot::shmctl, id, static_cast<std::uint32_t>(command),
               {&size, hasSize ? sizeof size : 0});
    if (hasSize && id == segment) {
        recordSegment(size);
    }
    return result;
}
