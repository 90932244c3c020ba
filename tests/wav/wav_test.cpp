#include "wav/wav.h"

#include "tests/support/captured.h"
#include "tests/wav/wav_bytes.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <vector>

namespace {

const std::string data = chunk("data", samples(100));

// What the reader says of a file of these bytes that it refuses, and "..." for its last line when
// that names the file.
std::string refusalOf(const std::string &bytes) {
    const TemporaryFile file(bytes);
    WAV_FILE *handle = nullptr;
    std::string text = outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, file.path())); });
    EXPECT_EQ(nullptr, handle);
    const std::string parse = std::string("[wav] : Parse ") + file.path() + " fail.\n";
    if (text.ends_with(parse)) {
        text.replace(text.size() - parse.size(), parse.size(), "...");
    }
    return text;
}

TEST(WavReader, RefusesWithTheRightWords) {
    const struct {
        std::string bytes;
        std::string message;
    } refusals[] = {
        {"", "..."},
        {"RIFX" + word32(4) + "WAVE", "[wav] : No RIFF? At offset 0\n..."},
        {"RIFF\1\2", "..."},
        {"RIFF" + word32(200) + "WAVE" + fmtChunk() + data,
         "[wav] : Header or data is corrupted?\n..."},
        {"RIFF" + word32(UINT32_MAX) + "WAVE" + fmtChunk() + data,
         "[wav] : Header or data is corrupted?\n..."},
        {"RIFF" + word32(4) + "AVI ", "[wav] : No WAVE? At offset 8.\n..."},
        {riff(fmtChunk() + chunk("LIST", "abcd") + data),
         "[wav] : Unknown ID 0x4c495354. At offset 36.\n..."},
        {riff(fmtChunk() + data + data), "[wav] : Duplicate data? At offset 144.\n..."},
        {riff(fmtChunk() + fmtChunk() + data), "[wav] : Duplicate fmt? At offset 36.\n..."},
        {riff(chunk("fact", "abcd") + chunk("fact", "abcd")),
         "[wav] : Duplicate fact? At offset 24.\n..."},
        {riff(chunk("RIFF", "abcd")), "[wav] : Duplicate RIFF? At offset 12.\n..."},
        {riff(chunk("WAVE", "abcd")), "[wav] : Duplicate WAVE? At offset 12.\n..."},
        {riff(fmtChunk() + "data" + word32(200) + samples(100)),
         "[wav] : Last chunk is corrupted?\n..."},
        {riff(fmtChunk() + "data" + word32(UINT32_MAX) + samples(100)),
         "[wav] : Last chunk is corrupted?\n..."},
        {riff(fmtChunk() + "data" + word32(0x80000000) + samples(100)),
         "[wav] : Last chunk is corrupted?\n..."},
        {riff(data + fmtChunk({.behind = word16(6)})), "[wav] : Last chunk is corrupted?\n..."},
        {riff(fmtChunk() + data) + "abc", "..."},
        {riff(data), "[wav] : No fmt?\n..."},
        {riff(fmtChunk()), "[wav] : No data?\n..."},
        {riff(fmtChunk({.tag = 3}) + data), "[wav] : Unsupported audio format 3.\n..."},
        {riff(fmtChunk({.channels = 3}) + data), "..."},
        {riff(fmtChunk({.bits = 24}) + data), "..."},
        {riff(fmtChunk({.blockAlign = 4}) + data), "[wav] : 'blockalign' field mismatch?\n..."},
        {riff(fmtChunk({.byteRate = 8000}) + data), "[wav] : 'byterate' field mismatch?\n..."},
        // A product that only 32 bits make right.
        {riff(fmtChunk({.rate = 0x80000000}) + data), "[wav] : 'byterate' field mismatch?\n..."},
        {riff(fmtChunk({.bits = 8}) + data), "[wav] : Only support 16-bit samples at present.\n"},
    };
    for (const auto &[bytes, message] : refusals) {
        EXPECT_EQ(message, refusalOf(bytes));
    }
    // What is no file of samples must not hold the caller either.
    WAV_FILE *handle = nullptr;
    EXPECT_EQ("[wav] : Parse /tmp fail.\n",
              outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, "/tmp")); }));
    const TemporaryFile place("");
    const std::string pipe = std::string(place.path()) + ".pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, pipe.c_str())); });
    unlink(pipe.c_str());
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
    WAV_INFO info = {};
    ASSERT_EQ(0, WAV_GetInfo(wav.handle, &info));
    EXPECT_EQ(2U, info.channels);
    EXPECT_EQ(44100U, info.sampleRate);
    EXPECT_EQ(16U, info.bitsPerSample);
    EXPECT_EQ(176400U, info.byteRate);
    EXPECT_EQ(5000U, info.dataBytes);
    EXPECT_EQ(5044U, info.fileSize);
    EXPECT_EQ(5000U * 1000 / 176400, info.duration);

    EXPECT_EQ(samples(5000).substr(0, 2048), wav.read(2048));
    EXPECT_EQ(44U + 2048, wav.handle->readPosition);
    EXPECT_EQ(samples(5000).substr(2048, 2048), wav.read(2048));
    EXPECT_EQ(904U, wav.read(2048).size());
    EXPECT_EQ("", wav.read(2048));
    EXPECT_EQ(0, WAV_Rewind(wav.handle));
    EXPECT_EQ(samples(5000).substr(0, 10), wav.read(10));
}

TEST(WavReader, HandsOutWhatFollowsTheData) {
    const std::string fact = chunk("fact", "abcd");
    OpenWav wav(riff(fmtChunk() + chunk("data", samples(5)) + fact));
    EXPECT_EQ(6U, WAV_GetDataBytes(wav.handle)); // with the pad byte
    EXPECT_EQ(samples(5) + std::string(1, '\0') + fact, wav.read(100));
    OpenWav late(riff(data + fmtChunk())); // the format may come last
    EXPECT_EQ(20U, late.handle->dataOffset);
    OpenWav silent(riff(fmtChunk({.rate = 0}) + data));
    EXPECT_EQ(0U, WAV_GetDuration(silent.handle));
}

TEST(WavReader, ReadsTheExtensionOfAnEighteenByteFormat) {
    OpenWav plain(riff(fmtChunk({.behind = word16(0)}) + data));
    EXPECT_EQ(0U, plain.handle->extra);
    EXPECT_EQ(18U, plain.handle->chunks->next->size);
    // cbSize bytes behind the 18 belong to the chunk, although its size does not count them
    std::string extended = fmtChunk({.behind = word16(6)}) + "sixsix";
    OpenWav wav(riff(extended + data));
    EXPECT_EQ(24U, wav.handle->chunks->next->size);
    EXPECT_EQ(0U, wav.handle->extra);
    EXPECT_EQ(samples(100), wav.read(100));
}

TEST(WavReader, ShowsEveryChunk) {
    OpenWav wav(riff(fmtChunk() + chunk("fact", "abc") + data));
    const std::string expected =
        std::string("[wav] : File = ") + wav.path() +
        "\n[wav] : File size = 156\n[wav] : Format = PCM\n[wav] : Channel = 1\n"
        "[wav] : SamepleRate = 8000\n[wav] : ByteRate = 16000\n[wav] : BlockAlign = 2\n"
        "[wav] : BitsPerSample = 16\n[wav] : Extra = 0\n"
        "[wav] : ---------------- Chunk info ----------------\n"
        "[wav] : --- RIFF chunk ---\n"
        "[wav] : \tOffset = 0\n[wav] : \tSize = 148\n[wav] : \tSizePadding = 148\n"
        "[wav] : --- fmt chunk ---\n"
        "[wav] : \tOffset = 12\n[wav] : \tSize = 16\n[wav] : \tSizePadding = 16\n"
        "[wav] : --- fact chunk ---\n"
        "[wav] : \tOffset = 36\n[wav] : \tSize = 3\n[wav] : \tSizePadding = 4\n"
        "[wav] : --- data chunk ---\n"
        "[wav] : \tOffset = 48\n[wav] : \tSize = 100\n[wav] : \tSizePadding = 100\n"
        "[wav] : \n[wav] : ---------------- Data info ----------------\n"
        "[wav] : \tOffset of samples = 56\n[wav] : \tBytes = 100\n";
    EXPECT_EQ(expected, outputOf([&] { EXPECT_EQ(0, WAV_ShowInfo(wav.handle)); }));
}

TEST(WavReader, EndsAFailedReadWithErrno) {
    OpenWav wav(riff(fmtChunk() + data));
    const int descriptor = wav.handle->descriptor;
    wav.handle->descriptor = -1;
    std::uint32_t count = 10;
    char buffer[10];
    EXPECT_EQ("[wav] : WAV_GetBuffer fail, errno 9\n",
              outputOf([&] { EXPECT_EQ(-1, WAV_GetBuffer(wav.handle, buffer, &count)); }));
    EXPECT_EQ(10U, count);
    wav.handle->descriptor = descriptor;
}

TEST(WavReader, TakesNull) {
    WAV_FILE *none = nullptr;
    WAV_INFO info = {};
    std::uint32_t count = 1;
    EXPECT_EQ("[wav] : Initial argument is NULL?\n[wav] : Initial argument is NULL?\n",
              outputOf([&] {
                  EXPECT_EQ(-1, WAV_Initial(nullptr, "x"));
                  EXPECT_EQ(-1, WAV_Initial(&none, nullptr));
              }));
    EXPECT_EQ(-1, WAV_Release(nullptr));
    EXPECT_EQ(-1, WAV_Release(&none));
    EXPECT_EQ(-1, WAV_ShowInfo(nullptr));
    EXPECT_EQ(-1, WAV_GetBuffer(nullptr, &info, &count));
    EXPECT_EQ(-1, WAV_Rewind(nullptr));
    EXPECT_EQ(-1, WAV_GetInfo(nullptr, &info));
    EXPECT_EQ(1U, WAV_GetFormat(nullptr));
    EXPECT_EQ(0U, WAV_GetChannel(nullptr));
    EXPECT_EQ(0U, WAV_GetDuration(nullptr));
}

} // namespace
