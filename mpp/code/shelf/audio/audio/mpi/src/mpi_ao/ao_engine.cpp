#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_engine.h"

#include <algorithm>
#include <cstring>

struct AoEngine {
    AoEngineAttr attr;
    std::uint32_t points;  // held
    std::uint32_t phase;   // of the next output sample behind `previous`, in 1 / outRate
    std::int32_t previous; // last sample of the frame before
    unsigned char samples[MAX_AO_POINT_NUM * sizeof(std::int32_t)];
};

namespace {

template <typename Sample>
std::int32_t sampleAt(const void *samples, std::uint32_t index) {
    Sample sample = 0;
    std::memcpy(&sample, static_cast<const Sample *>(samples) + index, sizeof sample);
    return std::int32_t{sample};
}

// Between two samples, `phase` parts of `whole` from the first.
std::int32_t interpolate(std::int32_t from, std::int32_t to, std::uint32_t phase,
                         std::uint32_t whole) {
    const std::int64_t rise = std::int64_t{to} - from;
    return static_cast<std::int32_t>(from + rise * phase / whole);
}

// The input samples lie at the times outRate, 2 x outRate, ..., the last one of the frame before at
// 0; an output sample is due every inRate.
template <typename Sample>
std::uint32_t resample(AoEngine &engine, void *data, std::uint32_t room) {
    const std::uint32_t inRate = engine.attr.inRate;
    const std::uint32_t outRate = engine.attr.outRate;
    auto *const output = static_cast<Sample *>(data);
    std::uint32_t count = 0;
    std::uint64_t time = engine.phase;
    const std::uint64_t end = std::uint64_t{engine.points} * outRate;
    for (; time < end && count < room; time += inRate) {
        const auto index = static_cast<std::uint32_t>(time / outRate);
        const std::int32_t from =
            index == 0 ? engine.previous : sampleAt<Sample>(engine.samples, index - 1);
        const std::int32_t to = sampleAt<Sample>(engine.samples, index);
        output[count++] = static_cast<Sample>(
            interpolate(from, to, static_cast<std::uint32_t>(time % outRate), outRate));
    }
    engine.previous = sampleAt<Sample>(engine.samples, engine.points - 1);
    engine.phase = static_cast<std::uint32_t>(std::max(time, end) - end);
    return count;
}

std::uint32_t resample(AoEngine &engine, void *data, std::uint32_t room) {
    switch (engine.attr.bitWidth) {
    case AUDIO_BIT_WIDTH_8:
        return resample<std::int8_t>(engine, data, room);
    case AUDIO_BIT_WIDTH_16:
        return resample<std::int16_t>(engine, data, room);
    default:
        return resample<std::int32_t>(engine, data, room);
    }
}

std::uint32_t passThrough(const AoEngine &engine, void *data, std::uint32_t room) {
    const std::uint32_t count = std::min(engine.points, room);
    std::memcpy(data, engine.samples, std::size_t{count} << engine.attr.bitWidth);
    return count;
}

} // namespace

std::int32_t aoEngineCreate(AoEngine **engine, const AoEngineAttr *attr) {
    *engine = nullptr;
    if (attr->bitWidth > AUDIO_BIT_WIDTH_24 || attr->inRate == 0 || attr->outRate == 0) {
        return ERR_AO_ENGINE;
    }
    *engine = static_cast<AoEngine *>(std::calloc(1, sizeof(AoEngine)));
    if (*engine == nullptr) {
        return ERR_AO_ENGINE;
    }
    (*engine)->attr = *attr;
    return 0;
}

std::int32_t aoEngineReplace(AoEngine **engine, const AoEngineAttr *attr) {
    AoEngine *fresh = nullptr;
    const std::int32_t error = aoEngineCreate(&fresh, attr);
    if (error == 0) {
        aoEngineDestroy(*engine);
        *engine = fresh;
    }
    return error;
}

void aoEngineDestroy(AoEngine *engine) {
    std::free(engine);
}

void aoEngineGetAttr(const AoEngine *engine, AoEngineAttr *attr) {
    *attr = engine->attr;
}

std::int32_t aoEngineWriteFrame(AoEngine *engine, const void *data, std::uint32_t points,
                                std::uint32_t bitWidth) {
    if (engine == nullptr || engine->attr.bitWidth != bitWidth || points > MAX_AO_POINT_NUM) {
        return ERR_AO_ENGINE;
    }
    std::memcpy(engine->samples, data, std::size_t{points} << engine->attr.bitWidth);
    engine->points = points;
    return 0;
}

std::int32_t aoEngineReadFrame(AoEngine *engine, void *data, std::uint32_t points) {
    if (engine == nullptr || engine->points == 0) {
        return -1;
    }
    const std::uint32_t room = std::min(points, MAX_AO_POINT_NUM);
    const std::uint32_t count = engine->attr.inRate == engine->attr.outRate
                                    ? passThrough(*engine, data, room)
                                    : resample(*engine, data, room);
    engine->points = 0;
    return static_cast<std::int32_t>(count);
}
