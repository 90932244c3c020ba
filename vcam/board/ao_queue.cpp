#include "vcam/board/ao_queue.h"

#include <algorithm>
#include <iterator>

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
