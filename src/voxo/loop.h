// The main loop.
#pragma once

#include "src/voxo/context.h"

// Notes what a signal asks for; the loop does it.
void voxoSignalHandler(int signal);

// Plays stream and clips until a signal asks to quit or the decoder cannot go on.
void voxoMainLoop(VoxoContext *context);
