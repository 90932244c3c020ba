// All devices of a board, by the paths of their files.
#pragma once

#include "vcam/board/acodec_device.h"
#include "vcam/board/ao_device.h"
#include "vcam/board/log_device.h"
#include "vcam/board/mem_device.h"
#include "vcam/board/sys_device.h"
#include "vcam/board/vb_device.h"
#include "vcam/board/zone_device.h"

class BoardDevices {
public:
    explicit BoardDevices(Board &board);

    // The device whose file has this path, or null.
    BoardDevice *find(const char *path);

    // Issues a command, unless the board is to fail it this time.
    int command(BoardDevice &device, BoardFile &file, std::uint32_t command, void *record);

private:
    Board &board_;
    AcodecDevice acodec_;
    AoDevice ao_;
    LogDevice log_;
    MemDevice mem_;
    SysDevice sys_;
    VbDevice vb_;
    ZoneDevice zone_;
};

// Counts an issue of a command, or of a call by its code. True, with the result that was set for
// it, when it is to fail.
bool boardIssueFails(BoardRegisters &registers, std::uint32_t command, std::int32_t *result);

// Whether a call of the C library is still to fail.
bool boardFailsCalls(const BoardRegisters &registers);

// Makes the command's `countdown`-th issue from now on end with `result`, a driver's. False: as
// many faults as the board can have are set.
bool boardFail(BoardRegisters &registers, std::uint32_t command, std::uint32_t countdown,
               std::int32_t result);
