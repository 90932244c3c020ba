#include "codec/g711_law.h"
#include "vcam/sender/law_codec.h"

#include <gtest/gtest.h>

#include <numeric>

namespace {

constexpr std::uint32_t header = 0x04000001;

// libsndfile knows nothing of our tables.
TEST(LawDecoder, ExpandsEveryCodeAsAnIndependentDecoderDoes) {
    std::vector<std::uint8_t> codes(256);
    std::iota(codes.begin(), codes.end(), std::uint8_t{0});
    for (const std::uint32_t law : {0U, 1U}) {
        std::vector<std::uint8_t> input = codes;
        std::vector<std::int16_t> output(codes.size() + 1, 99);
        const G711LawConfig config = {header, 256, law, nullptr};
        G711LawDecoder *decoder = nullptr;
        ASSERT_EQ(0, G711Law_Create(&decoder, &config));
        const G711LawIO io = {input.data(), output.data()};
        EXPECT_EQ(0, G711Law_Process(decoder, &io));
        G711Law_Destroy(&decoder);
        EXPECT_EQ(nullptr, decoder);
        Samples expected = lawDecode(codes, law == 0 ? Law::a : Law::u);
        expected.push_back(99); // no more than its frame
        EXPECT_EQ(expected, output);
        for (std::size_t i = 0; i < codes.size(); ++i) {
            EXPECT_EQ(law == 0 ? codes[i] ^ 0x55 : codes[i], input[i]); // as it is left
        }
    }
}

TEST(LawDecoder, RefusesWhatItCannotBe) {
    G711LawDecoder mark = {};
    G711LawDecoder *decoder = &mark;
    for (const G711LawConfig &config : {G711LawConfig{0x04000002, 640, 0, nullptr},
                                        {0x04000000, 640, 0, nullptr},
                                        {header, 0, 0, nullptr},
                                        {header, 640, 2, nullptr},
                                        {header, 640, UINT32_MAX, nullptr}}) {
        EXPECT_EQ(-1, G711Law_Create(&decoder, &config));
        EXPECT_EQ(&mark, decoder);
    }
    const G711LawConfig otherTopByte = {0xFF000001, 640, 0, nullptr};
    EXPECT_EQ(0, G711Law_Create(&decoder, &otherTopByte));
    EXPECT_EQ(0U, decoder->external);
    G711Law_Destroy(&decoder);
}

// The state is aligned within the block, wherever the block lies, and never leaves its 19 bytes.
TEST(LawDecoder, LivesInCallersMemory) {
    EXPECT_EQ(19U, G711Law_GetMemSize(nullptr));
    for (std::size_t shift = 0; shift < 4; ++shift) {
        alignas(4) unsigned char memory[32];
        std::fill(std::begin(memory), std::end(memory), std::uint8_t{0xEE});
        const G711LawConfig config = {header, 640, 1, memory + shift};
        G711LawDecoder *decoder = nullptr;
        ASSERT_EQ(0, G711Law_Create(&decoder, &config));
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(decoder) % 4);
        EXPECT_EQ(1U, decoder->external);
        EXPECT_EQ(0xEE, memory[shift + 19]);
        G711Law_Destroy(&decoder); // must not free it
        EXPECT_EQ(nullptr, decoder);
        G711Law_Destroy(&decoder);
    }
}

} // namespace
