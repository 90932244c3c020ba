#include "vcam/cli/commands.h"

#include "vcam/board/sys_device.h"
#include "vcam/camera/mapped_board.h"

int tune(const CameraDir &dir, std::uint32_t argument) {
    dir.requireRunning();
    MappedBoard board(dir, MappedBoard::Mode::open);
    if (board.registers().sys.tuningMode == 0) {
        throw CameraError("the board is not in tuning mode (vcam run --tuning)");
    }
    requestTuningRun(board.board(), argument);
    return 0;
}
