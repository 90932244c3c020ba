// The live stream: the device and socket it needs, and what becomes of each record.
#pragma once

#include "src/voxo/context.h"

// Fills the decoder interface, opens the audio output and the stream socket, and sets the volume.
// 0, or -1 after a report; the caller then cleans up.
int voxoOpenDevice(VoxoContext *context);

// Makes the datagram socket at `path` in place of whatever is there; any local process may send to
// it. Returns its descriptor, or -1, reported on standard output unless the path is empty.
int voxoCreateStreamSocket(const char *path);

enum class RecordResult { goOn, stopDaemon };

// Handles the record of recvLength bytes in recvBuf. Stops the daemon only when the decoder cannot
// be set up for the record.
RecordResult voxoHandleRecord(VoxoContext *context, VoxoLoopState *state);

// Reports the records that were dropped since the last report, if there are any: the first at once,
// then at most once a minute, however many come, and with good ones between them.
void voxoReportDroppedWhenDue(VoxoLoopState *state);

// Reports them now.
void voxoReportDropped(VoxoLoopState *state);
