// The camera's system log: what its processes send to the log socket is written to a file.
#pragma once

#include "base/unique_fd.h"
#include "vcam/camera/camera.h"
#include "vcam/camera/log_file.h"

#include <thread>

class LogCollector {
public:
    explicit LogCollector(const CameraDir &dir);
    LogCollector(const LogCollector &) = delete;
    LogCollector &operator=(const LogCollector &) = delete;
    ~LogCollector();

private:
    void collect(const std::stop_token &stop);

    UniqueFd socket_;
    LogFile file_;
    std::jthread thread_;
};
