#include "vcam/world/trace_life.h"

#include "vcam/board/answers.h"
#include "vcam/camera/camera.h"
#include "vcam/camera/camera_paths.h"
#include "vcam/camera/text_file.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <span>

namespace fs = std::filesystem;

namespace {

constexpr Moment afterLife = nanosecondsPerSecond;
constexpr char twoWayKey[] = "status_onlinenum_sip";

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
    const std::string whole{std::istreambuf_iterator<char>(in), {}};
    if (!whole.starts_with(beginning)) {
        throw CameraError(
            "the trace holds only the first " + std::to_string(beginning.size()) + " bytes of " +
            path + ", and it is not on this PC (VOXO_TRACE_CLIP=BYTES takes more of a clip)");
    }
    return whole;
}

const char *nameOfSignal(std::uint32_t signal) {
    switch (signal) {
    case SIGTERM:
        return "TERM";
    case SIGINT:
        return "INT";
    default:
        return "HUP";
    }
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

Scenario TraceLife::scenario(const fs::path &directory) const {
    Scenario scenario;
    scenario.about = "A recorded life.";
    std::string talk = "off";
    bool isAsked = false;
    int files = 0;
    const auto add = [&](const TraceRecord &record, const std::string &verb,
                         const std::string &object) -> Step & {
        return scenario.steps.emplace_back(Step{timeOf(record), verb, object, {}});
    };
    for (std::size_t i = 0; i < records_.size(); ++i) {
        const TraceRecord &record = records_[i];
        const std::string bytes = hexadecimal(record.data.data(), record.data.size());
        switch (record.kind()) {
        case TraceKind::datagram:
            if (record.call.result >= 0) {
                add(record, "record", bytes);
            }
            break;
        case TraceKind::message:
            if (record.call.result > 0) {
                add(record, "bytes", bytes);
            }
            break;
        case TraceKind::signal:
            add(record, "signal", nameOfSignal(record.call.argument));
            break;
        case TraceKind::request:
            isAsked = record.text().find(twoWayKey) != std::string::npos;
            break;
        case TraceKind::reply: {
            const std::string now = std::atoi(record.text().c_str()) == 1 ? "on" : "off";
            if (isAsked && record.call.result > 0 && now != talk) {
                // Before the question: what was read last is what brought it.
                scenario.steps.insert(scenario.steps.end() - 1,
                                      {timeOf(record), "talk", talk = now, {}});
            }
            break;
        }
        case TraceKind::open:
            if (opensFile(record) && record.call.result >= 0) {
                const fs::path file = directory / ("file-" + std::to_string(++files));
                writeFile(file, contentsOf(i));
                add(record, "file", record.text()).options["from"] = file.filename().string();
            }
            break;
        default:
            break;
        }
    }
    scenario.until = timeOf(records_.back()) + afterLife;
    return scenario;
}
