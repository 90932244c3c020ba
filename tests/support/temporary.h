// Files of a test's own, gone with their objects.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// Where they lie. A shell removes it when this process and all that it has started are gone, so
// that nothing is left of tests that are interrupted or killed either.
inline const std::string &temporaryRoot() {
    static const std::string root = [] {
        char name[] = "/tmp/a test's: longer than 40, and with blanks; XXXXXX";
        int ends[2] = {};
        if (mkdtemp(name) == nullptr || pipe(ends) != 0) {
            std::abort();
        }
        if (fork() == 0) {
            setsid();
            dup2(ends[0], STDIN_FILENO);
            close(ends[1]);
            execl("/bin/sh", "sh", "-c", "exec >/dev/null 2>&1; cat; rm -rf \"$0\"", name, nullptr);
            _exit(1);
        }
        close(ends[0]);
        return std::string(name);
    }();
    return root;
}

class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name = temporaryRoot() + "/XXXXXX";
        path_ = mkdtemp(name.data());
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
