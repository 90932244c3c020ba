// A clip, from the order to start it to its end.
#pragma once

#include "src/voxo/context.h"

// Asks for the clip that was named last. Its first step opens it; one that plays goes on.
void voxoStartClip();

// Stops a clip at once, whether one plays or not: drops what the output still holds of it and
// reports that none is playing.
void voxoStopClip();

constexpr int twoWayInProgress = 1;

// Asks whether two-way audio is in progress; if so, stops the clip. Returns the status number,
// twoWayInProgress when it is.
int voxoCheck2WayAudio();

// One step of the clip that is wanted: opens its file, or plays one chunk of it, or ends it.
void voxoClipStep(VoxoContext *context, VoxoLoopState *state);
