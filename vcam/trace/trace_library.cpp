// The trace of this process: its buffer, its limits, its beginning and end.
#include "vcam/trace/trace_library.h"

#include "vcam/trace/trace_file.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr std::uint64_t standardLimit = 64 << 20;
constexpr std::uint64_t highestLimit = 1 << 30; // what every system's file offset takes
constexpr std::uint32_t standardClipLimit = 64 << 10;
constexpr std::size_t argumentsRoom = 4096;
constexpr std::size_t endSize = sizeof(TraceHeader) + sizeof(TraceCall);

std::atomic<bool> isOn = false;
std::uint64_t beginning;
std::uint64_t limit;
std::uint32_t clipLimit;
std::atomic<std::uint32_t> lost; // records of calls that were made within the recording of others
TraceFile file;
unsigned char buffer[traceRecordLimit];
std::size_t used;

// A signal that no record has been made of. The slot is its handler's from the count until it is
// full.
struct NotedSignal {
    std::atomic<bool> isFull;
    int number;
    int sender;
    std::uint64_t time;
};
NotedSignal notedSignals[64];
std::atomic<std::uint32_t> notedCount = 0;
std::atomic<std::uint32_t> recordedCount = 0;

// The trace while this thread writes to it. A handler that comes in between may make calls that
// are traced; they are lost, since waiting would last for ever.
class Writing {
public:
    Writing() {
        isMine_ = !isWriting_;
        isWriting_ = true;
        while (isMine_ && lock_.test_and_set(std::memory_order_acquire)) {
            syscall(SYS_sched_yield);
        }
    }
    Writing(const Writing &) = delete;
    Writing &operator=(const Writing &) = delete;
    ~Writing() {
        if (isMine_) {
            lock_.clear(std::memory_order_release);
            isWriting_ = false;
        }
        errno = error_;
    }

    bool isMine() const { return isMine_; }

private:
    static std::atomic_flag lock_;
    static thread_local bool isWriting_ [[gnu::tls_model("initial-exec")]];

    int error_ = errno;
    bool isMine_ = false;
};
constinit std::atomic_flag Writing::lock_;
constinit thread_local bool Writing::isWriting_ = false;

std::uint64_t monotonicTime() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 +
           static_cast<std::uint64_t>(time.tv_nsec);
}

void writeOut() {
    if (used > 0 && !file.write(buffer, used)) {
        isOn = false;
    }
    used = 0;
}

void put(const void *bytes, std::size_t size) {
    std::memcpy(buffer + used, bytes, size);
    used += size;
}

void close(TraceEnd reason, int status) {
    TraceCall call;
    call.result = static_cast<std::int32_t>(lost.load());
    call.argument = static_cast<std::uint32_t>(reason);
    call.more = static_cast<std::uint32_t>(status);
    if (sizeof buffer - used < endSize) {
        writeOut();
    }
    if (isOn) {
        const TraceHeader header = {static_cast<std::uint16_t>(TraceKind::end), 0, sizeof call,
                                    traceNow()};
        put(&header, sizeof header);
        put(&call, sizeof call);
        writeOut();
    }
    if (isOn) {
        isOn = false;
        file.close();
    }
}

void add(TraceKind kind, TraceCall call, std::uint64_t time,
         std::initializer_list<TracePart> parts) {
    std::size_t whole = 0;
    for (const TracePart &part : parts) {
        whole += part.size;
    }
    std::size_t left = std::min(whole, traceDataLimit);
    call.whole = static_cast<std::uint32_t>(whole);
    const std::size_t size = sizeof(TraceHeader) + sizeof call + left;
    if (file.size() + used + size + endSize > limit) {
        close(TraceEnd::limit, 0);
        return;
    }
    if (sizeof buffer - used < size) {
        writeOut();
    }
    const TraceHeader header = {static_cast<std::uint16_t>(kind),
                                whole > left ? traceIsCut : std::uint16_t{0},
                                static_cast<std::uint32_t>(sizeof call + left), time};
    put(&header, sizeof header);
    put(&call, sizeof call);
    for (const TracePart &part : parts) {
        const std::size_t taken = std::min(left, part.size);
        put(part.bytes, taken);
        left -= taken;
    }
}

// Makes records of the signals that have come.
void addSignals() {
    while (isOn && recordedCount != notedCount) {
        NotedSignal &noted = notedSignals[recordedCount % std::size(notedSignals)];
        if (!noted.isFull.load(std::memory_order_acquire)) {
            return; // its handler is at it
        }
        TraceCall call;
        call.argument = static_cast<std::uint32_t>(noted.number);
        call.more = static_cast<std::uint32_t>(noted.sender);
        const std::uint64_t time = noted.time;
        noted.isFull.store(false, std::memory_order_release);
        ++recordedCount;
        add(TraceKind::signal, call, time, {});
    }
}

std::uint64_t numberIn(const char *variable, std::uint64_t standard, std::uint64_t highest) {
    const char *const text = std::getenv(variable);
    char *end = nullptr;
    const unsigned long long value = text != nullptr ? std::strtoull(text, &end, 10) : 0;
    return end != nullptr && end != text && *end == '\0' ? std::min<std::uint64_t>(value, highest)
                                                         : standard;
}

std::size_t readArguments(char *arguments) {
    const long fd = syscall(SYS_openat, AT_FDCWD, "/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
    const long count = fd >= 0 ? syscall(SYS_read, fd, arguments, argumentsRoom) : 0;
    if (fd >= 0) {
        syscall(SYS_close, fd);
    }
    return static_cast<std::size_t>(std::max(count, 0L));
}

// Takes the file from the environment, before the daemon's first call. Programs that this one
// starts find no name there: they would begin the file anew.
[[gnu::constructor]] void begin() {
    const char *const path = std::getenv(traceFileVariable);
    if (path == nullptr || path[0] == '\0') {
        return;
    }
    const int error = errno;
    limit = numberIn(traceLimitVariable, standardLimit, highestLimit);
    clipLimit =
        static_cast<std::uint32_t>(numberIn(traceClipVariable, standardClipLimit, highestLimit));
    const bool isThere = file.create(path);
    unsetenv(traceFileVariable);
    if (isThere) {
        beginning = monotonicTime();
        TraceFileHead head = {{}, sizeof(void *), 0};
        std::memcpy(head.magic, traceMagic, sizeof head.magic);
        put(&head, sizeof head);
        isOn = true;
        char arguments[argumentsRoom];
        TraceCall call;
        call.result = static_cast<std::int32_t>(syscall(SYS_getpid));
        add(TraceKind::start, call, 0, {{arguments, readArguments(arguments)}});
    }
    errno = error;
}

[[gnu::destructor]] void endWithProcess() {
    traceEnd(TraceEnd::exit, 0);
}

} // namespace

bool traceIsOn() {
    return isOn.load(std::memory_order_relaxed);
}

std::uint64_t traceNow() {
    return monotonicTime() - beginning;
}

std::uint32_t traceClipLimit() {
    return clipLimit;
}

void TracedCall::record(TraceKind kind, const TraceCall &call,
                        std::initializer_list<TracePart> parts) const {
    if (!traceIsOn()) {
        return;
    }
    TraceCall made = call;
    if (call.result < 0 && call.error == 0) {
        made.error = errno;
    }
    const Writing writing;
    if (!writing.isMine()) {
        ++lost;
        return;
    }
    addSignals();
    if (traceIsOn()) {
        const std::uint64_t now = traceNow();
        made.duration = now - start_;
        add(kind, made, now, parts);
    }
}

void TracedCall::recordPath(TraceKind kind, const TraceCall &call, const char *path) const {
    if (traceIsOn()) {
        record(kind, call, {{path, path != nullptr ? std::strlen(path) : 0}});
    }
}

void traceSignal(int number, int sender) {
    if (!traceIsOn()) {
        return;
    }
    const std::uint64_t time = traceNow();
    std::uint32_t place = notedCount;
    do {
        if (place - recordedCount >= std::size(notedSignals)) {
            ++lost;
            return;
        }
    } while (!notedCount.compare_exchange_weak(place, place + 1));
    NotedSignal &noted = notedSignals[place % std::size(notedSignals)];
    noted.number = number;
    noted.sender = sender;
    noted.time = time;
    noted.isFull.store(true, std::memory_order_release);
}

void traceFlush() {
    if (!traceIsOn()) {
        return;
    }
    const Writing writing;
    if (writing.isMine() && traceIsOn()) {
        addSignals();
        writeOut();
    }
}

void traceEnd(TraceEnd reason, int status) {
    if (!traceIsOn()) {
        return;
    }
    const Writing writing;
    if (writing.isMine() && traceIsOn()) {
        addSignals();
        close(reason, status);
    }
}

void traceForget() {
    if (traceIsOn()) {
        isOn = false;
        file.close();
    }
}

bool isTraceFile(int fd) {
    return traceIsOn() && file.descriptor() == fd;
}
