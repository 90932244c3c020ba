// Time as the daemon spends it. On a camera whose periods are played as they come, a sleep lasts
// until the loudspeaker has played what waits, since nothing else happens in it.
#include "vcam/board/ao_queue.h"
#include "vcam/preload/board_process.h"
#include "vcam/preload/interpose.h"

#include <ctime>

namespace {

bool isShort() {
    return cameraDir() != nullptr && processBoard().registers.pace != paceRealTime;
}

} // namespace

INTERPOSE(unsigned, sleep, (unsigned seconds)) {
    if (!isShort()) {
        return nextDefinition<unsigned (*)(unsigned)>("sleep")(seconds);
    }
    Board &board = processBoard();
    waitForSilence(board, board.time.now() + seconds * nanosecondsPerSecond);
    return 0;
}

// Up to a moment of the clock that the board's time is told by; other sleeps keep their length.
INTERPOSE(int, clock_nanosleep,
          (clockid_t clock, int flags, const timespec *end, timespec *remaining)) {
    if (clock != CLOCK_MONOTONIC || flags != TIMER_ABSTIME || !isShort()) {
        using Sleep = int (*)(clockid_t, int, const timespec *, timespec *);
        return nextDefinition<Sleep>("clock_nanosleep")(clock, flags, end, remaining);
    }
    waitForSilence(processBoard(), static_cast<std::uint64_t>(end->tv_sec) * nanosecondsPerSecond +
                                       static_cast<std::uint64_t>(end->tv_nsec));
    return 0;
}
