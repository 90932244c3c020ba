#include "vcam/world/trace_life.h"

#include "vcam/board/answers.h"
#include "vcam/camera/camera.h"
#include "vcam/camera/camera_paths.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <span>

namespace fs = std::filesystem;

namespace {

// Appends bytes behind what there is, and returns where.
std::uint32_t append(std::string &bytes, std::span<const std::uint8_t> more) {
    const std::size_t offset = bytes.size();
    bytes.append(more.begin(), more.end());
    return static_cast<std::uint32_t>(offset);
}

Answer answerOf(const TraceRecord &record, std::string &bytes) {
    const TraceCommand command = commandOf(record);
    Answer answer = {};
    answer.command = record.call.argument;
    answer.result = record.call.result;
    answer.error = record.call.error;
    answer.size = static_cast<std::uint32_t>(command.before.size());
    answer.before = append(bytes, command.before);
    answer.after = append(bytes, command.after);
    answer.sideSize = static_cast<std::uint32_t>(command.sides[0].size());
    for (std::size_t i = 0; i < 2; ++i) {
        answer.sides[i] = command.sides[i].empty() ? 0 : append(bytes, command.sides[i]);
    }
    return answer;
}

// A file of which a trace holds the beginning only, if it is on this PC as well.
std::string completed(const std::string &beginning, const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::string whole{std::istreambuf_iterator<char>(in), {}};
    if (!whole.starts_with(beginning)) {
        throw CameraError(
            "the trace holds only the first " + std::to_string(beginning.size()) + " bytes of " +
            path + ", and it is not on this PC (VOXO_TRACE_CLIP=BYTES takes more of a clip)");
    }
    return whole;
}

} // namespace

TraceLife::TraceLife(const fs::path &file) {
    TraceReader reader(file);
    while (std::optional<TraceRecord> record = reader.next()) {
        records_.push_back(*std::move(record));
    }
    for (const TraceRecord &record : records_) {
        if (record.kind() == TraceKind::command) {
            commands_.push_back(&record);
        }
    }
    if (records_.empty() || records_.front().kind() != TraceKind::start) {
        throw CameraError(file.string() + " does not begin with a daemon's start");
    }
}

bool TraceLife::isWhole() const {
    const TraceRecord &last = records_.back();
    return last.kind() == TraceKind::end &&
           static_cast<TraceEnd>(last.call.argument) != TraceEnd::limit;
}

std::string TraceLife::answers() const {
    const AnswersHead head = {static_cast<std::uint32_t>(commands_.size())};
    std::string bytes(sizeof head + commands_.size() * sizeof(Answer), '\0');
    std::memcpy(bytes.data(), &head, sizeof head);
    for (std::size_t i = 0; i < commands_.size(); ++i) {
        const Answer answer = answerOf(*commands_[i], bytes);
        std::memcpy(bytes.data() + sizeof head + i * sizeof answer, &answer, sizeof answer);
    }
    return bytes;
}

bool TraceLife::opensFile(const TraceRecord &record) {
    const std::string path = record.text();
    return record.kind() == TraceKind::open && record.call.more == 0 && path != controlFifoPath &&
           !path.starts_with("/dev/") && path.starts_with('/');
}

std::string TraceLife::contentsOf(std::size_t opened) const {
    const int fd = records_[opened].call.result;
    std::string contents;
    std::size_t whole = 0;
    for (std::size_t i = opened + 1; i < records_.size(); ++i) {
        const TraceRecord &record = records_[i];
        if (record.kind() == TraceKind::close && record.call.fd == fd) {
            break;
        }
        if (record.kind() == TraceKind::fileBytes && record.call.fd == fd) {
            const std::size_t offset = record.call.more;
            whole =
                std::max(whole, offset + static_cast<std::size_t>(std::max(record.call.result, 0)));
            if (!record.data.empty()) {
                contents.resize(std::max(contents.size(), offset + record.data.size()));
                contents.replace(offset, record.data.size(), record.text());
            }
        }
    }
    return contents.size() < whole ? completed(contents, records_[opened].text()) : contents;
}
