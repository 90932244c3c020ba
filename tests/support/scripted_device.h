// The driver's side of the device door, for tests: answers every command as told, records it, and
// can fail the n-th call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

// A call that reached the door.
struct DeviceCall {
    std::string path;
    std::uint32_t command;
    std::vector<unsigned char> record; // as it was handed over

    template <typename Record>
    Record as() const {
        Record value = {};
        std::memcpy(&value, record.data(), std::min(sizeof value, record.size()));
        return value;
    }
};

class ScriptedDevice {
public:
    using Answer = std::function<int(void *record)>;

    // The device that the door leads to.
    static ScriptedDevice &instance();

    // Forgets everything: a driver that says 0 to all commands, keeps attributes, is ready, and
    // hands out memory. Descriptors that are still open stay valid.
    void reset();

    // Answers a command by a function (of the record, which may be changed) or a plain result.
    void answer(std::uint32_t command, Answer answer);
    void answer(std::uint32_t command, int result);

    // Lets the open of a path fail, or yield a descriptor of one's choice.
    void failOpen(const std::string &path, bool fails = true);
    void openAs(const std::string &path, int fd);

    // Lets the n-th command from now on (1: the next one) fail with -1; 0: none.
    void failCommand(int n);
    // Lets the n-th memory request from now on fail; 0: none.
    void failMemory(int n);

    std::vector<DeviceCall> calls() const;
    std::vector<DeviceCall> callsOf(std::uint32_t command) const;
    std::vector<std::uint32_t> commands() const;
    void clearCalls();
    void record(bool on); // off: calls are answered but not kept

    int openCount(const std::string &path) const; // opens so far
    int openFlags(const std::string &path) const; // of the last open
    std::size_t openDescriptors() const;
    std::size_t memoryHeld() const;   // blocks of Device_AllocVisible
    std::size_t blocksHeld() const;   // blocks of the memory zones
    std::size_t mappingsHeld() const; // mappings of physical memory
    void takeBlocksBack();            // as the kernel does when a process ends

    std::string readText;                                    // what Device_Read hands out
    std::vector<std::pair<std::size_t, std::uint64_t>> maps; // length and offset

    // The door.
    int open(const char *path, int flags);
    int command(int fd, std::uint32_t command, void *record);
    void *map(int fd, std::size_t length, std::uint64_t offset);
    int unmap(void *address, std::size_t length);
    long read(int fd, void *buffer, std::size_t size);
    int close(int fd);
    void *allocate(std::size_t size);
    void free(void *memory, std::size_t size);

private:
    ScriptedDevice() { reset(); }
    void answerAsDriver();
    int allocateBlock(void *record);
    int mapBlock(void *record);
    int freeBlock(const void *record);

    mutable std::recursive_mutex mutex_;
    std::map<std::uint32_t, Answer> answers_;
    std::vector<DeviceCall> calls_;
    std::map<int, std::string> descriptors_;
    std::map<std::string, int> opens_;
    std::map<std::string, int> flags_;
    std::map<std::string, int> chosen_;
    std::set<std::string> failing_;
    std::map<std::uint32_t, void *> blocks_;
    std::map<void *, std::size_t> memory_;
    std::map<void *, std::size_t> mappings_;
    bool records_ = true;
    int nextFd_ = 100;
    std::uint32_t nextPhys_ = 0x80000000;
    int commandsToFailure_ = 0;
    int memoryToFailure_ = 0;
    std::vector<unsigned char> attributes_;
};

// Shorthand for the tests.
inline ScriptedDevice &device() {
    return ScriptedDevice::instance();
}

// Memory below 4 GiB, as drivers hand it out.
void *lowMemory(std::size_t size);
void freeLowMemory(void *memory, std::size_t size);
