#include "vcam/preload/command_digest.h"

#include "vcam/board/command_words.h"

#include <cstddef>
#include <cstring>

namespace {

// The 64-bit FNV-1a hash, a word at a time.
class Digest {
public:
    explicit Digest(std::uint64_t begun) : value_(begun) {}
    void add(std::uint32_t word) { value_ = (value_ ^ word) * 0x100000001B3; }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_;
};

} // namespace

void addToDigest(WorldRegisters &world, std::uint32_t command, const void *record, int result) {
    Digest digest(longRegister(world.commands));
    digest.add(world.now[0]);
    digest.add(world.now[1]);
    digest.add(command);
    digest.add(static_cast<std::uint32_t>(result));
    const std::size_t words = commandRecordSize(command) / sizeof(std::uint32_t);
    for (std::size_t i = 0; record != nullptr && result == 0 && i < words; ++i) {
        if (!isCallersAddress(command, i)) {
            std::uint32_t word = 0;
            std::memcpy(&word, static_cast<const unsigned char *>(record) + 4 * i, sizeof word);
            digest.add(word);
        }
    }
    setLongRegister(world.commands, digest.value());
    ++world.commandCount;
}
