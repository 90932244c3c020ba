// Looking a value up in the settings tree.
#pragma once

#include "settings/settings_tree.h"

#include <cstdint>

enum class SettingsLookup {
    found,    // the value is in the buffer, terminated
    tooLong,  // its first `room` characters are, without a terminator
    onDemand, // it is empty, and marked to be fetched from the settings daemon
    failed,   // there is no such value, or the tree makes no sense
};

// Finds the value of the setting that `key` names, across its aliases, and copies it into `buffer`
// of `room` bytes.
SettingsLookup settingsLookUp(SettingsTree tree, const char *key, char *buffer, std::uint32_t room);
