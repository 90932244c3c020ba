// The settings daemon of a virtual camera: holds the settings, publishes them in the snapshot, and
// answers requests on its socket.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"
#include "vcam/camera/log_file.h"
#include "vcam/tessel/settings_store.h"
#include "vcam/tessel/snapshot.h"

#include <functional>
#include <string>
#include <thread>

// A request of this program's own, which is not logged: everything held, as lines KEY=VALUE.
constexpr char tesselShowRequest[] = "show";

class Tessel {
public:
    // Starts the daemon in the camera's directory. `onSet` hears of each setting that was set, on
    // the daemon's thread.
    Tessel(const CameraDir &dir, SettingsStore store,
           std::function<void(const std::string &key)> onSet);
    Tessel(const Tessel &) = delete;
    Tessel &operator=(const Tessel &) = delete;
    ~Tessel();

private:
    void serve(const std::stop_token &stop);
    void handleConnection(int fd);
    std::string answer(const std::string &request);
    std::string answerSet(const std::string &body);
    std::string answerShow() const;
    void log(const std::string &request, const std::string &reply);

    std::filesystem::path socketFile_;
    SettingsStore store_;
    std::function<void(const std::string &)> onSet_;
    Snapshot snapshot_;
    LogFile log_;
    UniqueFd socket_;
    std::jthread thread_; // last: it uses all the others
};

// Sends one request to the settings daemon of a running camera and returns its reply. Throws when
// there is none.
std::string askTessel(const CameraDir &dir, const std::string &request);
