#include "vcam/cli/lives.h"

#include "vcam/camera/text_file.h"
#include "vcam/world/apart.h"
#include "vcam/world/end_request.h"
#include "vcam/world/life.h"
#include "vcam/world/random_life.h"
#include "vcam/world/shrink.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

constexpr double progressEvery = 5; // seconds

// A directory that goes with all that is in it.
class TemporaryDir {
public:
    TemporaryDir() {
        std::string name = (fs::temp_directory_path() / "vcam-sim-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            failAt("cannot make", name);
        }
        path_ = name;
    }
    TemporaryDir(const TemporaryDir &) = delete;
    TemporaryDir &operator=(const TemporaryDir &) = delete;
    ~TemporaryDir() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    const fs::path &path() const { return path_; }

private:
    fs::path path_;
};

class Simulation {
public:
    Simulation(const Target &target, const SimOptions &options)
        : target_(target), options_(options) {}

    int run() {
        const auto processors = static_cast<unsigned>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)));
        std::uint64_t next = options_.firstSeed;
        while (next <= options_.lastSeed || !running_.empty()) {
            while (next <= options_.lastSeed && running_.size() < processors) {
                begin(next++);
            }
            finishOne();
            showProgress();
        }
        report();
        return violations_ == 0 ? 0 : 1;
    }

private:
    struct Running {
        std::uint64_t seed;
        unsigned place; // of the processors, and the directory's number
        std::unique_ptr<LifeProcess> process;
    };

    CameraDir directory(unsigned place) const {
        return CameraDir((root_.path() / std::to_string(place)).string());
    }

    LifeReport liveScenario(const Scenario &scenario, unsigned place) const {
        LifeProcess process([&] { return lived(directory(place), target_, scenario, {}); }, place);
        return process.report();
    }

    unsigned freePlace() const {
        unsigned place = 0;
        while (std::any_of(running_.begin(), running_.end(),
                           [&](const Running &one) { return one.place == place; })) {
            ++place;
        }
        return place;
    }

    void begin(std::uint64_t seed) {
        const unsigned place = freePlace();
        running_.push_back({seed, place, std::make_unique<LifeProcess>(
                                             [this, seed, place] {
                                                 const Scenario life =
                                                     randomLife(seed, options_.hours);
                                                 return lived(directory(place), target_, life, {});
                                             },
                                             place)});
    }

    void finishOne() {
        std::vector<pollfd> ends;
        for (const Running &one : running_) {
            ends.push_back({one.process->fd(), POLLIN, 0});
        }
        while (poll(ends.data(), ends.size(), -1) < 0) {
            throwIfEndIsAskedFor();
        }
        for (std::size_t i = 0; i < ends.size(); ++i) {
            if (ends[i].revents != 0) {
                const Running one = std::move(running_[i]);
                running_.erase(running_.begin() + static_cast<std::ptrdiff_t>(i));
                take(one.seed, one.process->report());
                return;
            }
        }
    }

    void take(std::uint64_t seed, const LifeReport &report) {
        throwIfEndIsAskedFor();
        ++lives_;
        lived_ += secondsOf(report.end);
        last_ = report;
        if (report.failures.empty()) {
            return;
        }
        ++violations_;
        std::cout << "vcam: seed " << seed << ", " << report.failures.front() << std::endl;
        if (options_.shrinks || !options_.keep.empty()) {
            keep(seed, report);
        }
    }

    void keep(std::uint64_t seed, const LifeReport &report) const {
        Scenario scenario = randomLife(seed, options_.hours);
        if (options_.shrinks) {
            const std::string kind = kindOfFailure(report.failures.front());
            const std::size_t steps = scenario.steps.size();
            const unsigned place = freePlace();
            scenario = shrunk(std::move(scenario), report.failedAt, [&](const Scenario &less) {
                throwIfEndIsAskedFor();
                const LifeReport again = liveScenario(less, place);
                return !again.failures.empty() && kindOfFailure(again.failures.front()) == kind;
            });
            std::cout << "vcam: seed " << seed << ", " << scenario.steps.size() << " of " << steps
                      << " events still show it\n";
        }
        const fs::path file =
            fs::path(options_.keep) / ("seed-" + std::to_string(seed) + ".yaml");
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
            std::cout << "vcam: " << lives_ << " of " << options_.lastSeed - options_.firstSeed + 1
                      << " lives, " << violations_ << " violations" << std::endl;
        }
    }

    void report() const {
        const double wall = std::chrono::duration<double>(Clock::now() - start_).count();
        if (lives_ == 1) {
            printLife(last_, wall);
        }
        std::cout << "vcam: " << lives_ << (lives_ == 1 ? " life" : " lives") << " of "
                  << options_.hours << " h, " << static_cast<std::uint64_t>(lived_ / wall)
                  << " times faster than the clock, " << violations_ << " violations" << std::endl;
    }

    const Target &target_;
    const SimOptions &options_;
    const TemporaryDir root_;
    const Clock::time_point start_ = Clock::now();
    double nextLine_ = progressEvery;
    std::vector<Running> running_;
    std::uint64_t lives_ = 0;
    std::uint64_t violations_ = 0;
    double lived_ = 0;
    LifeReport last_;
};

} // namespace

int sim(const Target &target, const SimOptions &options) {
    heedEndRequests();
    return Simulation(target, options).run();
}
