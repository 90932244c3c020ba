#include "tests/support/scripted_device.h"

#include "mpp/device/device.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>

namespace {

// Commands that the plain driver answers by itself, written out here so that a slip in the
// library's own table shows.
constexpr std::uint32_t setPubAttr = 0x40245801;
constexpr std::uint32_t getPubAttr = 0x80245802;
constexpr std::uint32_t getReady = 0x8004581B;
constexpr std::uint32_t allocBlock = 0xC04C6D0A;
constexpr std::uint32_t freeBlockCommand = 0x404C6D0C;
constexpr std::uint32_t mapBlockCommand = 0xC04C6D14;

constexpr std::size_t zoneBlockSize = 65536;

std::size_t recordSize(std::uint32_t command) {
    return command >> 16 & 0x3FFF;
}

std::uint32_t wordOf(const void *record, std::size_t offset) {
    std::uint32_t word = 0;
    std::memcpy(&word, static_cast<const char *>(record) + offset, sizeof word);
    return word;
}

void putWord(void *record, std::size_t offset, std::uint32_t word) {
    std::memcpy(static_cast<char *>(record) + offset, &word, sizeof word);
}

// Counts down to a failure. True when it is due.
bool isDue(int &countdown) {
    return countdown > 0 && --countdown == 0;
}

} // namespace

ScriptedDevice &ScriptedDevice::instance() {
    static ScriptedDevice device;
    return device;
}

void ScriptedDevice::reset() {
    const std::lock_guard guard(mutex_);
    answers_.clear();
    calls_.clear();
    failing_.clear();
    chosen_.clear();
    maps.clear();
    readText.clear();
    records_ = true;
    attributes_.assign(36, 0);
    commandsToFailure_ = 0;
    memoryToFailure_ = 0;
    answerAsDriver();
}

void ScriptedDevice::answerAsDriver() {
    answers_[setPubAttr] = [this](void *record) {
        const std::lock_guard attributesGuard(mutex_);
        std::memcpy(attributes_.data(), record, attributes_.size());
        return 0;
    };
    answers_[getPubAttr] = [this](void *record) {
        const std::lock_guard attributesGuard(mutex_);
        std::memcpy(record, attributes_.data(), attributes_.size());
        return 0;
    };
    answers_[getReady] = [](void *record) {
        putWord(record, 0, 1);
        return 0;
    };
    answers_[allocBlock] = [this](void *record) { return allocateBlock(record); };
    answers_[mapBlockCommand] = [this](void *record) { return mapBlock(record); };
    answers_[freeBlockCommand] = [this](void *record) { return freeBlock(record); };
}

int ScriptedDevice::allocateBlock(void *record) {
    const std::lock_guard guard(mutex_);
    const std::uint32_t phys = nextPhys_;
    nextPhys_ += zoneBlockSize;
    blocks_[phys] = lowMemory(zoneBlockSize);
    putWord(record, 0, phys);
    return 0;
}

int ScriptedDevice::mapBlock(void *record) {
    const std::lock_guard guard(mutex_);
    const auto found = blocks_.find(wordOf(record, 0));
    if (found == blocks_.end()) {
        return -1;
    }
    putWord(record, 16,
            static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(found->second)));
    return 0;
}

int ScriptedDevice::freeBlock(const void *record) {
    const std::lock_guard guard(mutex_);
    const auto found = blocks_.find(wordOf(record, 0));
    if (found == blocks_.end()) {
        return -1;
    }
    freeLowMemory(found->second, zoneBlockSize);
    blocks_.erase(found);
    return 0;
}

void ScriptedDevice::answer(std::uint32_t command, Answer function) {
    const std::lock_guard guard(mutex_);
    answers_[command] = std::move(function);
}

void ScriptedDevice::answer(std::uint32_t command, int result) {
    answer(command, [result](void *) { return result; });
}

void ScriptedDevice::failOpen(const std::string &path, bool fails) {
    const std::lock_guard guard(mutex_);
    if (fails) {
        failing_.insert(path);
    } else {
        failing_.erase(path);
    }
}

void ScriptedDevice::openAs(const std::string &path, int fd) {
    const std::lock_guard guard(mutex_);
    chosen_[path] = fd;
}

void ScriptedDevice::failCommand(int n) {
    const std::lock_guard guard(mutex_);
    commandsToFailure_ = n;
}

void ScriptedDevice::failMemory(int n) {
    const std::lock_guard guard(mutex_);
    memoryToFailure_ = n;
}

std::vector<DeviceCall> ScriptedDevice::calls() const {
    const std::lock_guard guard(mutex_);
    return calls_;
}

std::vector<DeviceCall> ScriptedDevice::callsOf(std::uint32_t command) const {
    const std::lock_guard guard(mutex_);
    std::vector<DeviceCall> found;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                 [command](const DeviceCall &call) { return call.command == command; });
    return found;
}

std::vector<std::uint32_t> ScriptedDevice::commands() const {
    const std::lock_guard guard(mutex_);
    std::vector<std::uint32_t> commands;
    for (const DeviceCall &call : calls_) {
        commands.push_back(call.command);
    }
    return commands;
}

void ScriptedDevice::record(bool on) {
    const std::lock_guard guard(mutex_);
    records_ = on;
}

void ScriptedDevice::clearCalls() {
    const std::lock_guard guard(mutex_);
    calls_.clear();
}

int ScriptedDevice::openCount(const std::string &path) const {
    const std::lock_guard guard(mutex_);
    const auto found = opens_.find(path);
    return found != opens_.end() ? found->second : 0;
}

int ScriptedDevice::openFlags(const std::string &path) const {
    const std::lock_guard guard(mutex_);
    return flags_.at(path);
}

std::size_t ScriptedDevice::openDescriptors() const {
    const std::lock_guard guard(mutex_);
    return descriptors_.size();
}

std::size_t ScriptedDevice::memoryHeld() const {
    const std::lock_guard guard(mutex_);
    return memory_.size();
}

std::size_t ScriptedDevice::blocksHeld() const {
    const std::lock_guard guard(mutex_);
    return blocks_.size();
}

void ScriptedDevice::takeBlocksBack() {
    const std::lock_guard guard(mutex_);
    for (const auto &[phys, memory] : blocks_) {
        freeLowMemory(memory, zoneBlockSize);
    }
    blocks_.clear();
}

std::size_t ScriptedDevice::mappingsHeld() const {
    const std::lock_guard guard(mutex_);
    return mappings_.size();
}

int ScriptedDevice::open(const char *path, int flags) {
    const std::lock_guard guard(mutex_);
    if (failing_.contains(path)) {
        errno = ENOENT;
        return -1;
    }
    ++opens_[path];
    flags_[path] = flags;
    const auto chosen = chosen_.find(path);
    const int fd = chosen != chosen_.end() ? chosen->second : nextFd_++;
    descriptors_[fd] = path;
    return fd;
}

int ScriptedDevice::command(int fd, std::uint32_t command, void *record) {
    Answer answer;
    {
        const std::lock_guard guard(mutex_);
        if (records_) {
            const auto *const bytes = static_cast<const unsigned char *>(record);
            calls_.push_back({descriptors_.at(fd), command,
                              record != nullptr ? std::vector(bytes, bytes + recordSize(command))
                                                : std::vector<unsigned char>()});
        }
        if (isDue(commandsToFailure_)) {
            return -1;
        }
        const auto found = answers_.find(command);
        if (found == answers_.end()) {
            return 0;
        }
        answer = found->second;
    }
    return answer(record);
}

void *ScriptedDevice::map(int /*fd*/, std::size_t length, std::uint64_t offset) {
    const std::lock_guard guard(mutex_);
    maps.emplace_back(length, offset);
    if (isDue(memoryToFailure_)) {
        errno = ENOMEM;
        return nullptr;
    }
    void *const address = lowMemory(length);
    mappings_[address] = length;
    return address;
}

int ScriptedDevice::unmap(void *address, std::size_t length) {
    const std::lock_guard guard(mutex_);
    const auto found = mappings_.find(address);
    if (found == mappings_.end() || found->second != length) {
        errno = EINVAL;
        return -1;
    }
    freeLowMemory(address, length);
    mappings_.erase(found);
    return 0;
}

long ScriptedDevice::read(int /*fd*/, void *buffer, std::size_t size) {
    const std::lock_guard guard(mutex_);
    const std::size_t count = std::min(size, readText.size());
    std::memcpy(buffer, readText.data(), count);
    readText.erase(0, count);
    return static_cast<long>(count);
}

int ScriptedDevice::close(int fd) {
    const std::lock_guard guard(mutex_);
    if (descriptors_.erase(fd) == 0) {
        errno = EBADF;
        return -1;
    }
    return 0;
}

void *ScriptedDevice::allocate(std::size_t size) {
    const std::lock_guard guard(mutex_);
    if (isDue(memoryToFailure_)) {
        return nullptr;
    }
    void *const memory = lowMemory(size);
    memory_[memory] = size;
    return memory;
}

void ScriptedDevice::free(void *memory, std::size_t size) {
    const std::lock_guard guard(mutex_);
    if (memory == nullptr) {
        return;
    }
    const auto found = memory_.find(memory);
    if (found == memory_.end() || found->second != size) {
        std::abort(); // freed twice, or with another size
    }
    freeLowMemory(memory, size);
    memory_.erase(found);
}

void *lowMemory(std::size_t size) {
    // With an unmapped page behind it, so that no byte past the end goes unnoticed.
    constexpr std::size_t page = 4096;
    const std::size_t whole = (size + page - 1) / page * page;
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
    constexpr std::size_t page = 4096;
    munmap(memory, (size + page - 1) / page * page + page);
}

int Device_Open(const char *path, int flags) {
    return device().open(path, flags);
}

int Device_Ioctl(int fd, std::uint32_t command, void *record) {
    return device().command(fd, command, record);
}

void *Device_Mmap(int fd, std::size_t length, std::uint64_t offset) {
    return device().map(fd, length, offset);
}

int Device_Munmap(void *address, std::size_t length) {
    return device().unmap(address, length);
}

ssize_t Device_Read(int fd, void *buffer, std::size_t size) {
    return device().read(fd, buffer, size);
}

int Device_Close(int fd) {
    return device().close(fd);
}

void *Device_AllocVisible(std::size_t size) {
    return device().allocate(size);
}

void Device_FreeVisible(void *memory, std::size_t size) {
    device().free(memory, size);
}
