#include "vcam/cli/lives.h"

#include "vcam/camera/fault_name.h"
#include "vcam/cli/life_pool.h"
#include "vcam/world/end_request.h"
#include "vcam/world/life.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <map>
#include <set>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t never = 1'000'000; // issues that no life makes

// What of a line of the log is the same in each life.
std::string plain(std::string line) {
    const std::size_t text = line.find_first_not_of("0123456789. ");
    line.erase(0, text == std::string::npos ? line.size() : text);
    for (char &character : line) {
        character = character >= '0' && character <= '9' ? '#' : character;
    }
    return line;
}

Step failure(std::uint32_t code, std::uint32_t nth) {
    return {0, "fail", faultName(code), {{"nth", std::to_string(nth)}}};
}

class Sweep {
public:
    Sweep(const Target &target, const SweepOptions &options)
        : options_(options), scenario_(readScenario(options.scenario)),
          pool_(target, {.checksPromises = true, .tellsLines = true}) {}

    int run() {
        countIssues();
        row("call", "made", "tried", "went on", "ended", "first report");
        for (const std::uint32_t code : onRoad_) {
            tryEach(code);
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
        std::printf("vcam: %u failures in %.0f s, %u violations\n", tried_, seconds, violations_);
        return violations_ == 0 ? 0 : 1;
    }

private:
    // Lives without failures, which tells what is on the road and what is usually printed.
    void countIssues() {
        const std::vector<std::uint32_t> all = namedFaults();
        Scenario counted = scenario_;
        for (const std::uint32_t code : all) {
            counted.steps.insert(counted.steps.begin(), failure(code, never));
        }
        const LifeReport report = pool_.liveOne(counted);
        check("without failures", report);
        for (const std::string &line : report.daemonLines) {
            usual_.insert(plain(line));
        }
        for (std::size_t i = 0; i < all.size(); ++i) {
            const std::uint32_t left = report.faultsLeft[all.size() - 1 - i];
            const bool isWanted =
                options_.names.empty() || std::find(options_.names.begin(), options_.names.end(),
                                                    faultName(all[i])) != options_.names.end();
            if (left < never && isWanted) {
                onRoad_.push_back(all[i]);
                made_[all[i]] = never - left;
            }
        }
    }

    void tryEach(std::uint32_t code) {
        unsigned ended = 0;
        unsigned tries = 0;
        std::string first;
        const std::uint32_t most = std::min(made_[code], options_.most);
        std::vector<LifePool::Wish> wishes;
        for (std::uint32_t nth = 1; nth <= most; ++nth) {
            Scenario faulty = scenario_;
            faulty.steps.insert(faulty.steps.begin(), failure(code, nth));
            wishes.push_back({nth, std::move(faulty)});
        }
        pool_.liveAll(wishes, [&](std::uint64_t nth, const LifeReport &report) {
            check(faultName(code) + ", issue " + std::to_string(nth), report);
            ++tries;
            ended += report.hasEndedByItself ? 1 : 0;
            const std::string word = unusual(report);
            first = first.empty() ? word : first;
            if (report.hasEndedByItself && word.empty()) {
                complain(faultName(code) + ", issue " + std::to_string(nth) +
                         ": the daemon ended without a word");
            }
        });
        tried_ += tries;
        row(faultName(code), std::to_string(made_[code]), std::to_string(tries),
            std::to_string(tries - ended), std::to_string(ended), first);
    }

    // The first line that is not printed in a life without failures.
    std::string unusual(const LifeReport &report) const {
        const auto found =
            std::find_if(report.daemonLines.begin(), report.daemonLines.end(),
                         [&](const std::string &line) { return !usual_.contains(plain(line)); });
        return found != report.daemonLines.end() ? *found : "";
    }

    void check(const std::string &what, const LifeReport &report) {
        if (!report.failures.empty()) {
            complain(what + ": " + report.failures.front());
        }
    }

    void complain(const std::string &what) {
        ++violations_;
        std::cout << "vcam: " << what << std::endl;
    }

    static void row(const std::string &call, const std::string &made, const std::string &tried,
                    const std::string &wentOn, const std::string &ended,
                    const std::string &report) {
        std::printf("%-28s %7s %6s %8s %6s  %.70s\n", call.c_str(), made.c_str(), tried.c_str(),
                    wentOn.c_str(), ended.c_str(), report.c_str());
        std::fflush(stdout);
    }

    const SweepOptions &options_;
    Scenario scenario_;
    LifePool pool_;
    const Clock::time_point start_ = Clock::now();
    std::set<std::string> usual_;
    std::vector<std::uint32_t> onRoad_;
    std::map<std::uint32_t, std::uint32_t> made_;
    unsigned tried_ = 0;
    unsigned violations_ = 0;
};

} // namespace

int sweep(const Target &target, const SweepOptions &options) {
    heedEndRequests();
    return Sweep(target, options).run();
}
