// Lines that come again and again, for who reads along.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <string>

// Passes a line on unless it is one of those last shown: a daemon that plays a clip says the same
// ten lines with every chunk. When something new comes, how many were left out is said first.
class LineFolder {
public:
    explicit LineFolder(std::function<void(const std::string &line)> show);

    void line(const std::string &text);
    // Says what has been left out so far.
    void flush();

private:
    std::function<void(const std::string &line)> show_;
    std::deque<std::string> recent_;
    std::size_t folded_ = 0;
};
