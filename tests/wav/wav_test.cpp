#include "wav/wav.h"

#include "base/unique_fd.h"
#include "tests/support/captured.h"
#include "tests/wav/wav_bytes.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

namespace {

const std::string data = chunk("data", samples(100));

// Expects a file of these bytes to be refused, with a line of its own or without.
void expectRefused(const std::string &bytes, const std::string &line) {
    const TemporaryFile file(bytes);
    WAV_FILE *handle = nullptr;
    const std::string out = outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, file.path())); });
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ((line.empty() ? "" : "[wav] : " + line + "\n") + "[wav] : Parse " + file.path() +
                  " fail.\n",
              out);
}

TEST(WavReader, RefusesWithTheRightWords) {
    const std::pair<std::string, std::string> refusals[] = {
        {"", ""},
        {"RIFX" + word32(4) + "WAVE", "No RIFF? At offset 0"},
        {"RIFF" + word32(200) + "WAVE" + fmtChunk() + data, "Header or data is corrupted?"},
        {"RIFF" + word32(4) + "AVI ", "No WAVE? At offset 8."},
        {riff(fmtChunk() + chunk("LIST", "abcd") + data), "Unknown ID 0x4c495354. At offset 36."},
        {riff(fmtChunk() + data + data), "Duplicate data? At offset 144."},
        {riff(fmtChunk() + fmtChunk() + data), "Duplicate fmt? At offset 36."},
        {riff(chunk("fact", "abcd") + chunk("fact", "abcd")), "Duplicate fact? At offset 24."},
        {riff(chunk("RIFF", "abcd")), "Duplicate RIFF? At offset 12."},
        {riff(chunk("WAVE", "abcd")), "Duplicate WAVE? At offset 12."},
        {riff(fmtChunk() + "data" + word32(200) + samples(100)), "Last chunk is corrupted?"},
        {riff(fmtChunk() + data) + "abc", ""},
        {riff(data), "No fmt?"},
        {riff(fmtChunk()), "No data?"},
        {riff(fmtChunk({.tag = 3}) + data), "Unsupported audio format 3."},
        {riff(fmtChunk({.channels = 3}) + data), ""},
        {riff(fmtChunk({.bits = 24}) + data), ""},
        {riff(fmtChunk({.blockAlign = 4}) + data), "'blockalign' field mismatch?"},
        {riff(fmtChunk({.byteRate = 8000}) + data), "'byterate' field mismatch?"},
        // A product that only 32 bits make right.
        {riff(fmtChunk({.rate = 0x80000000}) + data), "'byterate' field mismatch?"},
    };
    for (const auto &[bytes, line] : refusals) {
        expectRefused(bytes, line);
    }
    // What is no file of samples is left as it is.
    WAV_FILE *handle = nullptr;
    EXPECT_EQ("[wav] : Parse /tmp fail.\n",
              outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, "/tmp")); }));
    const TemporaryDirectory dir;
    const std::string pipe = dir.path() / "pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    const UniqueFd fd(open(pipe.c_str(), O_RDWR));
    EXPECT_EQ(4, write(fd.get(), "RIFF", 4));
    outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, pipe.c_str())); });
    char left[8];
    EXPECT_EQ(4, read(fd.get(), left, sizeof left));
    const std::string path(200, 'x'); // is cut at its room
    EXPECT_EQ("[wav] : Open " + path.substr(0, 129) + " fail.\n",
              outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, path.c_str())); }));
}

class OpenWav {
public:
    explicit OpenWav(const std::string &bytes) : file_(bytes) {
        EXPECT_EQ(0, WAV_Initial(&handle, file_.path()));
    }
    OpenWav(const OpenWav &) = delete;
    OpenWav &operator=(const OpenWav &) = delete;
    ~OpenWav() { EXPECT_EQ(0, WAV_Release(&handle)); }

    std::string read(std::uint32_t room) {
        std::string bytes(room, '\0');
        std::uint32_t count = room;
        EXPECT_EQ(0, WAV_GetBuffer(handle, bytes.data(), &count));
        bytes.resize(count);
        return bytes;
    }

    const char *path() const { return file_.path(); }

    WAV_FILE *handle = nullptr;

private:
    TemporaryFile file_;
};

TEST(WavReader, HandsOutTheSamples) {
    OpenWav wav(riff(fmtChunk({.channels = 2, .rate = 44100}) + chunk("data", samples(5000))));
    EXPECT_EQ(44U, wav.handle->dataOffset);
    EXPECT_EQ(4U, wav.handle->blockAlign);
    EXPECT_EQ(samples(5000).substr(0, 2048), wav.read(2048));
    EXPECT_EQ(44U + 2048, wav.handle->readPosition);
    EXPECT_EQ(samples(5000).substr(2048), wav.read(5000));
    EXPECT_EQ("", wav.read(2048));
    EXPECT_EQ(0, WAV_Rewind(wav.handle));
    EXPECT_EQ(samples(5000).substr(0, 10), wav.read(10));
}

TEST(WavReader, HandsOutWhatFollowsTheData) {
    const std::string fact = chunk("fact", "abcd");
    OpenWav wav(riff(fmtChunk() + chunk("data", samples(5)) + fact));
    EXPECT_EQ(6U, WAV_GetDataBytes(wav.handle)); // with the pad byte
    EXPECT_EQ(samples(5) + std::string(1, '\0') + fact, wav.read(100));
    OpenWav silent(riff(fmtChunk({.rate = 0}) + data));
    EXPECT_EQ(0U, WAV_GetDuration(silent.handle));
    // The extension of an 18-byte format belongs to the chunk, although its size does not count it.
    OpenWav extended(riff(fmtChunk({.behind = word16(6)}) + "sixsix" + data));
    EXPECT_EQ(24U, extended.handle->chunks->next->size);
    EXPECT_EQ(samples(100), extended.read(100));
}

TEST(WavReader, ShowsEveryChunk) {
    OpenWav wav(riff(fmtChunk() + chunk("fact", "abc") + data));
    const std::string out = outputOf([&] { EXPECT_EQ(0, WAV_ShowInfo(wav.handle)); });
    for (const char *text :
         {"[wav] : Channel = 1\n[wav] : SamepleRate = 8000\n[wav] : ByteRate = 16000\n",
          "[wav] : --- fact chunk ---\n[wav] : \tOffset = 36\n[wav] : \tSize = 3\n"
          "[wav] : \tSizePadding = 4\n[wav] : --- data chunk ---\n",
          "[wav] : \tOffset of samples = 56\n[wav] : \tBytes = 100\n"}) {
        EXPECT_NE(std::string::npos, out.find(text)) << out;
    }
    EXPECT_EQ(30, std::count(out.begin(), out.end(), '\n'));
}

TEST(WavReader, EndsWrongCallsWithAnError) {
    WAV_FILE *none = nullptr;
    std::uint32_t count = 1;
    EXPECT_EQ("[wav] : Initial argument is NULL?\n",
              outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&none, nullptr)); }));
    EXPECT_EQ(-1, WAV_Release(&none));
    EXPECT_EQ(-1, WAV_ShowInfo(nullptr));
    EXPECT_EQ(-1, WAV_GetBuffer(nullptr, &none, &count));
    EXPECT_EQ(-1, WAV_Rewind(nullptr));
    EXPECT_EQ(1U, WAV_GetFormat(nullptr));
    EXPECT_EQ(0U, WAV_GetChannel(nullptr));
    const OpenWav wav(riff(fmtChunk() + data));
    WAV_FILE closed = *wav.handle;
    closed.descriptor = -1;
    EXPECT_EQ("[wav] : WAV_GetBuffer fail, errno 9\n",
              outputOf([&] { EXPECT_EQ(-1, WAV_GetBuffer(&closed, &none, &count)); }));
    EXPECT_EQ(1U, count);
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

TEST(WavReader, KeepsHugeSizesApart) {
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
