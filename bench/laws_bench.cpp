// Law expansion, 640 bytes at a time, beside libsndfile and spandsp.
#include "codec/g711_law.h"

#include <benchmark/benchmark.h>
#include <sndfile.hh>

#include <spandsp.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t frameSize = 640;
constexpr std::size_t frames = 64; // law bytes that the laws are read from, over and over

std::vector<std::uint8_t> lawBytes() {
    std::vector<std::uint8_t> bytes(frames * frameSize);
    std::uint32_t state = 1;
    for (std::uint8_t &byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

// Hands out the next frame's place.
class Frames {
public:
    const std::uint8_t *next() {
        at_ = (at_ + 1) % frames;
        return bytes_.data() + at_ * frameSize;
    }

private:
    std::vector<std::uint8_t> bytes_ = lawBytes();
    std::size_t at_ = 0;
};

// A record's payload is read into a buffer first, and expanded from there.
void voxo(benchmark::State &state, std::uint32_t law) {
    Frames source;
    std::uint8_t input[frameSize];
    std::int16_t output[frameSize];
    const G711LawConfig config = {1, frameSize, law, nullptr};
    G711LawDecoder *decoder = nullptr;
    G711Law_Create(&decoder, &config);
    const G711LawIO io = {input, output};
    while (state.KeepRunning()) {
        std::memcpy(input, source.next(), frameSize);
        G711Law_Process(decoder, &io);
        benchmark::DoNotOptimize(output);
        benchmark::ClobberMemory();
    }
    G711Law_Destroy(&decoder);
}
BENCHMARK_CAPTURE(voxo, alaw, G711_LAW_A)->Name("expand A-law/voxo");
BENCHMARK_CAPTURE(voxo, ulaw, G711_LAW_U)->Name("expand u-law/voxo");

// Law bytes without end, as a file of libsndfile's.
struct EndlessFile {
    std::vector<std::uint8_t> bytes = lawBytes();
    std::size_t at = 0;

    static sf_count_t length(void * /*user*/) { return sf_count_t{1} << 40; }
    static sf_count_t seek(sf_count_t offset, int whence, void * /*user*/) {
        return whence == SEEK_SET ? offset : 0;
    }
    static sf_count_t read(void *data, sf_count_t count, void *user) {
        auto &file = *static_cast<EndlessFile *>(user);
        auto *to = static_cast<std::uint8_t *>(data);
        for (auto left = static_cast<std::size_t>(count); left > 0;) {
            const std::size_t size = std::min(left, file.bytes.size() - file.at);
            std::memcpy(to, file.bytes.data() + file.at, size);
            file.at = (file.at + size) % file.bytes.size();
            to += size;
            left -= size;
        }
        return count;
    }
    static sf_count_t write(const void * /*data*/, sf_count_t /*count*/, void * /*user*/) {
        return 0;
    }
    static sf_count_t tell(void * /*user*/) { return 0; }
};

void libsndfile(benchmark::State &state, int format) {
    EndlessFile endless;
    SF_VIRTUAL_IO calls = {EndlessFile::length, EndlessFile::seek, EndlessFile::read,
                           EndlessFile::write, EndlessFile::tell};
    SndfileHandle file(calls, &endless, SFM_READ, SF_FORMAT_RAW | format, 1, 8000);
    std::int16_t output[frameSize];
    while (state.KeepRunning()) {
        if (file.read(output, frameSize) != frameSize) {
            state.SkipWithError("libsndfile does not read");
            return;
        }
        benchmark::DoNotOptimize(output);
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(libsndfile, alaw, SF_FORMAT_ALAW)->Name("expand A-law/libsndfile");
BENCHMARK_CAPTURE(libsndfile, ulaw, SF_FORMAT_ULAW)->Name("expand u-law/libsndfile");

void spandsp(benchmark::State &state, int law) {
    Frames source;
    std::uint8_t input[frameSize];
    std::int16_t output[frameSize];
    g711_state_t *const decoder = g711_init(nullptr, law);
    while (state.KeepRunning()) {
        std::memcpy(input, source.next(), frameSize);
        g711_decode(decoder, output, input, frameSize);
        benchmark::DoNotOptimize(output);
        benchmark::ClobberMemory();
    }
    g711_free(decoder);
}
BENCHMARK_CAPTURE(spandsp, alaw, G711_ALAW)->Name("expand A-law/spandsp");
BENCHMARK_CAPTURE(spandsp, ulaw, G711_ULAW)->Name("expand u-law/spandsp");

// The bytes that come in and go out.
void floorOfLaws(benchmark::State &state) {
    Frames source;
    std::uint8_t input[frameSize];
    std::uint8_t output[2 * frameSize] = {};
    while (state.KeepRunning()) {
        std::memcpy(input, source.next(), frameSize);
        benchmark::DoNotOptimize(input);
        std::memcpy(output, input, frameSize);
        std::memcpy(output + frameSize, input, frameSize);
        benchmark::DoNotOptimize(output);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(floorOfLaws)->Name("expand A-law/memcpy");
BENCHMARK(floorOfLaws)->Name("expand u-law/memcpy");

} // namespace
