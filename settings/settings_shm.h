// Single values from the snapshot of its settings that the settings daemon publishes in shared
// memory.
#pragma once

#include <cstdint>

// Copies the value that `key` names into `buffer` of `room` bytes. A key names a path from the root
// of the settings tree downwards, its components separated by '_' ("audioout_c0_volume").
//
// Returns 0 when the value was copied whole with its terminator. An empty value that is marked to
// be fetched on demand is asked for over the daemon's socket, and the result is that of
// settings_request. Otherwise -1: no daemon (reported on standard error, the missing segment on
// standard output), no such key or a tree that makes no sense (not reported), or a value of `room`
// characters or more, whose first `room` are then in the buffer without a terminator.
//
// Waits as long as the daemon holds the lock of the snapshot.
std::int32_t settings_shm_get(const char *key, char *buffer, std::uint32_t room);
