// Time as the daemon spends it. On a camera whose periods are played as they come, a second of
// sleep lasts until the loudspeaker has played what waits, since nothing else happens in it.
#include "vcam/board/ao_queue.h"
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"

#include <algorithm>

namespace {

// Waits until no channel has a period left, or `deadline`.
void waitForSilence(Board &board, std::uint64_t deadline) {
    AoRegisters &ao = board.registers.ao;
    for (;;) {
        const std::uint32_t seen = ao.space;
        const bool isSilent = std::all_of(
            std::begin(ao.channels), std::end(ao.channels),
            [](const AoChannelRegisters &channel) { return aoQueueFill(channel) == 0; });
        if (isSilent || board.time.now() >= deadline) {
            return;
        }
        board.time.waitForChange(ao.space, seen, deadline);
    }
}

} // namespace

INTERPOSE(unsigned, sleep, (unsigned seconds)) {
    if (cameraDir() == nullptr || processBoard().registers.pace == paceRealTime) {
        return nextDefinition<unsigned (*)(unsigned)>("sleep")(seconds);
    }
    Board &board = processBoard();
    waitForSilence(board, board.time.now() + seconds * nanosecondsPerSecond);
    return 0;
}
