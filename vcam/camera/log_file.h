// A text file of the camera that grows line by line.
#pragma once

#include "base/unique_fd.h"

#include <cstddef>
#include <filesystem>
#include <string>

// A line that cannot be written, for want of room, is left out as a whole; the user is told of the
// first of a run, and the file of their number when there is room again.
class LogFile {
public:
    // Begins the file anew. Throws when it cannot.
    explicit LogFile(std::filesystem::path path);

    void line(const std::string &text);

private:
    bool write(const std::string &bytes);

    std::filesystem::path path_;
    UniqueFd fd_;
    std::size_t lost_ = 0;
};
