// The driver's side of the device door, for tests: answers every command as told, records it, and
// can fail the n-th call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// A command that reached the door.
struct DeviceCall {
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

    // Forgets everything: a driver that says 0 to all commands, keeps attributes, is ready, and
    // hands out memory. Descriptors that are still open stay valid.
    void reset();

    // Answers a command by a function (of the record, which may be changed), by a plain result, or
    // by words that the record's first ones become.
    void answer(std::uint32_t command, Answer answer);
    void answer(std::uint32_t command, int result);
    void answerWords(std::uint32_t command, std::vector<std::uint32_t> words, int result = 0);

    // Lets the open of a path yield a descriptor of one's choice; -1: it fails.
    void openAs(const std::string &path, int fd);

    std::vector<std::uint32_t> commands() const;
    std::vector<DeviceCall> callsOf(std::uint32_t command) const;
    void clearCalls();

    // The n-th record of a command.
    template <typename Record = std::uint32_t>
    Record sent(std::uint32_t command, std::size_t n = 0) const {
        return callsOf(command).at(n).as<Record>();
    }

    // The flags of a path's last open.
    int flagsOf(const std::string &path) const;

    // What the library has not given back: descriptors, blocks of Device_AllocVisible, blocks of
    // the memory zones, mappings of physical memory.
    struct Held {
        std::size_t descriptors;
        std::size_t memory;
        std::size_t blocks;
        std::size_t mappings;
    };
    Held held() const;
    void takeBlocksBack(); // as the kernel does when a process ends

    // The n-th command (1: the next one) or memory request from now on that fails; 0: none.
    int failingCommand = 0;
    int failingMemory = 0;
    bool keepsCalls = true;                                  // else they are just answered
    std::string readText;                                    // what Device_Read hands out
    std::vector<std::pair<std::size_t, std::uint64_t>> maps; // length and offset
};

// The device that the door leads to.
ScriptedDevice &device();

// The samples that a send command's record points at: sub-channel k of a period.
template <typename Sample = unsigned char>
std::vector<Sample> periodOf(const void *record, std::uint32_t k) {
    std::uint32_t words[30];
    std::memcpy(words, record, sizeof words);
    const auto *const samples =
        reinterpret_cast<const Sample *>(static_cast<std::uintptr_t>(words[2 + k]));
    return {samples, samples + words[9] / sizeof(Sample)};
}
