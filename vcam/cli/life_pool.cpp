#include "vcam/cli/life_pool.h"

#include "vcam/camera/text_file.h"
#include "vcam/world/end_request.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace fs = std::filesystem;

namespace {

fs::path temporaryDirectory() {
    std::string name = (fs::temp_directory_path() / "vcam-lives-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        failAt("cannot make", name);
    }
    return name;
}

} // namespace

LifePool::LifePool(const Target &target, const LifeOptions &options)
    : target_(target), options_(options), root_(temporaryDirectory()),
      processors_(static_cast<std::size_t>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)))) {}

LifePool::~LifePool() {
    running_.clear();
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

unsigned LifePool::freePlace() const {
    unsigned place = 0;
    while (std::any_of(running_.begin(), running_.end(),
                       [&](const Running &one) { return one.place == place; })) {
        ++place;
    }
    return place;
}

std::unique_ptr<LifeProcess> LifePool::start(const std::function<Scenario()> &make,
                                             unsigned place) const {
    const auto live = [&] {
        const CameraDir dir((root_ / std::to_string(place)).string());
        return lived(dir, target_, make(), options_);
    };
    return std::make_unique<LifeProcess>(live, place);
}

LifeReport LifePool::liveOne(const Scenario &scenario) {
    return start([&] { return scenario; }, freePlace())->report();
}

void LifePool::begin(std::uint64_t number, const std::function<Scenario()> &make) {
    const unsigned place = freePlace();
    std::unique_ptr<LifeProcess> process = start(make, place);
    running_.push_back({number, place, std::move(process)});
}

void LifePool::finishOne(const Take &take) {
    std::vector<pollfd> ends;
    for (const Running &one : running_) {
        ends.push_back({one.process->fd(), POLLIN, 0});
    }
    while (poll(ends.data(), ends.size(), -1) < 0) {
        throwIfEndIsAskedFor();
    }
    const auto ended =
        std::find_if(ends.begin(), ends.end(), [](const pollfd &end) { return end.revents != 0; });
    const auto place = running_.begin() + (ended - ends.begin());
    const Running one = std::move(*place);
    running_.erase(place);
    const LifeReport report = one.process->report();
    throwIfEndIsAskedFor();
    take(one.number, report);
}

void LifePool::liveAll(const std::vector<Wish> &wishes, const Take &take) {
    for (const Wish &wish : wishes) {
        begin(wish.number, [&] { return wish.scenario; });
        if (!hasRoom()) {
            finishOne(take);
        }
    }
    while (!isIdle()) {
        finishOne(take);
    }
}
