#include "vcam/cli/lives.h"

#include "vcam/cli/life_pool.h"
#include "vcam/world/end_request.h"
#include "vcam/world/life.h"
#include "vcam/world/random_life.h"
#include "vcam/world/shrink.h"

#include <chrono>
#include <filesystem>
#include <iostream>
#include <map>
#include <utility>

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

constexpr double progressEvery = 5; // seconds

class Simulation {
public:
    Simulation(const Target &target, const SimOptions &options)
        : options_(options), pool_(target) {}

    int run() {
        std::uint64_t next = 0;
        const std::uint64_t all = lifeCount();
        while (next < all || !pool_.isIdle()) {
            while (next < all && pool_.hasRoom()) {
                const std::uint64_t seed = options_.firstSeed + next++ / options_.repeat;
                pool_.begin(seed, [&, seed] { return randomLife(seed, options_.hours); });
            }
            pool_.finishOne(
                [this](std::uint64_t seed, const LifeReport &report) { take(seed, report); });
            showProgress();
        }
        report();
        return violations_ == 0 ? 0 : 1;
    }

private:
    std::uint64_t lifeCount() const {
        return (options_.lastSeed - options_.firstSeed + 1) * options_.repeat;
    }

    void take(std::uint64_t seed, const LifeReport &report) {
        ++lives_;
        lived_ += secondsOf(report.end);
        const LifeReport &first = firsts_.try_emplace(seed, report).first->second;
        if (!report.failures.empty()) {
            ++violations_;
            std::cout << "vcam: seed " << seed << ", " << report.failures.front() << std::endl;
            if (options_.shrinks || !options_.keep.empty()) {
                keep(seed, scenarioOf(seed, report));
            }
        } else if (!report.isLike(first)) {
            ++violations_;
            std::cout << "vcam: seed " << seed << ", two lives of it are not alike" << std::endl;
            if (!options_.keep.empty()) {
                keep(seed, randomLife(seed, options_.hours));
            }
        }
    }

    // The life that breaks a promise, shrunk if wanted.
    Scenario scenarioOf(std::uint64_t seed, const LifeReport &report) {
        Scenario scenario = randomLife(seed, options_.hours);
        if (options_.shrinks) {
            const std::string kind = kindOfFailure(report.failures.front());
            const std::size_t steps = scenario.steps.size();
            scenario = shrunk(std::move(scenario), report.failedAt, [&](const Scenario &less) {
                throwIfEndIsAskedFor();
                const LifeReport again = pool_.liveOne(less);
                return !again.failures.empty() && kindOfFailure(again.failures.front()) == kind;
            });
            std::cout << "vcam: seed " << seed << ", " << scenario.steps.size() << " of " << steps
                      << " events still show it\n";
        }
        return scenario;
    }

    void keep(std::uint64_t seed, const Scenario &scenario) const {
        const fs::path file = fs::path(options_.keep) / ("seed-" + std::to_string(seed) + ".yaml");
        if (options_.keep.empty()) {
            std::cout << shownScenario(scenario);
        } else {
            fs::create_directories(options_.keep);
            writeScenario(scenario, file);
            std::cout << "vcam: kept in " << file.string() << std::endl;
        }
    }

    void showProgress() {
        const double now = std::chrono::duration<double>(Clock::now() - start_).count();
        if (now >= nextLine_) {
            nextLine_ = now + progressEvery;
            std::cout << "vcam: " << lives_ << " of " << lifeCount() << " lives, " << violations_
                      << " violations" << std::endl;
        }
    }

    void report() const {
        const double wall = std::chrono::duration<double>(Clock::now() - start_).count();
        if (firsts_.size() == 1) {
            printLife(firsts_.begin()->second, wall);
        }
        std::cout << "vcam: " << lives_ << (lives_ == 1 ? " life" : " lives") << " of "
                  << options_.hours << " h, " << static_cast<std::uint64_t>(lived_ / wall)
                  << " times faster than the clock, " << violations_ << " violations" << std::endl;
    }

    const SimOptions &options_;
    LifePool pool_;
    const Clock::time_point start_ = Clock::now();
    double nextLine_ = progressEvery;
    std::uint64_t lives_ = 0;
    std::uint64_t violations_ = 0;
    double lived_ = 0;
    std::map<std::uint64_t, LifeReport> firsts_; // of each seed
};

} // namespace

int sim(const Target &target, const SimOptions &options) {
    heedEndRequests();
    return Simulation(target, options).run();
}
