#include "vcam/world/holdings.h"

#include "vcam/camera/camera.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

// A field of a file of /proc that has lines LABEL VALUE.
std::uint64_t fieldOf(const std::filesystem::path &file, const std::string &label) {
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(label)) {
            return std::stoull(line.substr(label.size()));
        }
    }
    throw CameraError("no " + label + " in " + file.string());
}

} // namespace

Holdings holdingsOf(pid_t pid) {
    const std::filesystem::path process = "/proc/" + std::to_string(pid);
    Holdings result;
    result.kilobytes = fieldOf(process / "smaps_rollup", "Anonymous:");
    for ([[maybe_unused]] const auto &fd : std::filesystem::directory_iterator(process / "fd")) {
        ++result.descriptors;
    }
    std::ifstream maps(process / "maps");
    for (std::string line; std::getline(maps, line);) {
        result.segments += line.find("/SYSV") != std::string::npos ? 1 : 0;
    }
    return result;
}

Holdings leastOf(const std::deque<Holdings> &looks) {
    Holdings least = looks.front();
    for (const Holdings &look : looks) {
        least.kilobytes = std::min(least.kilobytes, look.kilobytes);
        least.descriptors = std::min(least.descriptors, look.descriptors);
        least.segments = std::min(least.segments, look.segments);
    }
    return least;
}
