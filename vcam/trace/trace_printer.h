// A trace as lines of text.
#pragma once

#include "vcam/trace/trace_reader.h"

#include <cstdint>
#include <ostream>
#include <string>

// What a record tells, without its time.
std::string describe(const TraceRecord &record);

// Prints a line for each record, and one for each run of equal ones.
class TracePrinter {
public:
    explicit TracePrinter(std::ostream &out) : out_(out) {}

    void print(const TraceRecord &record);

    // Ends the lines, and sums up what the reader has read.
    void finish(const TraceReader &reader);

private:
    void endRun();

    std::ostream &out_;
    std::string last_;
    std::uint64_t repeats_ = 0;
    std::uint64_t time_ = 0; // of the latest record
    bool hasEnd_ = false;
    struct Sum {
        std::uint64_t records = 0;
        std::uint64_t bytes = 0;
    };
    Sum sums_[traceKindEnd];
};
