// The circular buffers against queues: whatever the frames' sizes, the attributes, the driver's
// moods, clears and re-enables, the driver is handed every byte that was stored, once and in order,
// and the sub-channels do not part, also when the attributes can no longer be read.
#pragma once

#include "tests/mpp/mpp_fixture.h"

#include <climits>
#include <functional>

// Takes the driver's place for periods and attributes; the device is enabled.
class AoModel {
public:
    // `below` chooses a number below its argument.
    explicit AoModel(std::function<std::uint32_t(std::uint32_t)> below) : below_(std::move(below)) {
        device().keepsCalls = false;
        device().answer(driverCommand::aoSend, [this](void *record) { return take(record); });
        device().answer(driverCommand::aoGetAttr,
                        [this](void *record) { return tellAttributes(record); });
        reconfigure();
    }

    // Sends a frame; now and then, changes all that can be changed before.
    void step() {
        if (below_(50) == 1) {
            reconfigure();
        }
        const std::uint32_t length = std::max(1U, below_(MAX_AO_POINT_NUM + 1)) << width_;
        TestFrame frame(length, subChannels_ - 1, width_, below_(256));
        readsLeft_ = below_(20) == 1 ? static_cast<int>(below_(10)) : INT_MAX;
        const std::int32_t result = HI_MPI_AO_SendFrame(0, 0, &frame.frame, 0);
        const bool hasFailed = readsLeft_ < 0;
        readsLeft_ = INT_MAX;
        const bool fits = AO_CIRCLE_SIZE - waiting() >= length;
        const std::int32_t expected = fits ? 0 : err(0xA016800F);
        mistakes_ += result == expected || (hasFailed && result == err(0xA0168007)) ? 0 : 1;
        if (result == 0) {
            stored_[0].erase(stored_[0].begin(), stored_[0].begin() + handed_);
            stored_[1].erase(stored_[1].begin(), stored_[1].begin() + handed_);
            handed_ = 0;
            stored_[0].insert(stored_[0].end(), frame.left.begin(), frame.left.end());
            stored_[1].insert(stored_[1].end(), frame.right.begin(), frame.right.end());
        }
    }

    int taken() const { return taken_; }
    int mistakes() const { return mistakes_; }

private:
    void reconfigure() {
        width_ = below_(3);
        subChannels_ = 1 + below_(2);
        period_ = ((AO_PERIOD_MAX >> width_) - below_(AO_PERIOD_MAX >> width_)) << width_;
        attr_ = {8000, width_, 0, subChannels_ - 1, 1, 30, period_ >> width_, 2, 0};
        const std::int32_t emptied =
            below_(2) == 0 ? HI_MPI_AO_DisableChn(0, 0) : HI_MPI_AO_ClearChnBuf(0, 0);
        mistakes_ += emptied == 0 && HI_MPI_AO_EnableChn(0, 0) == 0 ? 0 : 1;
        stored_[0].clear();
        stored_[1].clear();
        handed_ = 0;
    }

    int tellAttributes(void *record) {
        std::memcpy(record, &attr_, sizeof attr_);
        return readsLeft_-- == 0 ? -1 : 0;
    }

    int take(void *record) {
        if (below_(4) == 1) {
            return -1;
        }
        for (std::uint32_t k = 0; k < subChannels_; ++k) {
            const Bytes bytes = periodOf(record, k);
            if (bytes.size() != period_ || waiting() < period_ ||
                !std::equal(bytes.begin(), bytes.end(), stored_[k].begin() + handed_)) {
                ++mistakes_;
                return 0;
            }
        }
        handed_ += static_cast<std::ptrdiff_t>(period_);
        ++taken_;
        return 0;
    }

    std::size_t waiting() const { return stored_[0].size() - static_cast<std::size_t>(handed_); }

    std::function<std::uint32_t(std::uint32_t)> below_;
    AIO_ATTR_S attr_ = {};
    int readsLeft_ = INT_MAX; // of the attributes, until one fails
    std::uint32_t width_ = 0;
    std::uint32_t subChannels_ = 1;
    std::uint32_t period_ = 1;
    std::vector<unsigned char> stored_[2];
    std::ptrdiff_t handed_ = 0; // of what is stored
    int taken_ = 0;
    int mistakes_ = 0;
};
