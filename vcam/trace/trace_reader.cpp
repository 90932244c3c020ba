#include "vcam/trace/trace_reader.h"

#include "vcam/camera/camera.h"

#include <cstring>

TraceReader::TraceReader(const std::filesystem::path &file)
    : path_(file), in_(file, std::ios::binary | std::ios::ate) {
    if (!in_ || !std::filesystem::is_regular_file(file)) {
        throw CameraError("cannot read " + file.string());
    }
    size_ = static_cast<std::uint64_t>(in_.tellg());
    in_.seekg(0);
    if (endsBefore(sizeof head_)) {
        refuse("no trace begins there");
    }
    in_.read(reinterpret_cast<char *>(&head_), sizeof head_);
    if (std::memcmp(head_.magic, traceMagic, sizeof traceMagic) != 0) {
        refuse("no trace begins there");
    }
    position_ = offsetof(TraceFileHead, pointerSize);
    if (head_.pointerSize != 4 && head_.pointerSize != 8) {
        refuse("no processor has pointers of " + std::to_string(head_.pointerSize) + " bytes");
    }
    position_ = offsetof(TraceFileHead, reserved);
    if (head_.reserved != 0) {
        refuse("a word that should be 0 is not");
    }
    position_ = sizeof head_;
}

std::optional<TraceRecord> TraceReader::next() {
    TraceRecord record;
    if (endsBefore(sizeof record.header)) {
        cutBytes_ = size_ - position_;
        return std::nullopt;
    }
    in_.read(reinterpret_cast<char *>(&record.header), sizeof record.header);
    check(record.header);
    const std::size_t whole = sizeof record.header + record.header.size;
    if (endsBefore(whole)) {
        cutBytes_ = size_ - position_;
        return std::nullopt;
    }
    record.data.resize(record.header.size - sizeof record.call);
    in_.read(reinterpret_cast<char *>(&record.call), sizeof record.call);
    in_.read(reinterpret_cast<char *>(record.data.data()),
             static_cast<std::streamsize>(record.data.size()));
    if (!in_) {
        refuse("it cannot be read");
    }
    check(record);
    position_ += whole;
    return record;
}

void TraceReader::refuse(const std::string &reason) const {
    throw CameraError(path_.string() + " is damaged at byte " + std::to_string(position_) + ": " +
                      reason);
}

bool TraceReader::endsBefore(std::size_t size) const {
    return size_ - position_ < size;
}

void TraceReader::check(const TraceHeader &header) const {
    if (header.kind == 0 || header.kind >= traceKindEnd) {
        refuse("there is no kind of record " + std::to_string(header.kind));
    }
    if ((header.flags & ~traceIsCut) != 0) {
        refuse("a record has flags " + std::to_string(header.flags));
    }
    if (header.size < sizeof(TraceCall) || header.size > sizeof(TraceCall) + traceDataLimit) {
        refuse("a record cannot have " + std::to_string(header.size) + " bytes");
    }
}

void TraceReader::check(const TraceRecord &record) const {
    const std::size_t size = record.data.size();
    if (record.isCut() ? record.call.whole <= size : record.call.whole != size) {
        refuse("a record has " + std::to_string(size) + " bytes of data that says " +
               std::to_string(record.call.whole));
    }
    if (record.kind() == TraceKind::command && size > 0 &&
        size < 2 * commandRecordSize(record.call.argument)) {
        refuse("a command's records are longer than its " + std::to_string(size) + " bytes");
    }
}

TraceCommand commandOf(const TraceRecord &record) {
    const std::span<const std::uint8_t> data = record.data;
    const std::size_t size = data.empty() ? 0 : commandRecordSize(record.call.argument);
    const std::span<const std::uint8_t> period = data.subspan(2 * size);
    // The second word of a period's record says whether there are two sides.
    const bool isStereo = size > sizeof(std::uint32_t) && data[sizeof(std::uint32_t)] != 0;
    const std::size_t side = period.size() / (isStereo ? 2 : 1);
    return {data.first(size), data.subspan(size, size), {period.first(side), period.subspan(side)}};
}
