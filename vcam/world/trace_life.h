// A life as a trace tells it: in the order in which the daemon's calls returned.
#pragma once

#include "vcam/trace/trace_reader.h"
#include "vcam/world/virtual_clock.h"

#include <filesystem>
#include <string>
#include <vector>

class TraceLife {
public:
    // Reads the trace whole. Throws a CameraError when it is none, or tells of no life.
    explicit TraceLife(const std::filesystem::path &file);

    const std::vector<TraceRecord> &records() const { return records_; }
    std::size_t size() const { return records_.size(); }
    // Whether the trace goes on to the daemon's end: it may have met its limit, or the power's.
    bool isWhole() const;
    static Moment timeOf(const TraceRecord &record) { return record.header.time; }

    // The driver commands, in order.
    const std::vector<const TraceRecord *> &commands() const { return commands_; }

    // What drivers answered, as answers.h has it.
    std::string answers() const;

    // What was read of the file that a record opened, up to its closing.
    std::string contentsOf(std::size_t opened) const;

    // Whether a record opened a file that is neither device nor FIFO.
    static bool opensFile(const TraceRecord &record);

private:
    std::vector<TraceRecord> records_;
    std::vector<const TraceRecord *> commands_;
};
