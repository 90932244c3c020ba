#include "settings/settings_shm.h"

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

constexpr char valueName[] = "value";
constexpr char aliasName[] = "aliasxpath";
constexpr char fetchName[] = "getonce";

template <std::size_t Size>
constexpr std::size_t lengthOf(const char (&)[Size]) {
    return Size - 1;
}

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

    // False: reported.
    bool giveBack() {
        held_ = false;
        if (!operate(1)) {
            std::perror("semop");
            return false;
        }
        return true;
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

// The value node of the setting that the key names, across its aliases.
bool findValue(SettingsTree &tree, const char *key, SettingsNode *value) {
    SettingsNode setting = {};
    if (!tree.find(key, &setting)) {
        return false;
    }
    StoredPointer next = setting.child;
    int aliases = 0;
    while (tree.load(next, value)) {
        if (tree.isNamed(*value, valueName, lengthOf(valueName))) {
            return true;
        }
        next = value->sibling;
        if (tree.isNamed(*value, aliasName, lengthOf(aliasName))) {
            char target[SettingsTree::keyLimit + 1];
            std::size_t length = 0;
            if (++aliases > SettingsTree::aliasLimit ||
                !tree.copyText(value->text, target, sizeof target, &length) ||
                length == sizeof target || !tree.find(target, &setting)) {
                return false;
            }
            next = setting.child;
        }
    }
    return false;
}

// Whether the value is marked as to be fetched from the daemon: by a node beside it.
bool isFetchedOnDemand(SettingsTree &tree, const SettingsNode &value) {
    SettingsNode node = {};
    const StoredPointer first = tree.load(value.parent, &node) ? node.child : value.self;
    return tree.findSibling(first, fetchName, lengthOf(fetchName), &node);
}

enum class Lookup { found, tooLong, onDemand, failed };

Lookup lookUp(SettingsTree tree, const char *key, char *buffer, std::uint32_t room) {
    SettingsNode value = {};
    std::size_t length = 0;
    if (!findValue(tree, key, &value) || !tree.copyText(value.text, buffer, room, &length)) {
        return Lookup::failed;
    }
    const bool onDemand = length == 0 && isFetchedOnDemand(tree, value);
    if (tree.isBroken()) {
        return Lookup::failed;
    }
    if (onDemand) {
        return Lookup::onDemand;
    }
    return length < room ? Lookup::found : Lookup::tooLong;
}

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
    const Lookup result =
        lookUp(SettingsTree(segment.address(), segment.size()), key, buffer, room);
    if (result == Lookup::failed) {
        return -1;
    }
    if (result == Lookup::onDemand) {
        segment.detach();
        return lock.giveBack() ? fetch(key, buffer, room) : -1;
    }
    return lock.giveBack() && result == Lookup::found ? 0 : -1;
}
