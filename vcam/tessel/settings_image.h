// The settings tree as it is laid out in the snapshot's segment.
#pragma once

#include "vcam/tessel/settings_store.h"

#include <cstdint>
#include <vector>

// Lays the tree out for a writer that has the segment mapped at `base`: word 0 the base, word 1 the
// root node, and every pointer an address in that mapping.
std::vector<unsigned char> settingsImage(const SettingsStore &store, std::uint32_t base);
