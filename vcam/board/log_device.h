// The kernel's log, "/dev/logmpp".
#pragma once

#include "vcam/board/board.h"

class LogDevice : public BoardDevice {
public:
    using BoardDevice::BoardDevice;
    int command(BoardFile &file, std::uint32_t command, void *record) override;
    ssize_t read(BoardFile &file, void *buffer, std::size_t size) override;
};
