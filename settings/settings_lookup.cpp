#include "settings/settings_lookup.h"

namespace {

constexpr char valueName[] = "value";
constexpr char aliasName[] = "aliasxpath";
constexpr char fetchName[] = "getonce";

template <std::size_t Size>
constexpr std::size_t lengthOf(const char (&)[Size]) {
    return Size - 1;
}

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

} // namespace

SettingsLookup settingsLookUp(SettingsTree tree, const char *key, char *buffer,
                              std::uint32_t room) {
    SettingsNode value = {};
    std::size_t length = 0;
    if (!findValue(tree, key, &value) || !tree.copyText(value.text, buffer, room, &length)) {
        return SettingsLookup::failed;
    }
    const bool onDemand = room > 0 && length == 0 && isFetchedOnDemand(tree, value);
    if (tree.isBroken()) {
        return SettingsLookup::failed;
    }
    if (onDemand) {
        return SettingsLookup::onDemand;
    }
    return length < room ? SettingsLookup::found : SettingsLookup::tooLong;
}
