// Files of a test's own, gone with their objects.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TemporaryDirectory {
public:
    TemporaryDirectory() {
        char name[] = "/tmp/a test's: longer than 40, and with blanks; XXXXXX";
        path_ = mkdtemp(name);
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path &path() const { return path_; }

private:
    std::filesystem::path path_;
};

// A file with these contents.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string &contents) : path_(dir_.path() / "file") {
        std::ofstream(path_, std::ios::binary) << contents;
    }

    const char *path() const { return path_.c_str(); }

private:
    const TemporaryDirectory dir_;
    const std::string path_;
};

inline std::string contentsOf(const std::filesystem::path &file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}
