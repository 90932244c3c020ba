// The media memory zones, "/dev/mmz_userdev".
#pragma once

#include "vcam/board/board.h"

class ZoneDevice : public BoardDevice {
public:
    using BoardDevice::BoardDevice;
    int command(BoardFile &file, std::uint32_t command, void *record) override;

private:
    // A block's mapping in this process.
    struct Mapping {
        void *address; // null: not mapped
        bool isCached;
    };

    int mapBlock(std::uint32_t phys, bool isCached, std::uint32_t *virt);
    int unmapBlock(std::uint32_t phys);
    int lookUp(std::uint32_t virt, std::uint32_t *phys) const;

    Mapping mappings_[zoneBlockCount] = {};
};

// Takes memory from the zones. Returns its physical address, or 0 when there is none. Memory of a
// process that has ended is taken back.
std::uint32_t zoneTake(const Board &board, std::uint32_t size, const char *name, const char *zone);

// Gives memory back. False: there is no such block.
bool zoneGiveBack(const Board &board, std::uint32_t phys);
