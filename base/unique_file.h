// A standard stream that closes itself.
#pragma once

#include <cstdio>
#include <memory>

struct FileCloser {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

// Owns one open stream, or none.
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;
