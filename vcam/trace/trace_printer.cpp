#include "vcam/trace/trace_printer.h"

#include "vcam/trace/command_names.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iomanip>
#include <sstream>

namespace {

constexpr std::uint64_t microsecond = 1000; // in nanoseconds
constexpr std::uint64_t millisecond = 1'000'000;
constexpr std::uint64_t second = 1'000'000'000;
constexpr std::size_t shownText = 60; // characters of a message
constexpr int timeWidth = 12;
constexpr int kindWidth = 12;
constexpr int countWidth = 10;

// Text of the daemon's or of others, with what is no letter spelt out.
std::string inQuotes(const std::string &text) {
    std::ostringstream out;
    out << '"' << std::hex << std::setfill('0');
    for (const char c : text.substr(0, shownText)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            out << "\\n";
        } else if (byte < ' ' || byte > '~') {
            out << "\\x" << std::setw(2) << +byte;
        } else {
            out << c;
        }
    }
    out << '"' << (text.size() > shownText ? "..." : "");
    return out.str();
}

std::string resultOf(const TraceRecord &record) {
    const TraceCall &call = record.call;
    std::string text = " -> " + std::to_string(call.result);
    if (call.error != 0) {
        text += std::string(" (") + std::strerror(call.error) + ')';
    }
    return text;
}

std::string on(const TraceRecord &record) {
    return " on " + std::to_string(record.call.fd);
}

std::string took(const TraceRecord &record) {
    return ", " + std::to_string((record.call.duration + millisecond / 2) / millisecond) + " ms";
}

std::string quotedResult(const TraceRecord &record) {
    return ' ' + inQuotes(record.text()) + resultOf(record);
}

std::string bytesOf(const TraceRecord &record) {
    return on(record) + resultOf(record) + (record.call.result >= 0 ? " bytes" : "");
}

template <std::size_t count>
std::string nameIn(const std::array<const char *, count> &names, std::uint32_t number) {
    return number < count ? names[number] : "unknown " + std::to_string(number);
}

std::string describeStart(const TraceRecord &record) {
    std::string arguments = record.text();
    std::replace(arguments.begin(), arguments.end(), '\0', ' ');
    return "start of process " + std::to_string(record.call.result) + ": " + inQuotes(arguments);
}

std::string describeDetach(const TraceRecord &record) {
    return "daemon" + resultOf(record) + ", process " + std::to_string(record.call.argument);
}

std::string describeEnd(const TraceRecord &record) {
    std::string text = nameIn<3>({"end", "end at once", "end: the trace has reached its limit"},
                                 record.call.argument);
    if (static_cast<TraceEnd>(record.call.argument) == TraceEnd::atOnce) {
        text += ", status " + std::to_string(record.call.more);
    }
    if (record.call.result != 0) {
        text += ", " + std::to_string(record.call.result) + " records lost";
    }
    return text;
}

std::string describeOpen(const TraceRecord &record) {
    return "open" + quotedResult(record);
}

std::string describeOpenStream(const TraceRecord &record) {
    return "fopen" + quotedResult(record);
}

std::string describeLook(const TraceRecord &record) {
    return nameIn<2>({"access", "stat"}, record.call.argument) + quotedResult(record);
}

std::string describeClose(const TraceRecord &record) {
    return "close" + on(record) + resultOf(record);
}

std::string describeCommand(const TraceRecord &record) {
    const TraceCommand command = commandOf(record);
    std::string text = commandName(record.call.argument) + resultOf(record);
    if (!command.sides[0].empty()) {
        text += " (" + std::to_string(command.sides[0].size()) + " bytes a side)";
    }
    return text + (record.call.duration >= millisecond ? took(record) : "");
}

std::string describeMap(const TraceRecord &record) {
    return "map " + std::to_string(record.call.argument) + " bytes" + on(record) + resultOf(record);
}

std::string describeDeviceRead(const TraceRecord &record) {
    return "read of a driver" + bytesOf(record);
}

std::string describeBind(const TraceRecord &record) {
    return "bind" + on(record) + " to" + quotedResult(record);
}

std::string describeDatagram(const TraceRecord &record) {
    return "datagram" + bytesOf(record);
}

std::string describeMessage(const TraceRecord &record) {
    return "message" + bytesOf(record) + ' ' + inQuotes(record.text());
}

std::string describeConnect(const TraceRecord &record) {
    return "connect" + on(record) + " to" + quotedResult(record);
}

std::string describeRequest(const TraceRecord &record) {
    return "request" + quotedResult(record);
}

std::string describeReply(const TraceRecord &record) {
    return "reply" + quotedResult(record) + took(record);
}

std::string describeFileBytes(const TraceRecord &record) {
    return "file" + bytesOf(record) + " at " + std::to_string(record.call.more) +
           (static_cast<std::int64_t>(record.data.size()) < record.call.result
                ? ", " + std::to_string(record.data.size()) + " recorded"
                : "");
}

std::string describeWait(const TraceRecord &record) {
    const TraceCall &call = record.call;
    std::string text = nameIn<2>({"select", "poll"}, call.more);
    text += call.argument == traceForEver ? " without limit"
                                          : " up to " + std::to_string(call.argument) + " ms";
    text += resultOf(record);
    for (std::size_t i = 0; i + sizeof(std::int32_t) <= record.data.size();
         i += sizeof(std::int32_t)) {
        std::int32_t fd = 0;
        std::memcpy(&fd, record.data.data() + i, sizeof fd);
        text += (i == 0 ? ": " : " and ") + std::to_string(fd);
    }
    return text + took(record);
}

std::string describeSleep(const TraceRecord &record) {
    return nameIn<3>({"sleep", "usleep", "clock_nanosleep"}, record.call.more) + ' ' +
           std::to_string(record.call.argument * microsecond / millisecond) + " ms" +
           resultOf(record) + took(record);
}

std::string describeHandler(const TraceRecord &record) {
    return "signal " + std::to_string(record.call.argument) + " has " +
           nameIn<3>({"the standard effect", "no effect", "a handler"}, record.call.more) +
           resultOf(record);
}

std::string describeSignal(const TraceRecord &record) {
    const std::string sender =
        record.call.more != 0 ? " from process " + std::to_string(record.call.more) : "";
    return "signal " + std::to_string(record.call.argument) + sender;
}

std::string describeSnapshot(const TraceRecord &record) {
    const std::string about = record.call.fd >= 0 ? on(record) : "";
    return nameIn<5>({"semget", "semop", "shmget", "shmat", "shmctl"}, record.call.more) + about +
           resultOf(record) + (record.call.duration >= millisecond ? took(record) : "");
}

std::string describeSegment(const TraceRecord &record) {
    return "segment " + std::to_string(record.call.fd) + " holds " +
           std::to_string(record.call.whole) + " bytes";
}

struct Kind {
    const char *name;
    std::string (*describe)(const TraceRecord &);
};

// By TraceKind.
constexpr Kind kinds[] = {{"", nullptr},
                          {"start", describeStart},
                          {"detach", describeDetach},
                          {"end", describeEnd},
                          {"open", describeOpen},
                          {"fopen", describeOpenStream},
                          {"look", describeLook},
                          {"close", describeClose},
                          {"command", describeCommand},
                          {"map", describeMap},
                          {"device read", describeDeviceRead},
                          {"bind", describeBind},
                          {"datagram", describeDatagram},
                          {"message", describeMessage},
                          {"connect", describeConnect},
                          {"request", describeRequest},
                          {"reply", describeReply},
                          {"file", describeFileBytes},
                          {"wait", describeWait},
                          {"sleep", describeSleep},
                          {"handler", describeHandler},
                          {"signal", describeSignal},
                          {"snapshot", describeSnapshot},
                          {"segment", describeSegment}};
static_assert(std::size(kinds) == traceKindEnd);

std::string secondsOf(std::uint64_t time) {
    std::ostringstream text;
    text << std::setw(timeWidth - 7) << time / second << '.' << std::setw(6) << std::setfill('0')
         << time % second / microsecond;
    return text.str();
}

} // namespace

std::string describe(const TraceRecord &record) {
    return kinds[record.header.kind].describe(record) +
           (record.isCut() ? ", " + std::to_string(record.data.size()) + " bytes recorded" : "");
}

void TracePrinter::print(const TraceRecord &record) {
    Sum &sum = sums_[record.header.kind];
    ++sum.records;
    sum.bytes += sizeof record.header + record.header.size;
    time_ = std::max(time_, record.header.time);
    hasEnd_ = hasEnd_ || record.kind() == TraceKind::end;
    const std::string text = describe(record);
    if (text == last_) {
        ++repeats_;
        return;
    }
    endRun();
    out_ << secondsOf(record.header.time) << "  " << text << '\n';
    last_ = text;
}

void TracePrinter::finish(const TraceReader &reader) {
    endRun();
    Sum all;
    for (const Sum &sum : sums_) {
        all.records += sum.records;
        all.bytes += sum.bytes;
    }
    out_ << '\n'
         << secondsOf(time_) << " seconds, " << all.records << " records, " << all.bytes
         << " bytes, pointers of " << reader.pointerSize() << " bytes\n";
    for (std::size_t i = 0; i < std::size(sums_); ++i) {
        if (sums_[i].records > 0) {
            out_ << "  " << std::left << std::setw(kindWidth) << kinds[i].name << std::right
                 << std::setw(countWidth) << sums_[i].records << " records" << std::setw(countWidth)
                 << sums_[i].bytes << " bytes\n";
        }
    }
    if (reader.cutBytes() > 0) {
        out_ << "the last record is not whole: " << reader.cutBytes() << " bytes are left out\n";
    }
    if (!hasEnd_) {
        out_ << "no end was recorded: the process was ended by force, or there was no room\n";
    }
}

void TracePrinter::endRun() {
    if (repeats_ > 0) {
        out_ << std::string(timeWidth, ' ') << "  \u2026 " << repeats_ << " more\n";
    }
    repeats_ = 0;
}
