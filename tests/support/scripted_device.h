// The drivers' side of the device door, for tests: the virtual camera's board, whose answers can be
// scripted, with a record of what reaches it.
#pragma once

#include "tests/support/driver_commands.h"
#include "vcam/board/registers.h"

#include <algorithm>
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
    using Watcher = std::function<void(const void *record)>;

    // Forgets everything: a board whose video side is up, on which nobody waits and every period is
    // played at once. Descriptors that are still open and blocks that are held stay valid.
    void reset();

    // What the board's drivers keep. With paceRealTime periods stay in the queue.
    BoardRegisters &board() const;

    // Answers a command in the driver's place by a function (of the record, which may be changed),
    // by a plain result, or by words that the record's first ones become.
    void answer(std::uint32_t command, Answer answer) { script(command, std::move(answer), {}); }
    void answer(std::uint32_t command, int result) {
        answer(command, [result](void *) { return result; });
    }
    void answerWords(std::uint32_t command, const std::vector<std::uint32_t> &words) {
        answer(command, [words](void *record) {
            std::copy(words.begin(), words.end(), static_cast<std::uint32_t *>(record));
            return 0;
        });
    }

    // Leaves a command to its driver; a watcher sees the records of those that succeed.
    void leaveToDriver(std::uint32_t command);
    void watch(std::uint32_t command, Watcher watcher) { script(command, {}, std::move(watcher)); }

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
    std::vector<std::pair<std::size_t, std::uint64_t>> maps; // length and offset

private:
    void script(std::uint32_t command, Answer answer, Watcher watcher);
    std::vector<DeviceCall> calls() const;
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
