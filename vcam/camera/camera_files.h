// What a process that runs a camera keeps in the camera's directory.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"

// Holds the directory for this process alone, for as long as the descriptor is open. Only a
// directory of its own is a camera's: files are made and removed in it. Throws when it cannot be
// had.
UniqueFd lockDirectory(const CameraDir &dir);

// The camera's files other than its sound and its logs; gone when the camera is.
class CameraFiles {
public:
    explicit CameraFiles(const CameraDir &dir);
    CameraFiles(const CameraFiles &) = delete;
    CameraFiles &operator=(const CameraFiles &) = delete;
    ~CameraFiles();

private:
    // Removes what a camera that runs has made, but for the file that its settings snapshot is
    // known by: the next one in the directory frees what a killed one has left under it.
    void removeRunning();

    const CameraDir &dir_;
};
