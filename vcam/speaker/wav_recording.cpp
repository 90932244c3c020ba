#include "vcam/speaker/wav_recording.h"

#include "vcam/speaker/wav_speaker.h"

#include <sndfile.hh>

#include <algorithm>

namespace {

template <typename Use>
void forEachPart(const std::filesystem::path &first, const Use &use) {
    for (int number = 1; exists(speakerPart(first, number)); ++number) {
        SndfileHandle file(speakerPart(first, number).string());
        if (file) {
            use(file);
        }
    }
}

} // namespace

std::int64_t recordedFrames(const std::filesystem::path &first) {
    std::int64_t frames = 0;
    forEachPart(first, [&](const SndfileHandle &file) { frames += file.frames(); });
    return frames;
}

Recording recordedSince(const std::filesystem::path &first, std::int64_t frame) {
    Recording result;
    std::int64_t begin = 0; // of the file, in frames of all
    forEachPart(first, [&](SndfileHandle &file) {
        const std::int64_t skipped = std::clamp<std::int64_t>(frame - begin, 0, file.frames());
        const std::int64_t count = file.frames() - skipped;
        begin += file.frames();
        result.channels = file.channels();
        const std::size_t size = result.samples.size();
        result.samples.resize(size + static_cast<std::size_t>(count * file.channels()));
        file.seek(skipped, SEEK_SET);
        file.readf(result.samples.data() + size, count);
    });
    return result;
}
