// What the `vcam` command does. Each command throws CameraError with a sentence for the user, and
// returns the exit status otherwise.
#pragma once

#include "vcam/camera/camera.h"
#include "vcam/camera/environment.h"
#include "vcam/speaker/wav_speaker.h"

#include <cstdint>
#include <string>
#include <vector>

struct RunOptions {
    std::string config; // configuration file; empty: one in the camera's directory
    bool fast = false;  // periods are played as they come
    bool deaf = false;  // periods are dropped by the driver
    bool bare = false;  // without the daemon
    bool tuning = false;
    std::string listen; // the PC's sound device, which plays what the loudspeaker does; empty: none
    std::uint64_t longestFile = longestWavSound; // bytes of sound in a file of the loudspeaker
    std::vector<std::string> faults;             // COMMAND:N or CALL:N
};

// Runs a camera with the daemon on it until the daemon ends or a signal ends both.
int runCamera(const CameraDir &dir, const Target &target, const RunOptions &options);

// Replaces this process by a program that runs on the camera.
int execOnCamera(const CameraDir &dir, const Target &target,
                 const std::vector<std::string> &program);

struct CastOptions {
    std::string file;
    bool ulaw = false;
    bool fast = false;    // as fast as the records are taken
    bool check = false;   // compare what the loudspeaker plays with what was sent
    unsigned timeout = 0; // seconds that the daemon may take nothing; 0: without limit
};

// Streams an audio file to the daemon.
int cast(const CameraDir &dir, const CastOptions &options);

// Prints what the board's registers and the settings daemon hold.
int showStatus(const CameraDir &dir);

// Names a clip and starts it; stops whatever plays.
int startClip(const CameraDir &dir, const std::string &file);
int stopClip(const CameraDir &dir);

// Sets one of the camera's settings; the daemon is told of a new volume.
int setSetting(const CameraDir &dir, const std::string &key, const std::string &value);

// Begins or ends two-way audio.
int talk(const CameraDir &dir, bool on);

// Prints the requests that the settings daemon has had.
int showLog(const CameraDir &dir);

// Prints what a daemon's trace tells, and sums it up.
int showTrace(const std::string &file);

// Asks for a tuning run with this argument.
int tune(const CameraDir &dir, std::uint32_t argument);
