// What a WavSpeaker has played, read back from its files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

// Frames in all files so far.
std::int64_t recordedFrames(const std::filesystem::path &first);

struct Recording {
    int channels = 0; // 0: nothing has been played
    std::vector<std::int16_t> samples;
};

// What was played from `frame` on, across the files. The channels are those of the last file.
Recording recordedSince(const std::filesystem::path &first, std::int64_t frame);
