// What was said and done in a life, line by line with its time, and digests of it.
#pragma once

#include "vcam/world/world.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

class LifeLog {
public:
    struct Line {
        Moment at;
        Voice voice;
        std::string text;
    };

    // Writes the lines to the file as they come; none: an empty path. `remembers`: they can be
    // looked for as well.
    LifeLog(const std::filesystem::path &file, bool remembers);

    void add(Moment at, Voice voice, const std::string &text);

    // The lines so far, if they are remembered.
    const std::vector<Line> &lines() const { return lines_; }

    // Of what one voice has said, with the times.
    std::uint64_t digest(Voice voice) const { return digests_[index(voice)].value(); }
    std::uint64_t count(Voice voice) const { return counts_[index(voice)]; }

private:
    static std::size_t index(Voice voice) { return static_cast<std::size_t>(voice); }

    std::ofstream out_;
    bool remembers_;
    std::vector<Line> lines_;
    std::array<Digest, 4> digests_;
    std::array<std::uint64_t, 4> counts_ = {};
};

// "     3.080000  " and who says it, as in the log.
std::string shownMoment(Moment at);
const char *nameOf(Voice voice);
