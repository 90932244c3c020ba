// The daemon among the camera's processes: its PID file, the audio encoder's, and the work of an
// orderly end.
#pragma once

#include "src/voxo/context.h"

// Gives standard input, output and error that were closed when the process started to the null
// device, so that no socket or device takes their numbers and, with them, what is printed.
void voxoHoldStandardStreams();

// Writes the own PID file, if one is wanted. 0, or -1 after a message with errno of the failure.
int voxoCreatePidFile();

// Sends SIGUSR1 to the process that the PID file at `path` names: the output has started or ends.
// An empty path names none; a file that cannot be read is reported on standard error.
void voxoNotifyEncoder(const char *path);

// Closes the stream socket and the output, removes the own PID file if it still holds this
// process's id, and notifies the audio encoder. Returns 0.
int voxoCleanup(VoxoContext *context);
