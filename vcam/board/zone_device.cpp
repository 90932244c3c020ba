#include "vcam/board/zone_device.h"

#include "mpp/code/mpi/src/mpi_vb/mmz_record.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

std::uint32_t wholePages(std::uint32_t size) {
    return (size + pageSize - 1) & ~(pageSize - 1);
}

void reclaim(const Board &board) {
    for (ZoneBlockRegisters &block : board.registers.zones.blocks) {
        if (block.owner != 0 && !isProcessAlive(block.owner)) {
            block.owner = 0;
        }
    }
}

bool overlaps(const ZoneBlockRegisters &block, std::uint32_t phys, std::uint32_t size) {
    return block.owner != 0 && phys < block.phys + wholePages(block.size) &&
           block.phys < phys + size;
}

// The first place behind no block or behind one of them that overlaps none.
std::uint32_t findPlace(const ZoneRegisters &zones, std::uint32_t size) {
    const auto isFree = [&](std::uint32_t phys) {
        if (phys + size > zoneBase + zoneSize) {
            return false;
        }
        for (const ZoneBlockRegisters &block : zones.blocks) {
            if (overlaps(block, phys, size)) {
                return false;
            }
        }
        return true;
    };
    if (isFree(zoneBase)) {
        return zoneBase;
    }
    for (const ZoneBlockRegisters &block : zones.blocks) {
        const std::uint32_t behind = block.phys + wholePages(block.size);
        if (block.owner != 0 && isFree(behind)) {
            return behind;
        }
    }
    return 0;
}

ZoneBlockRegisters *findBlock(const Board &board, std::uint32_t phys) {
    for (ZoneBlockRegisters &block : board.registers.zones.blocks) {
        if (block.owner != 0 && block.phys == phys) {
            return &block;
        }
    }
    return nullptr;
}

int invalid() {
    errno = EINVAL;
    return -1;
}

} // namespace

std::uint32_t zoneTake(const Board &board, std::uint32_t size, const char *name, const char *zone) {
    if (size == 0 || size > zoneSize) {
        return 0;
    }
    reclaim(board);
    const std::uint32_t phys = findPlace(board.registers.zones, wholePages(size));
    for (ZoneBlockRegisters &block : board.registers.zones.blocks) {
        if (phys != 0 && block.owner == 0) {
            block.phys = phys;
            block.size = size;
            std::memset(block.name, 0, sizeof block.name);
            std::memset(block.zone, 0, sizeof block.zone);
            std::memcpy(block.name, name, strnlen(name, sizeof block.name - 1));
            std::memcpy(block.zone, zone, strnlen(zone, sizeof block.zone - 1));
            block.owner = static_cast<std::uint32_t>(getpid());
            return phys;
        }
    }
    return 0;
}

bool zoneGiveBack(const Board &board, std::uint32_t phys) {
    ZoneBlockRegisters *const block = findBlock(board, phys);
    if (block != nullptr) {
        block->owner = 0;
    }
    return block != nullptr;
}

int ZoneDevice::command(BoardFile & /*file*/, std::uint32_t command, void *record) {
    if (command == MMZ_CMD_FLUSH_ALL) {
        return 0;
    }
    if (record == nullptr) {
        return refuseRecord();
    }
    if (command == MMZ_CMD_FLUSH_RANGE) {
        return static_cast<const MmzRangeRecord *>(record)->size == 0 ? invalid() : 0;
    }
    auto &block = *static_cast<MmzBlockRecord *>(record);
    switch (command) {
    case MMZ_CMD_ALLOC:
        block.phys = zoneTake(board(), block.size, block.name, block.zone);
        if (block.phys == 0) {
            errno = ENOMEM;
            return -1;
        }
        boardLog(board(), "mmz: %.15s %u bytes at %08x\n", block.name, block.size, block.phys);
        return 0;
    case MMZ_CMD_MAP:
    case MMZ_CMD_MAP_CACHED:
        return block.mapping == MMZ_SHARED_READ_WRITE
                   ? mapBlock(block.phys, command == MMZ_CMD_MAP_CACHED, &block.virt)
                   : invalid();
    case MMZ_CMD_UNMAP:
        return unmapBlock(block.phys);
    case MMZ_CMD_FREE:
        return zoneGiveBack(board(), block.phys) ? 0 : invalid();
    case MMZ_CMD_LOOK_UP:
        return lookUp(block.virt, &block.phys);
    default:
        return refuseCommand();
    }
}

int ZoneDevice::mapBlock(std::uint32_t phys, bool isCached, std::uint32_t *virt) {
    const ZoneBlockRegisters *const block = findBlock(board(), phys);
    if (block == nullptr) {
        return invalid();
    }
    Mapping &mapping = mappings_[block - registers().zones.blocks];
    if (mapping.address == nullptr) {
        mapping.address = boardMapMemory(board(), phys, wholePages(block->size));
        mapping.isCached = isCached;
    }
    *virt = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(mapping.address));
    return mapping.address != nullptr ? 0 : -1;
}

int ZoneDevice::unmapBlock(std::uint32_t phys) {
    const ZoneBlockRegisters *const block = findBlock(board(), phys);
    if (block == nullptr) {
        return invalid();
    }
    Mapping &mapping = mappings_[block - registers().zones.blocks];
    if (mapping.address == nullptr) {
        return invalid();
    }
    boardUnmapMemory(mapping.address, wholePages(block->size));
    mapping.address = nullptr;
    return 0;
}

int ZoneDevice::lookUp(std::uint32_t virt, std::uint32_t *phys) const {
    for (std::uint32_t i = 0; i < zoneBlockCount; ++i) {
        const ZoneBlockRegisters &block = registers().zones.blocks[i];
        const Mapping &mapping = mappings_[i];
        const auto begin = reinterpret_cast<std::uintptr_t>(mapping.address);
        if (begin != 0 && virt >= begin && virt - begin < block.size) {
            *phys = block.phys + static_cast<std::uint32_t>(virt - begin);
            *phys = (*phys & ~1U) | (mapping.isCached ? 1U : 0U);
            return 0;
        }
    }
    return invalid();
}
