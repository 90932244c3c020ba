// The audio codec, "/dev/acodec".
#pragma once

#include "vcam/board/board.h"

class AcodecDevice : public BoardDevice {
public:
    using BoardDevice::BoardDevice;
    int command(BoardFile &file, std::uint32_t command, void *record) override;
};
