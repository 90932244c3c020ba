#include "vcam/tessel/settings_image.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

constexpr std::size_t headSize = 8;
constexpr std::size_t nodeSize = 36;
constexpr std::size_t wordSize = 4;

enum NodeWord : std::size_t { name = 4, text = 8, child = 24, sibling = 28, parent = 32 };

struct Node {
    std::string name;
    std::string text;
    std::vector<std::unique_ptr<Node>> children;

    Node &childNamed(const std::string &wanted) {
        const auto found = std::find_if(children.begin(), children.end(),
                                        [&](const auto &node) { return node->name == wanted; });
        if (found != children.end()) {
            return **found;
        }
        children.push_back(std::make_unique<Node>());
        children.back()->name = wanted;
        return *children.back();
    }
};

Node makeTree(const SettingsStore &store) {
    Node root;
    for (const auto &[key, setting] : store.settings()) {
        Node *node = &root;
        for (std::size_t begin = 0; begin <= key.size();) {
            const std::size_t end = std::min(key.find('_', begin), key.size());
            node = &node->childNamed(key.substr(begin, end - begin));
            begin = end + 1;
        }
        if (!setting.alias.empty()) {
            node->childNamed("aliasxpath").text = setting.alias;
            continue;
        }
        node->childNamed("value").text = setting.isFetched ? "" : setting.value;
        if (setting.isFetched) {
            node->childNamed("getonce");
        }
    }
    return root;
}

class Writer {
public:
    explicit Writer(std::uint32_t base) : base_(base) { image_.resize(headSize); }

    std::vector<unsigned char> write(const Node &root) {
        put(0, base_);
        put(wordSize, writeNode(root, 0));
        return std::move(image_);
    }

private:
    void put(std::size_t offset, std::uint32_t value) {
        std::memcpy(image_.data() + offset, &value, sizeof value);
    }

    std::uint32_t addressOf(std::size_t offset) const {
        return base_ + static_cast<std::uint32_t>(offset);
    }

    std::uint32_t writeText(const std::string &text) {
        const std::size_t offset = image_.size();
        image_.insert(image_.end(), text.c_str(), text.c_str() + text.size() + 1);
        image_.resize((image_.size() + wordSize - 1) / wordSize * wordSize);
        return addressOf(offset);
    }

    std::uint32_t writeNode(const Node &node, std::uint32_t parentAddress) {
        const std::size_t offset = image_.size();
        image_.resize(offset + nodeSize);
        put(offset + NodeWord::name, writeText(node.name));
        put(offset + NodeWord::text, writeText(node.text));
        put(offset + NodeWord::parent, parentAddress);
        std::size_t link = offset + NodeWord::child;
        for (const auto &next : node.children) {
            const std::size_t place = image_.size();
            put(link, writeNode(*next, addressOf(offset)));
            link = place + NodeWord::sibling;
        }
        return addressOf(offset);
    }

    std::uint32_t base_;
    std::vector<unsigned char> image_;
};

} // namespace

std::vector<unsigned char> settingsImage(const SettingsStore &store, std::uint32_t base) {
    return Writer(base).write(makeTree(store));
}
