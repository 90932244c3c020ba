#include "vcam/tessel/snapshot.h"

#include "vcam/board/board.h"
#include "vcam/camera/camera.h"
#include "vcam/camera/text_file.h"
#include "vcam/tessel/settings_image.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int keyProject = 'c';
constexpr std::size_t segmentSize = 65536;
constexpr int accessMode = 0600;
constexpr int keyTries = 100;
constexpr timespec patience = {10, 0}; // with a reader

// Where this writer says that it has the segment: anywhere but where a reader will.
constexpr std::uint32_t writerBase = 0x46500000;

key_t makeKey(const fs::path &keyFile) {
    fs::create_directories(keyFile.parent_path());
    writeFile(keyFile, "the settings daemon of a virtual camera\n");
    return ftok(keyFile.c_str(), keyProject);
}

// Whether the segment's maker still runs: then it is another camera's.
bool isInUse(int segment) {
    shmid_ds status = {};
    return shmctl(segment, IPC_STAT, &status) == 0 &&
           isProcessAlive(static_cast<std::uint32_t>(status.shm_cpid)) &&
           status.shm_cpid != getpid();
}

// Frees what is left under the key. False: it is in use.
bool clearKey(key_t key) {
    const int segment = shmget(key, 0, 0);
    if (segment != -1) {
        if (isInUse(segment)) {
            return false;
        }
        shmctl(segment, IPC_RMID, nullptr);
    }
    const int semaphore = semget(key, 0, 0);
    if (semaphore != -1) {
        semctl(semaphore, 0, IPC_RMID);
    }
    return true;
}

// A key that nobody uses: keys are made from the file's inode, of which they hold a part only.
key_t freeKey(const fs::path &keyFile) {
    for (int i = 0; i < keyTries; ++i) {
        const key_t key = makeKey(keyFile);
        if (key != -1 && clearKey(key)) {
            return key;
        }
        fs::path aside = keyFile;
        aside += '.'; // keeps the inode, so that the next file has another
        aside += std::to_string(i);
        fs::rename(keyFile, aside);
    }
    throw CameraError("no free key for the settings snapshot");
}

void removeAsides(const fs::path &keyFile) {
    for (const auto &entry : fs::directory_iterator(keyFile.parent_path())) {
        if (entry.path().filename().string().starts_with(keyFile.filename().string() + ".")) {
            fs::remove(entry.path());
        }
    }
}

// Throws when a reader keeps the semaphore.
void operate(int semaphore, short amount) {
    sembuf operation = {0, amount, SEM_UNDO};
    while (semtimedop(semaphore, &operation, 1, &patience) != 0) {
        if (errno != EINTR) {
            throw CameraError("a reader does not give the settings snapshot back");
        }
    }
}

} // namespace

Snapshot::Snapshot(const fs::path &keyFile) {
    const key_t key = freeKey(keyFile);
    removeAsides(keyFile);
    segment_ = shmget(key, segmentSize, IPC_CREAT | IPC_EXCL | accessMode);
    semaphore_ = semget(key, 1, IPC_CREAT | IPC_EXCL | accessMode);
    if (segment_ == -1 || semaphore_ == -1 || semctl(semaphore_, 0, SETVAL, 1) != 0) {
        throw CameraError(std::string("cannot make the settings snapshot: ") +
                          std::strerror(errno));
    }
    address_ = shmat(segment_, nullptr, 0);
    if (address_ == reinterpret_cast<void *>(-1)) {
        throw CameraError("cannot attach the settings snapshot");
    }
}

Snapshot::~Snapshot() {
    shmdt(address_);
    shmctl(segment_, IPC_RMID, nullptr);
    semctl(semaphore_, 0, IPC_RMID);
}

bool Snapshot::write(const SettingsStore &store) {
    return write(settingsImage(store, writerBase));
}

bool Snapshot::write(std::span<const unsigned char> image) {
    if (image.size() > segmentSize) {
        return false;
    }
    const bool wasHeld = isHeld_;
    hold(true);
    std::memcpy(address_, image.data(), image.size());
    hold(wasHeld);
    return true;
}

void Snapshot::hold(bool isHeld) {
    if (std::exchange(isHeld_, isHeld) != isHeld) {
        operate(semaphore_, isHeld ? -1 : 1);
    }
}
