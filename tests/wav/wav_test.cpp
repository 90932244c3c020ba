#include "wav/wav.h"

#include "tests/support/captured.h"
#include "tests/wav/wav_bytes.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <vector>

namespace {

// Opens a file of these bytes; the message is what the reader says before its "Parse ... fail.".
struct Opening {
    std::int32_t result;
    std::string message;
};

Opening open(const std::string &bytes) {
    const TemporaryFile file(bytes);
    WAV_FILE *handle = nullptr;
    Opening opening = {};
    opening.message = outputOf([&] { opening.result = WAV_Initial(&handle, file.path()); });
    EXPECT_EQ(opening.result == 0, handle != nullptr);
    WAV_Release(&handle);
    const std::string parse = std::string("[wav] : Parse ") + file.path() + " fail.\n";
    const std::size_t at = opening.message.find(parse);
    if (at != std::string::npos) {
        EXPECT_EQ(opening.message.size(), at + parse.size());
        opening.message.resize(at);
        opening.message += "PARSE";
    }
    return opening;
}

struct Refusal {
    const char *name;
    std::string bytes;
    std::string message;
};

const std::string data = chunk("data", samples(100));

const Refusal refusals[] = {
    {"empty", "", "PARSE"},
    {"not RIFF", "RIFX" + word32(4) + "WAVE", "[wav] : No RIFF? At offset 0\nPARSE"},
    {"cut in the RIFF size", "RIFF\1\2", "PARSE"},
    {"RIFF size too large", "RIFF" + word32(200) + "WAVE" + fmtChunk() + data,
     "[wav] : Header or data is corrupted?\nPARSE"},
    {"RIFF size of 2^32 - 1", "RIFF" + word32(UINT32_MAX) + "WAVE" + fmtChunk() + data,
     "[wav] : Header or data is corrupted?\nPARSE"},
    {"not WAVE", "RIFF" + word32(4) + "AVI ", "[wav] : No WAVE? At offset 8.\nPARSE"},
    {"unknown chunk", riff(fmtChunk() + chunk("LIST", "abcd") + data),
     "[wav] : Unknown ID 0x4c495354. At offset 36.\nPARSE"},
    {"two data", riff(fmtChunk() + data + data), "[wav] : Duplicate data? At offset 144.\nPARSE"},
    {"two fmt", riff(fmtChunk() + fmtChunk() + data),
     "[wav] : Duplicate fmt? At offset 36.\nPARSE"},
    {"two fact", riff(chunk("fact", "abcd") + chunk("fact", "abcd")),
     "[wav] : Duplicate fact? At offset 24.\nPARSE"},
    {"RIFF again", riff(chunk("RIFF", "abcd")), "[wav] : Duplicate RIFF? At offset 12.\nPARSE"},
    {"WAVE again", riff(chunk("WAVE", "abcd")), "[wav] : Duplicate WAVE? At offset 12.\nPARSE"},
    {"last chunk past the end", riff(fmtChunk() + "data" + word32(200) + samples(100)),
     "[wav] : Last chunk is corrupted?\nPARSE"},
    {"chunk of 2^32 - 1", riff(fmtChunk() + "data" + word32(UINT32_MAX) + samples(100)),
     "[wav] : Last chunk is corrupted?\nPARSE"},
    {"chunk of 2^31", riff(fmtChunk() + "data" + word32(0x80000000) + samples(100)),
     "[wav] : Last chunk is corrupted?\nPARSE"},
    {"stray bytes", riff(fmtChunk() + data) + "abc", "PARSE"},
    {"no fmt", riff(data), "[wav] : No fmt?\nPARSE"},
    {"no data", riff(fmtChunk()), "[wav] : No data?\nPARSE"},
    {"float", riff(fmtChunk({.tag = 3}) + data), "[wav] : Unsupported audio format 3.\nPARSE"},
    {"three channels", riff(fmtChunk({.channels = 3}) + data), "PARSE"},
    {"24 bits", riff(fmtChunk({.bits = 24}) + data), "PARSE"},
    {"block align",
     riff(chunk("fmt ",
                word16(1) + word16(1) + word32(8000) + word32(16000) + word16(4) + word16(16)) +
          data),
     "[wav] : 'blockalign' field mismatch?\nPARSE"},
    {"byte rate",
     riff(chunk("fmt ",
                word16(1) + word16(1) + word32(8000) + word32(8000) + word16(2) + word16(16)) +
          data),
     "[wav] : 'byterate' field mismatch?\nPARSE"},
    {"byte rate that only 32 bits make right",
     riff(chunk("fmt ",
                word16(1) + word16(1) + word32(0x80000000) + word32(0) + word16(2) + word16(16)) +
          data),
     "[wav] : 'byterate' field mismatch?\nPARSE"},
    {"8 bits", riff(fmtChunk({.bits = 8}) + data),
     "[wav] : Only support 16-bit samples at present.\n"},
};

TEST(WavReader, RefusesWithTheRightWords) {
    for (const Refusal &refusal : refusals) {
        const Opening opening = open(refusal.bytes);
        EXPECT_EQ(-1, opening.result) << refusal.name;
        EXPECT_EQ(refusal.message, opening.message) << refusal.name;
    }
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
    EXPECT_EQ("[wav] : Last chunk is corrupted?\nPARSE",
              open(riff(data + fmtChunk({.behind = word16(6)}))).message);
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

TEST(WavReader, CutsAPathAtItsRoom) {
    WAV_FILE *handle = nullptr;
    const std::string path(200, 'x');
    EXPECT_EQ("[wav] : Open " + path.substr(0, 129) + " fail.\n",
              outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, path.c_str())); }));
}

// What is no file of samples must not hold or fault the caller.
TEST(WavReader, RefusesDirectoriesPipesAndSilentRates) {
    WAV_FILE *handle = nullptr;
    EXPECT_EQ("[wav] : Parse /tmp fail.\n",
              outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, "/tmp")); }));
    const TemporaryFile place("");
    const std::string pipe = std::string(place.path()) + ".pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    outputOf([&] { EXPECT_EQ(-1, WAV_Initial(&handle, pipe.c_str())); });
    unlink(pipe.c_str());
    OpenWav silent(riff(fmtChunk({.rate = 0}) + data));
    EXPECT_EQ(0U, WAV_GetDuration(silent.handle));
}

} // namespace
