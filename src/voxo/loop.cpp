#include "src/voxo/loop.h"

#include "src/voxo/clip.h"
#include "src/voxo/config.h"
#include "src/voxo/input.h"
#include "src/voxo/stream.h"

#include <cstring>

namespace {

// Waits for a record and handles it. False: the daemon is to stop.
bool streamStep(VoxoContext *context, VoxoLoopState *state) {
    if (voxoWaitInput(context->streamFd, recvBuf, sizeof recvBuf, 1) != 0) {
        return true;
    }
    return voxoHandleRecord(context, state) == RecordResult::goOn;
}

// Drops what the stream sends, looks for a message, and goes on with the clip unless that stopped
// it.
void clipStep(VoxoContext *context, VoxoLoopState *state) {
    std::memset(recvBuf, 0, sizeof recvBuf);
    if (context->audioclipCapability == 0) {
        return;
    }
    voxoWaitInput(context->streamFd, recvBuf, sizeof recvBuf, 0);
    if (clipStart != 0) {
        voxoClipStep(context, state);
    }
}

} // namespace

void voxoSignalHandler(int signal) {
    if (signal == SIGHUP) {
        reloadVolume = 1;
    } else {
        quitRequested = 1;
    }
}

void voxoMainLoop(VoxoContext *context) {
    VoxoLoopState state;
    while (quitRequested == 0) {
        if (reloadVolume != 0) {
            // Cleared before the values are read, so that no signal is lost.
            reloadVolume = 0;
            voxoSetVolume(context);
        }
        voxoReportDroppedWhenDue(&state);
        const bool playsClip = clipStart == 1 && voxoCheck2WayAudio() != twoWayInProgress;
        if (quitRequested != 0) {
            break; // asked for during the question; a step of the clip would only ask the next one
        }
        if (playsClip) {
            clipStep(context, &state);
        } else if (!streamStep(context, &state)) {
            break;
        }
    }
    voxoReportDropped(&state);
}
