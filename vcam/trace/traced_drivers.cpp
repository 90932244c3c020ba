// Commands to drivers, and their memory.
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"
#include "vcam/preload/interpose.h"
#include "vcam/preload/optional_argument.h"
#include "vcam/trace/descriptors.h"
#include "vcam/trace/trace_library.h"

#include <sys/mman.h>
#include <sys/types.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr std::size_t sideLimit = 16384; // bytes of a period's side

struct Period {
    TracePart sides[2];
};

// The bytes of a period that the driver has taken, which it has read itself.
Period periodOf(const void *record) {
    AoSendRecord send = {};
    std::memcpy(&send, record, sizeof send);
    const std::size_t sides = send.frame.enSoundmode == 0 ? 1 : 2;
    Period period = {};
    for (std::size_t i = 0; i < sides && send.frame.len <= sideLimit; ++i) {
        period.sides[i] = {
            reinterpret_cast<const void *>(static_cast<std::uintptr_t>(send.frame.virAddr[i])),
            send.frame.len};
    }
    return period;
}

using Control = int (*)(int, unsigned long, ...);

int commandTraced(Control next, int fd, unsigned long request, void *record) {
    const Descriptor descriptor = descriptorOf(fd);
    if (!traceIsOn() || descriptor.role != DescriptorRole::device) {
        return next(fd, request, record);
    }
    const auto command = static_cast<std::uint32_t>(request);
    const std::size_t size = record != nullptr ? commandRecordSize(command) : 0;
    unsigned char before[commandRecordSize(UINT32_MAX)];
    if (size > 0) {
        std::memcpy(before, record, size);
    }
    const TracedCall made;
    const int result = next(fd, request, record);
    const bool isPeriod = command == AO_CMD_SEND && result == 0 && size > 0;
    const Period period = isPeriod ? periodOf(before) : Period{};
    made.record(TraceKind::command,
                {.result = result, .fd = fd, .argument = command, .more = descriptor.device},
                {{before, size}, {record, size}, period.sides[0], period.sides[1]});
    return result;
}

void *recordMapping(const TracedCall &made, void *mapping, int fd, std::size_t length) {
    const Descriptor descriptor = descriptorOf(fd);
    if (descriptor.role == DescriptorRole::device) {
        made.record(TraceKind::map, {.result = mapping == MAP_FAILED ? -1 : 0,
                                     .fd = fd,
                                     .argument = static_cast<std::uint32_t>(length),
                                     .more = descriptor.device});
    }
    return mapping;
}

} // namespace

// NOLINTBEGIN(bugprone-macro-parentheses)
#define INTERPOSE_TRACED_IOCTL(name)                                                               \
    INTERPOSE(int, name, (int fd, unsigned long request, ...)) {                                   \
        OPTIONAL_ARGUMENT(void *, request, argument);                                              \
        return commandTraced(NEXT(Control, name), fd, request, argument);                          \
    }

#define INTERPOSE_TRACED_MMAP(name, offsetType)                                                    \
    INTERPOSE(void *, name,                                                                        \
              (void *address, std::size_t length, int protection, int flags, int fd,               \
               offsetType offset)) {                                                               \
        using Map = void *(*)(void *, std::size_t, int, int, int, offsetType);                     \
        const TracedCall made;                                                                     \
        return recordMapping(                                                                      \
            made, NEXT(Map, name)(address, length, protection, flags, fd, offset), fd, length);    \
    }
// NOLINTEND(bugprone-macro-parentheses)

INTERPOSE_TRACED_IOCTL(ioctl)
INTERPOSE_TRACED_MMAP(mmap, off_t)

#ifdef __GLIBC__
INTERPOSE_TRACED_MMAP(mmap64, off64_t)
#ifndef __LP64__
INTERPOSE_TRACED_IOCTL(__ioctl_time64)
#endif
#endif
