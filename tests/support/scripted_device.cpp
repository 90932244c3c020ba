#include "tests/support/scripted_device.h"

#include "base/unique_fd.h"
#include "mpp/device/device.h"
#include "vcam/board/devices.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr std::size_t page = 4096;

// Time that passes when somebody waits. Drivers hold the lock, and give it up to wait.
class DriverTime : public BoardTime {
public:
    std::uint64_t now() override { return now_; }
    void waitForChange(Register & /*word*/, std::uint32_t /*seen*/,
                       std::uint64_t deadline) override {
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
        now_ = std::min(deadline, now_ + nanosecondsPerMillisecond);
    }
    void wake(Register & /*word*/) override {}

    std::mutex lock;

private:
    std::uint64_t now_ = nanosecondsPerSecond;
};

struct Open {
    BoardDevice *device;
    BoardFile file;
};

// What a test makes of a command: one of the two.
struct Script {
    ScriptedDevice::Answer answer;
    ScriptedDevice::Watcher watcher;
};

struct State {
    State() {
        if (ftruncate(memoryFd.get(), static_cast<off_t>(physicalMemorySize)) != 0) {
            std::abort();
        }
    }

    std::mutex mutex;
    // Shared, so that taking one to call it allocates nothing.
    std::map<std::uint32_t, std::shared_ptr<Script>> scripts;
    std::vector<DeviceCall> calls;
    std::map<int, Open> descriptors;
    std::map<std::string, int> flags;
    std::map<std::string, int> chosen;
    std::map<void *, std::size_t> memory;
    std::map<void *, std::size_t> mappings;
    int nextFd = 100;

    const std::unique_ptr<BoardRegisters> registers = std::make_unique<BoardRegisters>();
    const UniqueFd memoryFd{memfd_create("memory", MFD_CLOEXEC)};
    DriverTime time;
    Board board{*registers, memoryFd.get(), time};
    BoardDevices devices{board};
};

State &state() {
    static State instance;
    return instance;
}

// Counts down to a failure. True when it is due.
bool isDue(int &countdown) {
    return countdown > 0 && --countdown == 0;
}

std::size_t wholePages(std::size_t size) {
    return (size + page - 1) / page * page;
}

// Memory below 4 GiB, with an unmapped page behind it, so that no byte past the end goes unnoticed.
void *lowMemory(std::size_t size) {
    const std::size_t whole = wholePages(size);
    for (std::uintptr_t hint = 0x20000000; hint < 0xF0000000; hint += 0x100000) {
        void *const address = mmap(reinterpret_cast<void *>(hint), whole + page,
                                   PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (address != MAP_FAILED &&
            reinterpret_cast<std::uintptr_t>(address) + whole + page <= UINT32_MAX) {
            mprotect(static_cast<char *>(address) + whole, page, PROT_NONE);
            return address;
        }
        munmap(address, whole + page);
    }
    return nullptr;
}

// Takes memory that is held with just this size out of what is held.
bool takeOut(std::map<void *, std::size_t> &held, void *memory, std::size_t size) {
    const auto found = held.find(memory);
    if (found == held.end() || found->second != size) {
        return false;
    }
    held.erase(found);
    return true;
}

// What the board's driver makes of a command. Nobody waits for the loudspeaker unless it is paced.
int askDriver(BoardDevice &driver, BoardFile &file, std::uint32_t command, void *record) {
    const Guard guard(state().time.lock);
    const int result = state().devices.command(driver, file, command, record);
    if (state().registers->pace == paceAsTheyCome) {
        for (AoChannelRegisters &channel : state().registers->ao.channels) {
            channel.played = channel.queued.load();
        }
    }
    return result;
}

int askDriver(const char *path, std::uint32_t command, void *record) {
    BoardFile file = {};
    return askDriver(*state().devices.find(path), file, command, record);
}

template <typename... Part>
void renew(Part &...parts) {
    (std::construct_at(&parts), ...);
}

} // namespace

ScriptedDevice &device() {
    static ScriptedDevice instance;
    return instance;
}

void ScriptedDevice::reset() {
    {
        const Guard guard(state().mutex);
        state().scripts.clear();
        state().calls.clear();
        state().chosen.clear();
    }
    failingCommand = 0;
    failingMemory = 0;
    keepsCalls = true;
    maps.clear();
    askDriver("/dev/vb", driverCommand::vbExit, nullptr); // gives its pools' blocks back
    const Guard guard(state().time.lock);
    renew(board().sys, board().vb, board().acodec, board().log, board().ao);
    board().sys.hasConfig = 1;
    board().pace = paceAsTheyCome;
}

BoardRegisters &ScriptedDevice::board() const {
    return *state().registers;
}

void ScriptedDevice::script(std::uint32_t command, Answer answer, Watcher watcher) {
    const Guard guard(state().mutex);
    state().scripts[command] =
        std::make_shared<Script>(Script{std::move(answer), std::move(watcher)});
}

void ScriptedDevice::leaveToDriver(std::uint32_t command) {
    const Guard guard(state().mutex);
    state().scripts.erase(command);
}

void ScriptedDevice::openAs(const std::string &path, int fd) {
    const Guard guard(state().mutex);
    state().chosen[path] = fd;
}

std::vector<DeviceCall> ScriptedDevice::calls() const {
    const Guard guard(state().mutex);
    return state().calls;
}

std::vector<std::uint32_t> ScriptedDevice::commands() const {
    std::vector<std::uint32_t> commands;
    for (const DeviceCall &call : calls()) {
        commands.push_back(call.command);
    }
    return commands;
}

std::vector<DeviceCall> ScriptedDevice::callsOf(std::uint32_t command) const {
    std::vector<DeviceCall> found = calls();
    std::erase_if(found, [command](const DeviceCall &call) { return call.command != command; });
    return found;
}

void ScriptedDevice::clearCalls() {
    const Guard guard(state().mutex);
    state().calls.clear();
}

int ScriptedDevice::flagsOf(const std::string &path) const {
    const Guard guard(state().mutex);
    return state().flags[path];
}

ScriptedDevice::Held ScriptedDevice::held() const {
    const Guard guard(state().mutex);
    const auto blocks =
        std::count_if(std::begin(board().zones.blocks), std::end(board().zones.blocks),
                      [](const auto &block) { return block.owner != 0; });
    return {state().descriptors.size(), state().memory.size(), static_cast<std::size_t>(blocks),
            state().mappings.size()};
}

void ScriptedDevice::takeBlocksBack() {
    for (const ZoneBlockRegisters &block : board().zones.blocks) {
        std::uint32_t record[19] = {block.phys};
        if (block.owner != 0) {
            askDriver("/dev/mmz_userdev", driverCommand::mmzUnmap, record);
            askDriver("/dev/mmz_userdev", driverCommand::mmzFree, record);
        }
    }
}

int Device_Open(const char *path, int flags) {
    const Guard guard(state().mutex);
    const auto chosen = state().chosen.find(path);
    const int fd = chosen != state().chosen.end() ? chosen->second : state().nextFd++;
    BoardDevice *const driver = state().devices.find(path);
    if (fd < 0 || driver == nullptr) {
        errno = ENOENT;
        return -1;
    }
    state().flags[path] = flags;
    state().descriptors[fd] = {driver, {UINT32_MAX}};
    return fd;
}

int Device_Ioctl(int fd, std::uint32_t command, void *record) {
    std::shared_ptr<Script> script;
    Open *open = nullptr;
    {
        const Guard guard(state().mutex);
        const auto found = state().descriptors.find(fd);
        if (found == state().descriptors.end()) {
            std::abort(); // not open, or closed before
        }
        open = &found->second;
        if (device().keepsCalls) {
            const std::size_t size = record != nullptr ? command >> 16 & 0x3FFF : 0;
            const auto *const bytes = static_cast<const unsigned char *>(record);
            state().calls.push_back({command, std::vector(bytes, bytes + size)});
        }
        if (isDue(device().failingCommand)) {
            return -1;
        }
        const auto scripted = state().scripts.find(command);
        script = scripted != state().scripts.end() ? scripted->second : nullptr;
    }
    if (script && script->answer) {
        return script->answer(record);
    }
    const int result = askDriver(*open->device, open->file, command, record);
    if (script && result == 0) {
        script->watcher(record);
    }
    return result;
}

void *Device_Mmap(int fd, std::size_t length, std::uint64_t offset) {
    const Guard guard(state().mutex);
    device().maps.emplace_back(length, offset);
    if (isDue(device().failingMemory)) {
        errno = ENOMEM;
        return nullptr;
    }
    Open &open = state().descriptors.at(fd);
    void *const address = open.device->map(open.file, length, offset);
    if (address != nullptr) {
        state().mappings[address] = length;
    }
    return address;
}

int Device_Munmap(void *address, std::size_t length) {
    const Guard guard(state().mutex);
    if (!takeOut(state().mappings, address, length)) {
        errno = EINVAL;
        return -1;
    }
    boardUnmapMemory(address, length);
    return 0;
}

ssize_t Device_Read(int fd, void *buffer, std::size_t size) {
    const Guard guard(state().time.lock);
    Open &open = state().descriptors.at(fd);
    return open.device->read(open.file, buffer, size);
}

int Device_Close(int fd) {
    const Guard guard(state().mutex);
    if (state().descriptors.erase(fd) == 0) {
        errno = EBADF;
        return -1;
    }
    return 0;
}

void *Device_AllocVisible(std::size_t size) {
    const Guard guard(state().mutex);
    if (isDue(device().failingMemory)) {
        return nullptr;
    }
    void *const memory = lowMemory(size);
    state().memory[memory] = size;
    return memory;
}

void Device_FreeVisible(void *memory, std::size_t size) {
    const Guard guard(state().mutex);
    if (memory == nullptr) {
        return;
    }
    if (!takeOut(state().memory, memory, size)) {
        std::abort(); // freed twice, or with another size
    }
    munmap(memory, wholePages(size) + page);
}
