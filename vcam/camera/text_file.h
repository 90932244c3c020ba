// Small files of text, as a camera's processes leave them for each other.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

// Process id in a file, or none: no such file, no number in it.
std::optional<int> readPidFile(const std::filesystem::path &file);
// Throws when it cannot, as the next do.
void writePidFile(const std::filesystem::path &file, int pid);

void writeFile(const std::filesystem::path &path, const std::string &text);

// Throws a CameraError of what cannot be done at a path, and of errno.
[[noreturn]] void failAt(const std::string &what, const std::filesystem::path &path);
