// What the platform's tests start from: a driver that works, and a platform that has started.
#pragma once

#include "mpp/include/mpp_ao.h"
#include "mpp/include/mpp_bind.h"
#include "mpp/include/mpp_sys.h"
#include "mpp/include/mpp_vb.h"
#include "tests/support/captured.h"
#include "tests/support/scripted_device.h"
#include "tests/support/temporary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;
using Commands = std::vector<std::uint32_t>;

// An error value as the interfaces return it.
constexpr std::int32_t err(std::uint32_t value) {
    return static_cast<std::int32_t>(value);
}

// What a piece of code reports, without the places that reports come from; what it writes to
// standard output comes first, behind "out: ".
template <typename Code>
std::string messages(Code code) {
    Captured captured;
    code();
    const Captured::Texts texts = captured.texts();
    return (texts.out.empty() ? "" : "out: " + texts.out) +
           replaced(texts.err, R"(\[Func\]:\w+ \[Line\]:\d+ \[Info\]:)", "");
}

// Expects of a call what it returns and says.
inline void expectOutcome(std::uint32_t result, const std::string &message,
                          const std::function<std::int32_t()> &call) {
    EXPECT_EQ(message, messages([&] { EXPECT_EQ(err(result), call()); }));
}

struct Outcome {
    std::uint32_t result;
    std::string message;
    std::function<std::int32_t()> call;
};

inline void expectOutcomes(const std::vector<Outcome> &outcomes) {
    for (const auto &[result, message, call] : outcomes) {
        expectOutcome(result, message, call);
    }
}

// Attributes of the device: 16 bits, stereo unless said otherwise.
inline AIO_ATTR_S attributes(std::uint32_t points = 640,
                             std::uint32_t mode = AUDIO_SOUND_MODE_STEREO,
                             std::uint32_t width = AUDIO_BIT_WIDTH_16, std::uint32_t rate = 8000,
                             std::uint32_t channels = 2) {
    return {rate, width, 0, mode, 1, 30, points, channels, 0};
}

// A driver's answer: this object, whatever is asked.
template <typename Object>
ScriptedDevice::Answer telling(const Object &object) {
    return [&object](void *record) {
        std::memcpy(record, &object, sizeof object);
        return 0;
    };
}

class MppTest : public testing::Test {
protected:
    MppTest() {
        device().reset();
        EXPECT_EQ(0, HI_MPI_SYS_Init());
        device().clearCalls();
    }
    ~MppTest() override {
        device().reset();
        EXPECT_EQ(0, HI_MPI_SYS_Exit());
        EXPECT_EQ(0U, device().held().memory);
        EXPECT_EQ(0U, device().held().blocks);
    }

    // Sets the device up and enables it.
    static void configure(const AIO_ATTR_S &attr = attributes()) {
        ASSERT_EQ(0, HI_MPI_AO_SetPubAttr(0, &attr));
        ASSERT_EQ(0, HI_MPI_AO_Enable(0));
    }

    // Lets the driver tell attributes that it would not take, or not while it is enabled.
    void pretend(const AIO_ATTR_S &attr) {
        pretended_ = attr;
        device().answer(driverCommand::aoGetAttr, telling(pretended_));
    }

private:
    AIO_ATTR_S pretended_ = {};
};

// A frame whose samples tell their place and sub-channel.
struct TestFrame {
    explicit TestFrame(std::uint32_t bytes, std::uint32_t mode = AUDIO_SOUND_MODE_STEREO,
                       std::uint32_t width = AUDIO_BIT_WIDTH_16, unsigned seed = 1)
        : left(bytes), right(bytes) {
        for (std::uint32_t i = 0; i < bytes; ++i) {
            left[i] = static_cast<unsigned char>(i * seed + i / 251);
            right[i] = static_cast<unsigned char>(255 - left[i]);
        }
        frame = {width, mode, {left.data(), right.data()}, {}, 0x0123456789ABCDEF, 7, bytes, {}};
    }

    Bytes left;
    Bytes right;
    AUDIO_FRAME_S frame = {};
};
