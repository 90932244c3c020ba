// A trace's file, record by record.
#pragma once

#include "vcam/trace/trace_format.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct TraceRecord {
    TraceHeader header = {};
    TraceCall call;
    std::vector<std::uint8_t> data;

    TraceKind kind() const { return static_cast<TraceKind>(header.kind); }
    bool isCut() const { return (header.flags & traceIsCut) != 0; }
    std::string text() const { return {data.begin(), data.end()}; }
};

// A driver command's data, parted.
struct TraceCommand {
    std::span<const std::uint8_t> before;
    std::span<const std::uint8_t> after;
    std::span<const std::uint8_t> sides[2]; // of a period that the driver has taken, or empty
};

class TraceReader {
public:
    // Opens the file. Throws CameraError when it is no trace.
    explicit TraceReader(const std::filesystem::path &file);

    // The next record, or none at the end. Throws CameraError, which names the byte, when the file
    // is damaged there.
    std::optional<TraceRecord> next();

    std::uint32_t pointerSize() const { return head_.pointerSize; }

    // Bytes that have been read, and bytes at the end of a record that was not written to its end.
    std::uint64_t position() const { return position_; }
    std::uint64_t cutBytes() const { return cutBytes_; }

private:
    [[noreturn]] void refuse(const std::string &reason) const;
    void check(const TraceHeader &header) const;
    void check(const TraceRecord &record) const;
    bool endsBefore(std::size_t size) const;

    std::filesystem::path path_;
    std::ifstream in_;
    TraceFileHead head_ = {};
    std::uint64_t size_ = 0;
    std::uint64_t position_ = 0;
    std::uint64_t cutBytes_ = 0;
};

// Parts the data of a command's record that a reader has given out.
TraceCommand commandOf(const TraceRecord &record);
