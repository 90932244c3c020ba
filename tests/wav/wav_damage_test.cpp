// Files of any damage: refused, or read within their bounds.
#include "wav/wav.h"

#include "tests/support/captured.h"
#include "tests/support/random.h"
#include "tests/wav/wav_bytes.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <filesystem>

namespace {

const std::string whole = riff(fmtChunk({.channels = 2, .behind = word16(0)}) +
                               chunk("fact", "abcd") + chunk("data", samples(300)));

std::string damaged(Random &random) {
    std::string bytes = whole;
    const auto below = [&](std::size_t end) { return std::size_t{random.below(end)}; };
    for (std::size_t wounds = 1 + below(3); wounds > 0 && !bytes.empty(); --wounds) {
        const std::size_t at = below(bytes.size());
        switch (below(5)) {
        case 0:
            bytes[at] = static_cast<char>(random.next());
            break;
        case 1:
            bytes.resize(at);
            break;
        case 2:
            bytes.insert(at, bytes.substr(below(bytes.size()), below(40)));
            break;
        case 3:
            bytes.erase(at, below(20));
            break;
        default: { // a size or another number that matters
            static constexpr std::uint32_t numbers[] = {
                0, 1, 17, 18, 19, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF7, 0xFFFFFFFF};
            const std::size_t size = std::min<std::size_t>(4, bytes.size() - at);
            bytes.replace(at, size, word32(numbers[below(std::size(numbers))]), 0, size);
            break;
        }
        }
    }
    return bytes;
}

void expectWithinBounds(WAV_FILE *wav, const std::string &bytes) {
    EXPECT_EQ(1U, WAV_GetFormat(wav));
    EXPECT_EQ(16U, WAV_GetBitsPerSample(wav));
    EXPECT_TRUE(WAV_GetChannel(wav) == 1 || WAV_GetChannel(wav) == 2);
    ASSERT_LE(std::uint64_t{wav->dataOffset} + WAV_GetDataBytes(wav), bytes.size());
    std::string read(bytes.size() + 10, '\0');
    auto count = static_cast<std::uint32_t>(read.size());
    ASSERT_EQ(0, WAV_GetBuffer(wav, read.data(), &count));
    EXPECT_EQ(bytes.substr(wav->dataOffset), read.substr(0, count));
    WAV_ShowInfo(wav);
    WAV_GetDuration(wav);
}

TEST(DamagedWav, IsRefusedOrReadWithinItsBounds) {
    Random random;
    int opened = 0;
    for (int i = 0; i < 4000; ++i) {
        const std::string bytes = damaged(random);
        const TemporaryFile file(bytes);
        WAV_FILE *wav = nullptr;
        const std::string out = outputOf([&] {
            if (WAV_Initial(&wav, file.path()) == 0) {
                ++opened;
                expectWithinBounds(wav, bytes);
            }
        });
        if (wav == nullptr) {
            const bool told = out.ends_with(" fail.\n") || out.ends_with("at present.\n");
            EXPECT_TRUE(told) << out;
        }
        WAV_Release(&wav);
    }
    EXPECT_GT(opened, 100); // the damage is not all of one kind
}

// A file that really has the size: sparse, so that it costs nothing. The first line that is said.
std::string openSparse(std::uint32_t riffSize, std::uint32_t dataSize, std::uint64_t size) {
    const TemporaryFile file("RIFF" + word32(riffSize) + "WAVE" + fmtChunk() + "data" +
                             word32(dataSize));
    std::filesystem::resize_file(file.path(), size);
    WAV_FILE *wav = nullptr;
    std::string out = outputOf([&] { WAV_Initial(&wav, file.path()); });
    if (wav != nullptr) {
        out += "opened, " + std::to_string(WAV_GetDataBytes(wav)) + " bytes";
    }
    WAV_Release(&wav);
    return out.substr(0, out.find('\n'));
}

TEST(DamagedWav, KeepsHugeSizesApart) {
    constexpr std::uint64_t gigabyte = 1 << 30;
    const std::string header = "[wav] : Header or data is corrupted?";
    const std::string last = "[wav] : Last chunk is corrupted?";
    EXPECT_EQ("opened, 2147483648 bytes", openSparse(36, 0x80000000, 2 * gigabyte + 44));
    EXPECT_EQ("opened, 3221225472 bytes", openSparse(0xC0000024, 0xC0000000, 3 * gigabyte + 44));
    EXPECT_EQ(last, openSparse(36, 0x80000000, 2 * gigabyte + 43));
    EXPECT_EQ(header, openSparse(0xFFFFFFFF, 100, 4 * gigabyte + 7));
    EXPECT_EQ(header, openSparse(0xFFFFFFFF, 100, 4 * gigabyte + 8));
    // Behind 4 GiB no chunk can be recorded, nor one that would end there.
    EXPECT_EQ(last, openSparse(36, 0xFFFFFFFF, 4 * gigabyte + 44));
    EXPECT_EQ(last, openSparse(36, 0xFFFFFFF0, 4 * gigabyte + 100));
}

} // namespace
