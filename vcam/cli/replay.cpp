#include "vcam/cli/lives.h"

#include "vcam/board/command_words.h"
#include "vcam/trace/command_names.h"
#include "vcam/world/end_request.h"
#include "vcam/world/life_log.h"
#include "vcam/world/replay_world.h"
#include "vcam/world/trace_scenario.h"

#include <cstdio>
#include <iostream>

namespace {

std::string wordAt(std::span<const std::uint8_t> record, std::size_t at) {
    return at < record.size()
               ? hexadecimal(record.data() + at, std::min<std::size_t>(4, record.size() - at))
               : "-";
}

// Two records word by word; what differs is marked.
void printRecords(std::uint32_t command, std::span<const std::uint8_t> recorded,
                  std::span<const std::uint8_t> issued) {
    std::printf("  %8s  %-10s %-10s\n", "byte", "recorded", "now");
    for (std::size_t at = 0; at < std::max(recorded.size(), issued.size()); at += 4) {
        const std::string before = wordAt(recorded, at);
        const std::string now = wordAt(issued, at);
        const bool isOwn = isCallersAddress(command, at / 4) || isAboutMemory(command);
        std::printf("  %8zu  %-10s %-10s %s\n", at, before.c_str(), now.c_str(),
                    before == now ? ""
                    : isOwn       ? "(an address)"
                                  : "<--");
    }
}

void printDifference(const TraceLife &life, const ReplayReport &report) {
    std::printf("vcam: the first difference is at command %llu of %llu",
                static_cast<unsigned long long>(report.differsAt),
                static_cast<unsigned long long>(report.recorded));
    if (report.differsAt > report.recorded) {
        std::printf(", %s: it was not issued then\n", commandName(report.command).c_str());
        return;
    }
    const TraceRecord &recorded = *life.commands()[report.differsAt - 1];
    std::printf(", %s s, %s", shownMoment(TraceLife::timeOf(recorded)).c_str(),
                commandName(recorded.call.argument).c_str());
    if (report.issued < report.differsAt) {
        std::printf(": the daemon has ended without it\n");
    } else if (report.command != recorded.call.argument) {
        std::printf(": now it is %s\n", commandName(report.command).c_str());
    } else if (report.hasOtherPeriod) {
        std::printf(": another period is handed over\n");
    } else {
        std::printf("\n");
        printRecords(
            report.command, commandOf(recorded).before,
            {reinterpret_cast<const std::uint8_t *>(report.record.data()), report.record.size()});
    }
    for (const std::string &line : report.lines) {
        std::printf("  voxo: %s\n", line.c_str());
    }
}

} // namespace

int replay(const CameraDir &dir, const Target &target, const ReplayOptions &options) {
    heedEndRequests();
    const TraceLife life(options.trace);
    if (!options.scenario.empty()) {
        const std::filesystem::path file = std::filesystem::absolute(options.scenario);
        std::filesystem::create_directories(file.parent_path());
        writeScenario(scenarioOf(life, file.parent_path()), file);
        std::cout << "vcam: written to " << options.scenario << std::endl;
        return 0;
    }
    const ReplayReport report = ReplayWorld(dir, target, life, options.config).replay();
    if (report.differsAt != 0) {
        printDifference(life, report);
        return 1;
    }
    std::cout << "vcam: " << report.issued << " driver commands, 0 differences"
              << (life.isWhole() ? "" : " up to where the trace ends, before the daemon does")
              << std::endl;
    return 0;
}
