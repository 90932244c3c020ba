#include "settings/settings_tree.h"

#include <algorithm>
#include <cstring>

namespace {

// Byte offsets within the segment's head and within a node.
constexpr std::size_t storedBaseWord = 0;
constexpr std::size_t rootWord = 4;
constexpr std::size_t headSize = 8;
constexpr std::size_t nameWord = 4;
constexpr std::size_t textWord = 8;
constexpr std::size_t childWord = 24;
constexpr std::size_t siblingWord = 28;
constexpr std::size_t parentWord = 32;
constexpr std::size_t nodeSize = 36;

std::uint32_t wordAt(const char *place) {
    std::uint32_t value = 0;
    std::memcpy(&value, place, sizeof value);
    return value;
}

} // namespace

SettingsTree::SettingsTree(const void *segment, std::size_t size)
    : segment_(static_cast<const char *>(segment)), size_(size),
      // A lookup visits each node at most once, and once more for each alias.
      visitsLeft_(size / nodeSize * (aliasLimit + 1)) {}

// Where the pointer leads in the reader's mapping, with `size` bytes there; null when it leads out
// of the segment.
const char *SettingsTree::follow(StoredPointer pointer, std::size_t size) {
    const std::uint32_t base = wordAt(segment_ + storedBaseWord);
    const std::size_t offset = static_cast<std::size_t>(pointer) - base;
    if (pointer < base || offset > size_ || size_ - offset < size) {
        broken_ = true;
        return nullptr;
    }
    return segment_ + offset;
}

std::size_t SettingsTree::reachFrom(const char *place) const {
    return size_ - static_cast<std::size_t>(place - segment_);
}

bool SettingsTree::load(StoredPointer pointer, SettingsNode *node) {
    if (pointer == 0) {
        return false;
    }
    const char *const place = follow(pointer, nodeSize);
    if (place == nullptr || visitsLeft_ == 0) {
        broken_ = true;
        return false;
    }
    --visitsLeft_;
    *node = {pointer,
             wordAt(place + nameWord),
             wordAt(place + textWord),
             wordAt(place + childWord),
             wordAt(place + siblingWord),
             wordAt(place + parentWord)};
    return true;
}

bool SettingsTree::isNamed(const SettingsNode &node, const char *name, std::size_t length) {
    if (node.name == 0) {
        return false;
    }
    const char *const place = follow(node.name, 1);
    if (place == nullptr) {
        return false;
    }
    // A name that the segment's end cuts off could be any: the tree is torn.
    const std::size_t reach = reachFrom(place);
    const std::size_t nameLength = strnlen(place, std::min(length + 1, reach));
    broken_ = broken_ || nameLength == reach;
    return nameLength == length && std::memcmp(place, name, length) == 0;
}

bool SettingsTree::findSibling(StoredPointer first, const char *name, std::size_t length,
                               SettingsNode *node) {
    for (StoredPointer next = first; load(next, node); next = node->sibling) {
        if (isNamed(*node, name, length)) {
            return true;
        }
    }
    return false;
}

bool SettingsTree::find(const char *key, SettingsNode *node) {
    if (size_ < headSize || !load(wordAt(segment_ + rootWord), node)) {
        return false;
    }
    for (const char *component = key;; ++component) {
        const std::size_t length = std::strcspn(component, "_");
        if (!findSibling(node->child, component, length, node)) {
            return false;
        }
        component += length;
        if (*component == '\0') {
            return true;
        }
    }
}

bool SettingsTree::copyText(StoredPointer pointer, char *buffer, std::size_t room,
                            std::size_t *length) {
    *length = 0;
    if (pointer != 0) {
        const char *const place = follow(pointer, 1);
        if (place == nullptr) {
            return false;
        }
        const std::size_t reach = reachFrom(place);
        *length = strnlen(place, std::min(room, reach));
        if (*length == reach && reach < room) {
            broken_ = true;
            return false;
        }
        std::memcpy(buffer, place, *length);
    }
    std::memset(buffer + *length, 0, room - *length);
    return true;
}
