// The system device, "/dev/sys".
#pragma once

#include "vcam/board/board.h"

class SysDevice : public BoardDevice {
public:
    using BoardDevice::BoardDevice;
    int command(BoardFile &file, std::uint32_t command, void *record) override;
    void *map(BoardFile &file, std::size_t length, std::uint64_t offset) override;

private:
    int waitForTuning(std::uint32_t *argument);
};

// Asks for a tuning run, as an engineer's tool does.
void requestTuningRun(const Board &board, std::uint32_t argument);
