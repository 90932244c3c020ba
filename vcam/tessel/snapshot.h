// The snapshot in shared memory: a segment with the settings tree, and the semaphore that guards
// it.
#pragma once

#include "vcam/tessel/settings_store.h"

#include <filesystem>
#include <span>

class Snapshot {
public:
    // Makes both under the key of `keyFile`, which is made as well. What a settings daemon that has
    // died left under the key goes; a key that another daemon uses is given up for another.
    explicit Snapshot(const std::filesystem::path &keyFile);
    Snapshot(const Snapshot &) = delete;
    Snapshot &operator=(const Snapshot &) = delete;
    ~Snapshot();

    // Writes the settings in place of those before, under the semaphore. False: they do not fit.
    bool write(const SettingsStore &store);

    // Writes a whole segment as another one was.
    bool write(std::span<const unsigned char> image);

    // Takes the semaphore until it is given back by hold(false); writing goes on meanwhile.
    void hold(bool isHeld);

private:
    int semaphore_ = -1;
    int segment_ = -1;
    void *address_ = nullptr;
    bool isHeld_ = false;
};
