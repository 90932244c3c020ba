#include "vcam/board/command_words.h"

#include "mpp/code/mpi/src/mpi_vb/mmz_record.h"
#include "mpp/code/mpi/src/mpi_vb/vb_record.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"

namespace {

constexpr std::size_t wordOf(std::size_t offset) {
    return offset / sizeof(std::uint32_t);
}

// Whether a command's record is that of a block of memory, or of a range of one.
bool isAboutBlock(std::uint32_t command) {
    switch (command) {
    case MMZ_CMD_ALLOC:
    case MMZ_CMD_FREE:
    case MMZ_CMD_MAP:
    case MMZ_CMD_MAP_CACHED:
    case MMZ_CMD_UNMAP:
    case MMZ_CMD_LOOK_UP:
        return true;
    default:
        return false;
    }
}

bool isAboutRange(std::uint32_t command) {
    return command == MMZ_CMD_FLUSH_RANGE || command == SYS_CMD_FLUSH_CACHE;
}

} // namespace

bool isCallersAddress(std::uint32_t command, std::size_t word) {
    if (command == AO_CMD_SEND) {
        return word - wordOf(offsetof(AoSendRecord, frame.virAddr)) < 2;
    }
    return (isAboutBlock(command) && word == wordOf(offsetof(MmzBlockRecord, virt))) ||
           (isAboutRange(command) && word == wordOf(offsetof(MmzRangeRecord, virt)));
}

bool isAboutMemory(std::uint32_t command) {
    switch (command) {
    case VB_CMD_CREATE_POOL:
    case VB_CMD_GET_BLOCK:
    case VB_CMD_RELEASE_BLOCK:
    case VB_CMD_BLOCK_TO_PHYS:
    case VB_CMD_BLOCK_TO_POOL:
    case VB_CMD_POOL_INFO:
        return true;
    default:
        return isAboutBlock(command) || isAboutRange(command);
    }
}
