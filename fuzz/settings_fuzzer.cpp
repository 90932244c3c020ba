// Settings segments of any bytes: what is found in one lies within it, is still found when it lies
// in larger shared memory, and neither the lock nor the segment is held after a lookup.
#include "settings/settings_lookup.h"
#include "settings/settings_shm.h"

#include "fuzz/fuzz.h"
#include "tests/support/redirect.h"
#include "vcam/tessel/snapshot.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cstring>
#include <vector>

namespace {

constexpr std::size_t segmentSize = 65536;

// A settings daemon's snapshot whose bytes are anybody's.
struct Shared {
    ~Shared() { shmdt(address); }

    TemporaryDirectory dir;
    RedirectedPaths paths{dir.path()};
    Snapshot snapshot{dir.path() / "usr/sbin/tessel"};
    key_t key = ftok("/usr/sbin/tessel", 'c');
    void *address = shmat(shmget(key, 0, 0), nullptr, 0);
};

} // namespace

void fuzz(Input input) {
    static const Shared shared;
    const std::uint32_t room = input.below(16);
    const std::string key = input.text(input.below(64));
    const std::string bytes = input.text(segmentSize);
    const std::vector<char> exact(bytes.begin(), bytes.end());
    std::string value(room, '#');
    const SettingsLookup result =
        settingsLookUp(SettingsTree(exact.data(), exact.size()), key.c_str(), value.data(), room);
    const bool isFound = result == SettingsLookup::found;
    require(!isFound || bytes.find(value.c_str()) != std::string::npos, "the value is there");
    std::memset(shared.address, 0, segmentSize);
    std::memcpy(shared.address, bytes.data(), bytes.size());
    std::string again(room + 8, '#');
    const std::int32_t got = settings_shm_get(key.c_str(), again.data(), room);
    require(!isFound || (got == 0 && again == value + "########"), "larger memory holds it too");
    require(isFound || result == SettingsLookup::failed || got != 0, "what is not there stays so");
    require(again.substr(room) == "########", "nothing is written past the room");
    shmid_ds status = {};
    shmctl(shmget(shared.key, 0, 0), IPC_STAT, &status);
    require(status.shm_nattch == 2 && semctl(semget(shared.key, 1, 0), 0, GETVAL) == 1,
            "lock and segment are let go");
}
