// The settings tree as it lies in the snapshot's segment.
//
// All words are 32 bits wide in the host's order. Word 0 of the segment is the address at which the
// writer has it mapped, word 1 the pointer to the root node; every pointer is an address in the
// writer's mapping, 0 meaning none. The writer may be another program, may have died halfway, or
// may be hostile: each pointer, string and list is checked against the segment when it is followed,
// and all walks of one reader together visit no more nodes than the longest honest lookup would.
#pragma once

#include <cstddef>
#include <cstdint>

// A pointer as the writer stored it.
using StoredPointer = std::uint32_t;

struct SettingsNode {
    StoredPointer self;
    StoredPointer name;
    StoredPointer text; // 0: none, counts as empty
    StoredPointer child;
    StoredPointer sibling;
    StoredPointer parent;
};

class SettingsTree {
public:
    // Longest text that serves as a key.
    static constexpr std::size_t keyLimit = 1023;
    // How many aliases a lookup follows before it counts as leading nowhere.
    static constexpr int aliasLimit = 16;

    SettingsTree(const void *segment, std::size_t size);

    // The node that the key names; false when there is none.
    bool find(const char *key, SettingsNode *node);

    // The first node of the sibling list from `first` on whose name is exactly the `length`
    // characters of `name`; false when there is none.
    bool findSibling(StoredPointer first, const char *name, std::size_t length, SettingsNode *node);

    // The node at `pointer`; false when there is none. Counts as a visit.
    bool load(StoredPointer pointer, SettingsNode *node);

    bool isNamed(const SettingsNode &node, const char *name, std::size_t length);

    // Copies the text at `pointer` into `buffer`, at most `room` bytes, and fills the rest of the
    // room with zeros. *length is the text's length, or `room` when it is as long or longer. False:
    // the text leaves the segment.
    bool copyText(StoredPointer pointer, char *buffer, std::size_t room, std::size_t *length);

    // Whether a walk has met a pointer, string or list that makes no sense: what it found until
    // then cannot be trusted.
    bool isBroken() const { return broken_; }

private:
    const char *follow(StoredPointer pointer, std::size_t size);
    std::size_t reachFrom(const char *place) const;

    const char *segment_;
    std::size_t size_;
    std::size_t visitsLeft_;
    bool broken_ = false;
};
