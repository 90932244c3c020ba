// The settings daemon of a virtual camera, on the wall's clock: holds the settings, publishes them
// in the snapshot, and answers requests on its socket.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"
#include "vcam/camera/log_file.h"
#include "vcam/tessel/snapshot.h"
#include "vcam/tessel/tessel.h"

#include <functional>
#include <string>
#include <thread>

class TesselServer {
public:
    // Starts the daemon in the camera's directory. `onSet` hears of each setting that was set, on
    // the daemon's thread.
    TesselServer(const CameraDir &dir, std::function<void(const std::string &key)> onSet);
    TesselServer(const TesselServer &) = delete;
    TesselServer &operator=(const TesselServer &) = delete;
    ~TesselServer();

private:
    void serve(const std::stop_token &stop);
    void handleConnection(int fd);

    std::filesystem::path socketFile_;
    Snapshot snapshot_;
    LogFile log_;
    Tessel tessel_;
    UniqueFd socket_;
    std::jthread thread_; // last: it uses all the others
};

// Sends one request to the settings daemon of a running camera and returns its reply. Throws when
// there is none.
std::string askTessel(const CameraDir &dir, const std::string &request);
