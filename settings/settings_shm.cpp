#include "settings/settings_shm.h"

#include "settings/settings_lookup.h"
#include "settings/settings_request.h"
#include "settings/settings_tree.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr char keyPath[] = "/usr/sbin/tessel";
constexpr int keyProject = 'c';

// The lock of the snapshot, held by this process. SEM_UNDO lets the kernel give it back if the
// process dies.
class SnapshotLock {
public:
    explicit SnapshotLock(int semaphores) : semaphores_(semaphores) {}
    SnapshotLock(const SnapshotLock &) = delete;
    SnapshotLock &operator=(const SnapshotLock &) = delete;
    ~SnapshotLock() {
        if (held_) {
            operate(1);
        }
    }

    // Waits for as long as another process holds the lock. False: reported.
    bool take() {
        held_ = operate(-1);
        if (!held_) {
            std::perror("semop");
        }
        return held_;
    }

    // False: reported, and tried once more when the lock goes: held on to, it would keep the
    // settings daemon and this process's next reading waiting for ever.
    bool giveBack() {
        held_ = !operate(1);
        if (held_) {
            std::perror("semop");
        }
        return !held_;
    }

private:
    bool operate(short amount) const {
        sembuf operation = {0, amount, SEM_UNDO};
        return semop(semaphores_, &operation, 1) == 0;
    }

    int semaphores_;
    bool held_ = false;
};

// The snapshot's segment, attached to this process.
class SnapshotSegment {
public:
    explicit SnapshotSegment(key_t key) : id_(shmget(key, 0, 0)) {
        errno = 0;
        address_ = shmat(id_, nullptr, 0);
    }
    SnapshotSegment(const SnapshotSegment &) = delete;
    SnapshotSegment &operator=(const SnapshotSegment &) = delete;
    ~SnapshotSegment() { detach(); }

    bool isAttached() const { return address_ != failed(); }
    const void *address() const { return address_; }

    std::size_t size() const {
        shmid_ds status = {};
        return shmctl(id_, IPC_STAT, &status) == 0 ? status.shm_segsz : 0;
    }

    void detach() {
        if (isAttached()) {
            shmdt(address_);
            address_ = failed();
        }
    }

private:
    static void *failed() { return reinterpret_cast<void *>(-1); }

    int id_;
    void *address_ = nullptr;
};

std::int32_t fetch(const char *key, char *buffer, std::uint32_t room) {
    SETTINGS_REQUEST request = {};
    request.kind = SETTINGS_KIND_GET;
    std::strcpy(request.method, "Value");
    request.body = key;
    request.number1 = 99;
    return settings_request(&request, buffer, room);
}

} // namespace

std::int32_t settings_shm_get(const char *key, char *buffer, std::uint32_t room) {
    const key_t ipcKey = ftok(keyPath, keyProject);
    if (ipcKey == -1) {
        std::perror("ftok");
        return -1;
    }
    const int semaphores = semget(ipcKey, 1, 0);
    if (semaphores == -1) {
        std::perror("semget");
        return -1;
    }
    SnapshotLock lock(semaphores);
    if (!lock.take()) {
        return -1;
    }
    SnapshotSegment segment(ipcKey);
    if (!segment.isAttached()) {
        std::printf("shmat attach faile. errno = %d %s\n", errno, std::strerror(errno));
        return -1;
    }
    const SettingsLookup result =
        settingsLookUp(SettingsTree(segment.address(), segment.size()), key, buffer, room);
    if (result == SettingsLookup::failed) {
        return -1;
    }
    if (result == SettingsLookup::onDemand) {
        segment.detach();
        return lock.giveBack() ? fetch(key, buffer, room) : -1;
    }
    return lock.giveBack() && result == SettingsLookup::found ? 0 : -1;
}
