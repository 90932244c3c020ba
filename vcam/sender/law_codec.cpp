#include "vcam/sender/law_codec.h"

#include "vcam/camera/camera.h"

#include <samplerate.h>
#include <sndfile.hh>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int streamRate = 8000;
constexpr sf_count_t framesAtATime = 4096;

// A file in memory, for libsndfile.
struct MemoryFile {
    std::vector<std::uint8_t> bytes;
    std::size_t position = 0;
};

MemoryFile &fileOf(void *user) {
    return *static_cast<MemoryFile *>(user);
}

SF_VIRTUAL_IO memoryFileCalls() {
    SF_VIRTUAL_IO calls = {};
    calls.get_filelen = [](void *user) {
        return static_cast<sf_count_t>(fileOf(user).bytes.size());
    };
    calls.seek = [](sf_count_t offset, int whence, void *user) {
        MemoryFile &file = fileOf(user);
        const auto base = whence == SEEK_SET   ? sf_count_t{0}
                          : whence == SEEK_CUR ? static_cast<sf_count_t>(file.position)
                                               : static_cast<sf_count_t>(file.bytes.size());
        file.position = static_cast<std::size_t>(base + offset);
        return base + offset;
    };
    calls.read = [](void *data, sf_count_t count, void *user) {
        MemoryFile &file = fileOf(user);
        const std::size_t size =
            std::min(static_cast<std::size_t>(count), file.bytes.size() - file.position);
        std::memcpy(data, file.bytes.data() + file.position, size);
        file.position += size;
        return static_cast<sf_count_t>(size);
    };
    calls.write = [](const void *data, sf_count_t count, void *user) {
        MemoryFile &file = fileOf(user);
        const auto size = static_cast<std::size_t>(count);
        file.bytes.resize(std::max(file.bytes.size(), file.position + size));
        std::memcpy(file.bytes.data() + file.position, data, size);
        file.position += size;
        return count;
    };
    calls.tell = [](void *user) { return static_cast<sf_count_t>(fileOf(user).position); };
    return calls;
}

int rawFormat(Law law) {
    return SF_FORMAT_RAW | (law == Law::a ? SF_FORMAT_ALAW : SF_FORMAT_ULAW);
}

std::vector<float> readMono(SndfileHandle &file) {
    const int channels = file.channels();
    std::vector<float> mono;
    std::vector<float> frames(static_cast<std::size_t>(framesAtATime * channels));
    for (sf_count_t count = 0; (count = file.readf(frames.data(), framesAtATime)) > 0;) {
        for (sf_count_t frame = 0; frame < count; ++frame) {
            float sum = 0;
            for (int channel = 0; channel < channels; ++channel) {
                sum += frames[static_cast<std::size_t>(frame * channels + channel)];
            }
            mono.push_back(sum / static_cast<float>(channels));
        }
    }
    return mono;
}

std::vector<float> resample(const std::vector<float> &input, int rate) {
    if (rate == streamRate) {
        return input;
    }
    const double ratio = static_cast<double>(streamRate) / rate;
    std::vector<float> output(
        static_cast<std::size_t>(std::ceil(static_cast<double>(input.size()) * ratio)) + 1);
    SRC_DATA data = {};
    data.data_in = input.data();
    data.data_out = output.data();
    data.input_frames = static_cast<long>(input.size());
    data.output_frames = static_cast<long>(output.size());
    data.src_ratio = ratio;
    if (const int error = src_simple(&data, SRC_SINC_MEDIUM_QUALITY, 1); error != 0) {
        throw CameraError(std::string("cannot resample: ") + src_strerror(error));
    }
    output.resize(static_cast<std::size_t>(data.output_frames_gen));
    return output;
}

} // namespace

Samples readAudio(const std::string &name) {
    SndfileHandle file(name);
    if (!file || file.channels() < 1 || file.samplerate() < 1) {
        throw CameraError("cannot read " + name + ": " + file.strError());
    }
    const std::vector<float> sound = resample(readMono(file), file.samplerate());
    Samples samples(sound.size());
    src_float_to_short_array(sound.data(), samples.data(), static_cast<int>(sound.size()));
    return samples;
}

std::vector<std::uint8_t> lawEncode(const Samples &samples, Law law) {
    MemoryFile memory;
    SF_VIRTUAL_IO calls = memoryFileCalls();
    {
        SndfileHandle file(calls, &memory, SFM_WRITE, rawFormat(law), 1, streamRate);
        file.write(samples.data(), static_cast<sf_count_t>(samples.size()));
    }
    return std::move(memory.bytes);
}

Samples lawDecode(const std::vector<std::uint8_t> &bytes, Law law) {
    MemoryFile memory = {bytes, 0};
    SF_VIRTUAL_IO calls = memoryFileCalls();
    SndfileHandle file(calls, &memory, SFM_READ, rawFormat(law), 1, streamRate);
    Samples samples(bytes.size());
    samples.resize(static_cast<std::size_t>(
        file.read(samples.data(), static_cast<sf_count_t>(samples.size()))));
    return samples;
}
