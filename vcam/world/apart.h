// A life in a process of its own, since a process has room for one world.
#pragma once

#include "base/unique_fd.h"
#include "vcam/world/life.h"

#include <sys/types.h>

#include <functional>

class LifeProcess {
public:
    // Lives from now on, beside this process, on the `place`-th of its processors.
    explicit LifeProcess(const std::function<LifeReport()> &life, unsigned place = 0);
    LifeProcess(const LifeProcess &) = delete;
    LifeProcess &operator=(const LifeProcess &) = delete;
    // Ends it, if it has not ended.
    ~LifeProcess();

    // Readable when it has ended.
    int fd() const { return result_.get(); }

    // Waits for its end. Throws a CameraError with the reason when it could not be lived.
    LifeReport report();

private:
    UniqueFd result_;
    pid_t pid_ = 0;
};
