#include "vcam/cli/commands.h"

#include <algorithm>
#include <fstream>
#include <iostream>

namespace {

constexpr std::size_t timeWidth = 12; // "HH:MM:SS.mmm" at the start of a log line

} // namespace

int showLog(const CameraDir &dir) {
    std::ifstream log(dir.tesselLog());
    if (!log) {
        throw CameraError("no camera has run in " + dir.path().string());
    }
    // A clip that plays asks the same question with every chunk: a run of equal lines is shown
    // once.
    std::string shown;
    std::string last;
    std::size_t repeats = 0;
    const auto endRun = [&] {
        if (repeats > 0) {
            std::cout << std::string(timeWidth, ' ') << "  (" << repeats << " times more, until "
                      << last.substr(0, timeWidth) << ")\n";
        }
        repeats = 0;
    };
    for (std::string line; std::getline(log, line); last = line) {
        if (line.size() > timeWidth && shown == line.substr(timeWidth)) {
            ++repeats;
            continue;
        }
        endRun();
        std::cout << line << '\n';
        shown = line.substr(std::min(timeWidth, line.size()));
    }
    endRun();
    return 0;
}
