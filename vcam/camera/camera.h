// Where a virtual camera lies: the directory that holds it.
#pragma once

#include "vcam/camera/camera_paths.h"

#include <sys/un.h>

#include <filesystem>
#include <stdexcept>
#include <string>

// What went wrong, as a sentence for the user.
class CameraError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Where a camera's parts lie.
class CameraDir {
public:
    // The directory that the user named, or else: $VCAM_DIR, "vcam" in $XDG_RUNTIME_DIR, or a
    // directory of the user's own in /tmp. It need not exist.
    explicit CameraDir(const std::string &named);

    const std::filesystem::path &path() const { return path_; }

    // The place of one of the camera's fixed paths ("/var/run/voxo.pid").
    std::filesystem::path place(const std::string &cameraPath) const;

    // The address of a local socket at a fixed path.
    struct Address {
        sockaddr_un address;
        unsigned length;
    };
    Address socketAddress(const std::string &cameraPath) const;

    std::filesystem::path registersFile() const;
    std::filesystem::path memoryFile() const;
    std::filesystem::path answersFile() const;
    std::filesystem::path lockFile() const { return path_ / ".vcam"; }
    // What the loudspeaker plays, and the same as the DAC has it: at full volume, without gaps.
    std::filesystem::path speakerFile() const { return path_ / "speaker.wav"; }
    std::filesystem::path rawSpeakerFile() const { return path_ / "speaker.raw.wav"; }
    std::filesystem::path configFile() const { return path_ / "voxo.xml"; }
    // The one that the daemon was started with, which the user may have named.
    std::filesystem::path usedConfigFile() const;
    std::filesystem::path tesselLog() const { return path_ / "tessel.log"; }
    std::filesystem::path daemonLog() const { return path_ / "voxo.log"; }
    std::filesystem::path systemLog() const { return path_ / "messages"; }

    // Throws unless a camera runs here.
    void requireRunning() const;

private:
    std::filesystem::path path_;
};
