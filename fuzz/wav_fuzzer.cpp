// WAV files: taken exactly when a plain reading of the format takes them, with its figures, and
// handed out byte for byte.
#include "fuzz/fuzz.h"
#include "tests/wav/plain_wav.h"
#include "tests/wav/wav_bytes.h"

void fuzz(Input input) {
    const std::string bytes = input.text();
    const TemporaryFile file(bytes);
    WAV_FILE *wav = nullptr;
    const bool isTaken = WAV_Initial(&wav, file.path()) == 0;
    try {
        const PlainWav plain(bytes);
        require(isTaken, "a whole file is taken");
        WAV_INFO info = {};
        require(WAV_GetInfo(wav, &info) == 0 && std::memcmp(&info, &plain.info, sizeof info) == 0,
                "the figures are the file's");
        std::string read(bytes.size(), '\0');
        auto count = static_cast<std::uint32_t>(read.size());
        require(WAV_GetBuffer(wav, read.data(), &count) == 0 &&
                    bytes.substr(plain.dataOffset) == read.substr(0, count),
                "the samples are the file's");
        WAV_ShowInfo(wav);
    } catch (const std::out_of_range &) {
        require(!isTaken, "a damaged file is refused");
    }
    WAV_Release(&wav);
}
