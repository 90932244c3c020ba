// Playing a clip, a step at a time.
#pragma once

#include "src/voxo/context.h"

// One step of the clip that is wanted: opens its file, or plays one chunk of it, or ends it.
void voxoClipStep(VoxoContext *context, VoxoLoopState *state);
