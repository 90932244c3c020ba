// The video buffers, "/dev/vb".
#pragma once

#include "vcam/board/board.h"

class VbDevice : public BoardDevice {
public:
    using BoardDevice::BoardDevice;
    int command(BoardFile &file, std::uint32_t command, void *record) override;

private:
    int poolCommand(std::uint32_t command, void *record);
    int blockCommand(std::uint32_t command, std::uint32_t *word);
};
