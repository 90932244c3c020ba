// What the platform's tests start from: a driver that works, and a platform that has started.
#pragma once

#include "mpp/include/mpp_ao.h"
#include "mpp/include/mpp_bind.h"
#include "mpp/include/mpp_sys.h"
#include "mpp/include/mpp_vb.h"
#include "tests/support/captured.h"
#include "tests/support/scripted_device.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

// An error value as the interfaces return it.
constexpr std::int32_t err(std::uint32_t value) {
    return static_cast<std::int32_t>(value);
}

// The messages in a text of reports, without the places they come from.
inline std::string messagesOf(const std::string &reports) {
    static const std::regex place(R"(\[Func\]:\w+ \[Line\]:\d+ \[Info\]:)");
    return std::regex_replace(reports, place, "");
}

template <typename Code>
std::string messages(Code code) {
    return messagesOf(errorsOf(code));
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
        EXPECT_EQ(0U, device().memoryHeld());
        EXPECT_EQ(0U, device().blocksHeld());
    }

    // Sets the device up: 16 bits, stereo unless said otherwise.
    static void configure(std::uint32_t points = 640, std::uint32_t mode = AUDIO_SOUND_MODE_STEREO,
                          std::uint32_t width = AUDIO_BIT_WIDTH_16, std::uint32_t rate = 8000) {
        const AIO_ATTR_S attr = {rate, width, 0, mode, 1, 30, points, 2, 0};
        ASSERT_EQ(0, HI_MPI_AO_SetPubAttr(0, &attr));
    }
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
        frame.enBitwidth = width;
        frame.enSoundmode = mode;
        frame.pVirAddr[0] = left.data();
        frame.pVirAddr[1] = right.data();
        frame.u32Len = bytes;
        frame.u64TimeStamp = 0x0123456789ABCDEF;
        frame.u32Seq = 7;
    }

    std::vector<unsigned char> left;
    std::vector<unsigned char> right;
    AUDIO_FRAME_S frame = {};
};

// The bytes that a send record's sub-channel points at.
inline std::vector<unsigned char> periodOf(const void *record, std::uint32_t k) {
    std::uint32_t address = 0;
    std::uint32_t length = 0;
    std::memcpy(&address, static_cast<const char *>(record) + 8 + std::size_t{4} * k, 4);
    std::memcpy(&length, static_cast<const char *>(record) + 36, 4);
    const auto *const data =
        reinterpret_cast<const unsigned char *>(static_cast<std::uintptr_t>(address));
    return {data, data + length};
}
