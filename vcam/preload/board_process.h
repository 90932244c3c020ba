// The board in the daemon's process.
#pragma once

#include "vcam/board/devices.h"

#include <sys/types.h>

#include <cstddef>

// The camera's directory, or null in a process that is no daemon of a camera: calls then pass.
const char *cameraDir();
int cameraDirFd();

// The board; there whenever cameraDir() is not null.
Board &processBoard();

// `path`, or its place in the camera's directory (in `buffer` of cameraPathRoom bytes).
const char *cameraPlaceOf(const char *path, char *buffer);

// Opens a device file: false when the path is no device's, else *fd is its descriptor, or -1 with
// errno when there is none left for it. The descriptor is a real one, of the null device, so that
// its number is taken.
bool openDevice(const char *path, int *fd);

// The open device file that a descriptor stands for, or null.
struct OpenDevice {
    BoardDevice *device;
    BoardFile file;
};
OpenDevice *openDeviceOf(int fd);

int deviceCommand(OpenDevice &open, unsigned long request, void *record);

// Notes that a descriptor has been closed, or that `copy` has become a copy of `fd`, if it is not
// negative. The copy, or -1 with errno when the board has no room for it.
void forgetDevice(int fd);
int copyDevice(int fd, int copy);
