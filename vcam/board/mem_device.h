// Physical memory, "/dev/mem".
#pragma once

#include "vcam/board/board.h"

class MemDevice : public BoardDevice {
public:
    using BoardDevice::BoardDevice;
    void *map(BoardFile &file, std::size_t length, std::uint64_t offset) override;
};
