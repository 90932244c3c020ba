#include "src/voxo_g711/voxo_g711.h"
#include "tests/support/captured.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

class G711Test : public testing::Test {
protected:
    G711Test() {
        G711Dec_GetOps(&ops_);
        outputOf([&] { EXPECT_EQ(0, ops_.init(&ops_.codecDesc->handle)); });
    }
    ~G711Test() override {
        outputOf([&] { ops_.release(&ops_.codecDesc->handle); });
    }

    G711Opt *handle() { return ops_.codecDesc->handle; }

    std::string announce(const char (&law)[5], std::uint32_t channels) {
        std::vector<unsigned char> packet(65);
        std::memcpy(packet.data() + 1 + 44, law, 4);
        std::memcpy(packet.data() + 1 + 48, &channels, 4);
        return outputOf([&] { ops_.setCodecInfo(handle(), packet.data() + 1); }); // an odd address
    }

    std::int16_t decodeOne(std::uint8_t code) {
        std::vector<std::uint8_t> input(640, code);
        std::vector<std::int16_t> output(640);
        std::uint32_t size = 640;
        EXPECT_EQ(0, ops_.setIO(handle(), input.data(), output.data(), 640));
        EXPECT_EQ(0, ops_.decode(handle(), &size));
        EXPECT_EQ(1280U, size);
        return output[639];
    }

    DecoderOps ops_ = {};
};

TEST_F(G711Test, DecodesByTheLawAnnouncedLast) {
    EXPECT_EQ(0x31313747U, ops_.fourCC);
    EXPECT_EQ(std::pair(64000U, 8000U),
              std::pair(ops_.codecDesc->bitRate, ops_.codecDesc->sampleRate));
    EXPECT_EQ(-32124, decodeOne(0x00)); // u-law until something else is announced
    announce("ALAW", 2);
    EXPECT_EQ(2U, ops_.getChannels(handle()));
    EXPECT_EQ(8, decodeOne(0xD5));
    outputOf([&] { EXPECT_EQ(0, ops_.reset(handle())); });
    EXPECT_EQ(-8, decodeOne(0x55)); // a reset keeps the law
    announce("ulaw", 1);
    std::uint32_t size = 640;
    const std::string out = outputOf([&] { EXPECT_EQ(-1, ops_.decode(handle(), &size)); });
    EXPECT_EQ("[voxo] src/voxo_g711:#: G711Dec invalid mode\n", out);
    EXPECT_EQ(640U, size);
    EXPECT_EQ("[voxo] src/voxo_g711:#: Recv CI of G.711 with 1463897173 law, 3 channel\n",
              announce("ULAW", 3));
    EXPECT_EQ(32124, decodeOne(0x80));
}

TEST_F(G711Test, FollowsThePayloadSize) {
    std::uint8_t input[700] = {};
    std::int16_t output[700] = {};
    const std::string changed =
        outputOf([&] { EXPECT_EQ(0, ops_.setIO(handle(), input, output, 320)); });
    EXPECT_EQ("[voxo] src/voxo_g711:#: G.711 input frame size 320 (640)\n"
              "[voxo] src/voxo_g711:#: src/voxo_g711:#: G.711Dec initialized!\n"
              "[voxo] src/voxo_g711:#: src/voxo_g711:#: G.711Dec reseted!\n",
              changed);
    EXPECT_EQ("", outputOf([&] { EXPECT_EQ(0, ops_.setIO(handle(), input, output, 0)); }));
    EXPECT_EQ(320U, handle()->frameSize);
    std::uint32_t size = 0;
    EXPECT_EQ(0, ops_.decode(handle(), &size));
    EXPECT_EQ(0U, size);
}

TEST_F(G711Test, ReleasesOnce) {
    EXPECT_EQ("src/voxo_g711:#: G.711Dec released!\n",
              outputOf([&] { EXPECT_EQ(0, ops_.release(&ops_.codecDesc->handle)); }));
    EXPECT_EQ("", outputOf([&] { EXPECT_EQ(-1, ops_.release(&ops_.codecDesc->handle)); }));
    outputOf([&] { EXPECT_EQ(-1, ops_.reset(nullptr)); });
}

} // namespace
