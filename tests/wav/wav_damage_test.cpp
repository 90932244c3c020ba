// Files whose sizes are at the edge of what numbers hold.
#include "wav/wav.h"

#include "tests/support/captured.h"
#include "tests/wav/wav_bytes.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

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
