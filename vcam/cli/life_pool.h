// Lives beside each other, one on each processor, in directories of their own that go in the end.
#pragma once

#include "vcam/camera/environment.h"
#include "vcam/world/apart.h"
#include "vcam/world/life.h"
#include "vcam/world/scenario.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

class LifePool {
public:
    explicit LifePool(const Target &target, const LifeOptions &options = {});
    LifePool(const LifePool &) = delete;
    LifePool &operator=(const LifePool &) = delete;
    ~LifePool();

    // Lives one scenario, and waits for it; also while others are lived.
    LifeReport liveOne(const Scenario &scenario);

    // Whether another life has a processor.
    bool hasRoom() const { return running_.size() < processors_; }
    bool isIdle() const { return running_.empty(); }

    // Begins to live what `make` makes, under a number.
    void begin(std::uint64_t number, const std::function<Scenario()> &make);

    // Waits for a life to end. `take` gets its number and what came of it.
    using Take = std::function<void(std::uint64_t number, const LifeReport &report)>;
    void finishOne(const Take &take);

    // Lives them all; `take` hears of them as they end.
    struct Wish {
        std::uint64_t number;
        Scenario scenario;
    };
    void liveAll(const std::vector<Wish> &wishes, const Take &take);

private:
    struct Running {
        std::uint64_t number;
        unsigned place; // of the processors, and the directory's number
        std::unique_ptr<LifeProcess> process;
    };

    std::unique_ptr<LifeProcess> start(const std::function<Scenario()> &make, unsigned place) const;
    unsigned freePlace() const;

    const Target &target_;
    const LifeOptions options_;
    std::filesystem::path root_;
    std::size_t processors_;
    std::vector<Running> running_;
};
