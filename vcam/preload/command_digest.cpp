#include "vcam/preload/command_digest.h"

#include "mpp/code/mpi/src/mpi_vb/mmz_record.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"

#include <cstddef>
#include <cstring>

namespace {

constexpr std::size_t wordOf(std::size_t offset) {
    return offset / sizeof(std::uint32_t);
}

// Words of a record that hold addresses of the daemon's memory, which no two processes share.
bool isAddress(std::uint32_t command, std::size_t word) {
    switch (command) {
    case AO_CMD_SEND:
        return word - wordOf(offsetof(AoSendRecord, frame.virAddr)) < 2;
    case MMZ_CMD_ALLOC:
    case MMZ_CMD_FREE:
    case MMZ_CMD_MAP:
    case MMZ_CMD_MAP_CACHED:
    case MMZ_CMD_UNMAP:
    case MMZ_CMD_LOOK_UP:
        return word == wordOf(offsetof(MmzBlockRecord, virt));
    case MMZ_CMD_FLUSH_RANGE:
    case SYS_CMD_FLUSH_CACHE:
        return word == wordOf(offsetof(MmzRangeRecord, virt));
    default:
        return false;
    }
}

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
    const std::size_t words = wordOf(command >> 16 & 0x3FFF);
    for (std::size_t i = 0; record != nullptr && result == 0 && i < words; ++i) {
        if (!isAddress(command, i)) {
            std::uint32_t word = 0;
            std::memcpy(&word, static_cast<const unsigned char *>(record) + 4 * i, sizeof word);
            digest.add(word);
        }
    }
    setLongRegister(world.commands, digest.value());
    ++world.commandCount;
}
