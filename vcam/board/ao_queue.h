// Where the queue of an output channel stands. Counts only ever grow and may wrap, so they are
// compared by their distance.
#pragma once

#include "vcam/board/board.h"

// The count of the first period that still waits: none that was cleared does.
inline std::uint32_t aoQueueFront(const AoChannelRegisters &channel) {
    const std::uint32_t played = channel.played;
    const std::uint32_t flushed = channel.flushed;
    return static_cast<std::int32_t>(flushed - played) > 0 ? flushed : played;
}

// How many periods wait.
inline std::uint32_t aoQueueFill(const AoChannelRegisters &channel) {
    return channel.queued - aoQueueFront(channel);
}

// Whether slots are free for the DAC has let go of them: a cleared one may still be being read.
inline bool aoQueueHasSlot(const AoChannelRegisters &channel) {
    return channel.queued - channel.played < aoQueueRoom;
}

// Waits until no channel has a period left, or `deadline` of the board's clock.
void waitForSilence(Board &board, std::uint64_t deadline);
