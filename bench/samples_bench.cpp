// What becomes of a record's samples between the decoder and the driver, beside memcpy of the same
// bytes.
#include "audioout/split_samples.h"
#include "bench/tireless_driver.h"
#include "mpp/include/mpp_ao.h"
#include "mpp/include/mpp_sys.h"
#include "src/voxo/match_rate.h"
#include "src/voxo/stereo.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {

constexpr std::uint32_t points = 640;
constexpr std::uint32_t channel = 1; // the road's benchmarks have the first one
constexpr std::uint32_t monoBytes = 2 * points;
constexpr std::uint32_t stereoBytes = 2 * monoBytes;

// Times `code`, which works on the bytes at `data`.
template <typename Code>
void time(benchmark::State &state, const void *data, Code code) {
    while (state.KeepRunning()) {
        code();
        benchmark::DoNotOptimize(data);
        benchmark::ClobberMemory();
    }
}

// Buffers of a record that is four times as long at most.
struct Buffers {
    std::vector<std::int16_t> from = std::vector<std::int16_t>(std::size_t{8} * points + 2, 7);
    std::vector<std::int16_t> to = std::vector<std::int16_t>(std::size_t{8} * points + 2);
};

void copy(benchmark::State &state) {
    Buffers buffers;
    const auto size = static_cast<std::size_t>(state.range(0));
    time(state, buffers.to.data(),
         [&] { std::memcpy(buffers.to.data(), buffers.from.data(), size); });
}

void stereo(benchmark::State &state) {
    Buffers buffers;
    time(state, buffers.to.data(),
         [&] { voxoDoubleToStereo(buffers.from.data(), points, buffers.to.data()); });
}
BENCHMARK(stereo)->Name("mono to stereo/voxo");
BENCHMARK(copy)->Name("mono to stereo/memcpy")->Arg(stereoBytes);

void match(benchmark::State &state, std::uint32_t ratio) {
    Buffers buffers;
    time(state, buffers.to.data(), [&] {
        std::uint32_t size = stereoBytes;
        voxoMatchRate(buffers.from.data(), buffers.to.data(), &size, ratio);
    });
}
BENCHMARK_CAPTURE(match, double, 4)->Name("match rate to 16 kHz/voxo");
BENCHMARK(copy)->Name("match rate to 16 kHz/memcpy")->Arg(std::int64_t{2} * stereoBytes);
BENCHMARK_CAPTURE(match, odd, 3)->Name("match rate to 12 kHz/voxo");
BENCHMARK(copy)->Name("match rate to 12 kHz/memcpy")->Arg(std::int64_t{3} * stereoBytes / 2);

void split(benchmark::State &state) {
    Buffers buffers;
    auto *const even = reinterpret_cast<unsigned char *>(buffers.to.data());
    time(state, even, [&] {
        splitSamples(buffers.from.data(), stereoBytes, 2, even, even + std::size_t{2} * monoBytes);
    });
}
BENCHMARK(split)->Name("split into channels/voxo");
BENCHMARK(copy)->Name("split into channels/memcpy")->Arg(stereoBytes);

// A frame in, a period out: each byte is copied into the circular buffer and out of it.
void deliver(benchmark::State &state) {
    Buffers buffers;
    setDriverMakesCalls(false);
    const AIO_ATTR_S attr = {8000, AUDIO_BIT_WIDTH_16, 0, AUDIO_SOUND_MODE_STEREO, 1, 30, points, 2,
                             0};
    HI_MPI_SYS_Init();
    HI_MPI_AO_SetPubAttr(0, &attr);
    HI_MPI_AO_EnableChn(0, channel);
    AUDIO_FRAME_S frame = {};
    frame.enBitwidth = AUDIO_BIT_WIDTH_16;
    frame.enSoundmode = AUDIO_SOUND_MODE_STEREO;
    frame.pVirAddr[0] = buffers.from.data();
    frame.pVirAddr[1] = buffers.from.data() + points;
    frame.u32Len = monoBytes;
    while (state.KeepRunning()) {
        if (HI_MPI_AO_SendFrame(0, channel, &frame, 0) != 0) {
            state.SkipWithError("not delivered");
            break;
        }
    }
    HI_MPI_AO_DisableChn(0, channel);
}
BENCHMARK(deliver)->Name("frame delivery/voxo");

void copyTwice(benchmark::State &state) {
    Buffers buffers;
    time(state, buffers.to.data(), [&] {
        std::memcpy(buffers.to.data(), buffers.from.data(), stereoBytes);
        benchmark::DoNotOptimize(buffers.to.data());
        std::memcpy(buffers.from.data(), buffers.to.data(), stereoBytes);
    });
}
BENCHMARK(copyTwice)->Name("frame delivery/memcpy");

} // namespace
