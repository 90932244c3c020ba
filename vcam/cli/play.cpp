#include "vcam/cli/lives.h"

#include "vcam/world/life.h"

#include <chrono>
#include <cstdio>
#include <iomanip>
#include <iostream>

namespace {

using Clock = std::chrono::steady_clock;

template <typename Value>
void row(const char *label, const Value &value) {
    std::cout << "  " << std::left << std::setw(34) << label << std::right << std::setw(18) << value
              << '\n';
}

std::string hexadecimal(std::uint64_t number) {
    char text[20];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(number));
    return text;
}

std::string rounded(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.2f", number);
    return text;
}

void printFailures(const LifeReport &report) {
    for (const std::string &failure : report.failures) {
        std::cerr << "vcam: " << failure << '\n';
    }
}

} // namespace

void printLife(const LifeReport &report, double wallSeconds) {
    const double lived = secondsOf(report.end);
    row("seconds lived", rounded(lived));
    row("seconds it took", rounded(wallSeconds));
    row("times faster", static_cast<std::uint64_t>(lived / wallSeconds));
    row("records", report.records);
    row("periods heard", report.periods);
    row("underruns", report.underruns);
    row("lines printed and logged", report.lines);
    row("requests to the settings daemon", report.requestCount);
    row("driver commands", report.commandCount);
    row("digest of the log", hexadecimal(report.log));
    row("digest of the requests", hexadecimal(report.requests));
    row("digest of the driver commands", hexadecimal(report.commands));
    row("digest of the sound", hexadecimal(report.sound));
}

int play(const CameraDir &dir, const Target &target, const PlayOptions &options) {
    const Scenario scenario = readScenario(options.scenario);
    std::cout << "vcam: " << scenario.about << std::endl;
    bool isGood = true;
    LifeReport first;
    for (unsigned round = 1; round <= options.repeat; ++round) {
        const Clock::time_point start = Clock::now();
        const LifeReport report = live(dir, target, scenario, {.isKept = round == 1});
        if (round == 1) {
            first = report;
            printLife(report, std::chrono::duration<double>(Clock::now() - start).count());
            printFailures(report);
            isGood = report.failures.empty();
        } else if (!report.isLike(first)) {
            std::cerr << "vcam: life " << round << " is another one than the first\n";
            isGood = false;
        }
    }
    if (options.repeat > 1 && isGood) {
        std::cout << "vcam: " << options.repeat << " lives, the same to the byte\n";
    }
    std::cout << "vcam: " << dir.speakerFile().string() << ", "
              << (dir.path() / "life.log").string() << std::endl;
    return isGood ? 0 : 1;
}
