#include "tests/support/scripted_device.h"

#include "mpp/device/device.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <set>

namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr std::size_t page = 4096;
constexpr std::size_t zoneBlockSize = 65536;

struct State {
    std::mutex mutex;
    // Shared, so that taking one to call it allocates nothing.
    std::map<std::uint32_t, std::shared_ptr<ScriptedDevice::Answer>> answers;
    std::vector<DeviceCall> calls;
    std::set<int> descriptors;
    std::map<std::string, int> flags;
    std::map<std::string, int> chosen;
    std::map<std::uint32_t, void *> blocks;
    std::map<void *, std::size_t> memory;
    std::map<void *, std::size_t> mappings;
    std::vector<unsigned char> attributes;
    int nextFd = 100;
    std::uint32_t nextPhys = 0x80000000;
};

State &state() {
    static State instance;
    return instance;
}

// Counts down to a failure. True when it is due.
bool isDue(int &countdown) {
    return countdown > 0 && --countdown == 0;
}

// Memory below 4 GiB, with an unmapped page behind it, so that no byte past the end goes unnoticed.
std::size_t wholePages(std::size_t size) {
    return (size + page - 1) / page * page;
}

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

void freeLowMemory(void *memory, std::size_t size) {
    munmap(memory, wholePages(size) + page);
}

// Gives memory back that is held with just this size.
bool giveBack(std::map<void *, std::size_t> &held, void *memory, std::size_t size) {
    const auto found = held.find(memory);
    if (found == held.end() || found->second != size) {
        return false;
    }
    freeLowMemory(memory, size);
    held.erase(found);
    return true;
}

int allocateBlock(void *record) {
    const Guard guard(state().mutex);
    const std::uint32_t phys = state().nextPhys;
    state().nextPhys += zoneBlockSize;
    state().blocks[phys] = lowMemory(zoneBlockSize);
    std::memcpy(record, &phys, sizeof phys);
    return 0;
}

// Maps or frees the block that a record names by its first word.
int withBlock(void *record, bool isFreed) {
    const Guard guard(state().mutex);
    std::uint32_t phys = 0;
    std::memcpy(&phys, record, sizeof phys);
    const auto found = state().blocks.find(phys);
    if (found == state().blocks.end()) {
        return -1;
    }
    const auto address =
        static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(found->second));
    if (isFreed) {
        freeLowMemory(found->second, zoneBlockSize);
        state().blocks.erase(found);
    } else {
        std::memcpy(static_cast<char *>(record) + 16, &address, sizeof address);
    }
    return 0;
}

} // namespace

ScriptedDevice &device() {
    static ScriptedDevice instance;
    return instance;
}

// The commands are written out, so that a slip in the library's own table shows.
void ScriptedDevice::reset() {
    {
        const Guard guard(state().mutex);
        state().answers.clear();
        state().calls.clear();
        state().chosen.clear();
        state().attributes.assign(36, 0);
    }
    failingCommand = 0;
    failingMemory = 0;
    keepsCalls = true;
    maps.clear();
    readText.clear();
    answer(0x40245801, [](void *record) { // set, get the attributes
        const Guard guard(state().mutex);
        std::memcpy(state().attributes.data(), record, state().attributes.size());
        return 0;
    });
    answer(0x80245802, [](void *record) {
        const Guard guard(state().mutex);
        std::memcpy(record, state().attributes.data(), state().attributes.size());
        return 0;
    });
    answerWords(0x8004581B, {1}); // the channel is ready
    answer(0xC04C6D0A, allocateBlock);
    answer(0xC04C6D14, [](void *record) { return withBlock(record, false); });
    answer(0x404C6D0C, [](void *record) { return withBlock(record, true); });
}

void ScriptedDevice::answer(std::uint32_t command, Answer function) {
    const Guard guard(state().mutex);
    state().answers[command] = std::make_shared<Answer>(std::move(function));
}

void ScriptedDevice::answer(std::uint32_t command, int result) {
    answerWords(command, {}, result);
}

void ScriptedDevice::answerWords(std::uint32_t command, std::vector<std::uint32_t> words,
                                 int result) {
    answer(command, [words = std::move(words), result](void *record) {
        std::copy(words.begin(), words.end(), static_cast<std::uint32_t *>(record));
        return result;
    });
}

void ScriptedDevice::openAs(const std::string &path, int fd) {
    const Guard guard(state().mutex);
    state().chosen[path] = fd;
}

std::vector<std::uint32_t> ScriptedDevice::commands() const {
    const Guard guard(state().mutex);
    std::vector<std::uint32_t> commands;
    for (const DeviceCall &call : state().calls) {
        commands.push_back(call.command);
    }
    return commands;
}

std::vector<DeviceCall> ScriptedDevice::callsOf(std::uint32_t command) const {
    const Guard guard(state().mutex);
    std::vector<DeviceCall> found;
    std::copy_if(state().calls.begin(), state().calls.end(), std::back_inserter(found),
                 [command](const DeviceCall &call) { return call.command == command; });
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
    return {state().descriptors.size(), state().memory.size(), state().blocks.size(),
            state().mappings.size()};
}

void ScriptedDevice::takeBlocksBack() {
    const Guard guard(state().mutex);
    for (const auto &[phys, memory] : state().blocks) {
        freeLowMemory(memory, zoneBlockSize);
    }
    state().blocks.clear();
}

int Device_Open(const char *path, int flags) {
    const Guard guard(state().mutex);
    const auto chosen = state().chosen.find(path);
    const int fd = chosen != state().chosen.end() ? chosen->second : state().nextFd++;
    if (fd < 0) {
        errno = ENOENT;
        return -1;
    }
    state().flags[path] = flags;
    state().descriptors.insert(fd);
    return fd;
}

int Device_Ioctl(int fd, std::uint32_t command, void *record) {
    std::shared_ptr<ScriptedDevice::Answer> answer;
    {
        const Guard guard(state().mutex);
        if (!state().descriptors.contains(fd)) {
            std::abort(); // not open, or closed before
        }
        if (device().keepsCalls) {
            const std::size_t size = record != nullptr ? command >> 16 & 0x3FFF : 0;
            const auto *const bytes = static_cast<const unsigned char *>(record);
            state().calls.push_back({command, std::vector(bytes, bytes + size)});
        }
        if (isDue(device().failingCommand)) {
            return -1;
        }
        const auto found = state().answers.find(command);
        if (found == state().answers.end()) {
            return 0;
        }
        answer = found->second;
    }
    return (*answer)(record);
}

void *Device_Mmap(int /*fd*/, std::size_t length, std::uint64_t offset) {
    const Guard guard(state().mutex);
    device().maps.emplace_back(length, offset);
    if (isDue(device().failingMemory)) {
        errno = ENOMEM;
        return nullptr;
    }
    void *const address = lowMemory(length);
    state().mappings[address] = length;
    return address;
}

int Device_Munmap(void *address, std::size_t length) {
    const Guard guard(state().mutex);
    if (!giveBack(state().mappings, address, length)) {
        errno = EINVAL;
        return -1;
    }
    return 0;
}

ssize_t Device_Read(int /*fd*/, void *buffer, std::size_t size) {
    const std::size_t count = device().readText.copy(static_cast<char *>(buffer), size);
    device().readText.erase(0, count);
    return static_cast<ssize_t>(count);
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
    if (memory != nullptr && !giveBack(state().memory, memory, size)) {
        std::abort(); // freed twice, or with another size
    }
}
