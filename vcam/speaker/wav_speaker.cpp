#include "vcam/speaker/wav_speaker.h"

#include "vcam/board/board_time.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int setsKept = 9;

fs::path withMark(const fs::path &path, char mark, int number) {
    std::string name = path.stem().string();
    name.append(1, mark).append(std::to_string(number)).append(path.extension().string());
    return path.parent_path() / name;
}

// A file of an earlier speaker; 0: of this one.
fs::path partOfSet(const fs::path &first, int number, int set) {
    const fs::path part = speakerPart(first, number);
    return set == 0 ? part : withMark(part, '.', set);
}

// Makes room for a new set of files.
void keepEarlier(const fs::path &first) {
    std::error_code ignored;
    for (int number = 1; fs::remove(partOfSet(first, number, setsKept), ignored); ++number) {
    }
    for (int set = setsKept - 1; set >= 0; --set) {
        for (int number = 1; fs::exists(partOfSet(first, number, set), ignored); ++number) {
            fs::rename(partOfSet(first, number, set), partOfSet(first, number, set + 1));
        }
    }
}

} // namespace

fs::path speakerPart(const fs::path &first, int number) {
    return number > 1 ? withMark(first, '-', number) : first;
}

WavSpeaker::WavSpeaker(fs::path path, Gaps gaps, LossRegisters &loss, std::uint64_t longest)
    : path_(std::move(path)), gaps_(gaps), loss_(loss), longest_(longest) {
    keepEarlier(path_);
}

// Frames that the file still takes.
std::uint64_t WavSpeaker::roomFor(const PlayFormat &format) const {
    const std::uint64_t frameBytes = std::uint64_t{format.channels} * (format.bits == 24 ? 3 : 2);
    const auto frames = static_cast<std::uint64_t>(frames_);
    return longest_ / frameBytes - std::min(frames, longest_ / frameBytes);
}

void WavSpeaker::play(const PlayFormat &format, std::span<const std::int32_t> samples) {
    const std::uint64_t frames = samples.size() / format.channels;
    errno = 0;
    const bool goesOn = file_ != nullptr && format == format_ && frames <= roomFor(format);
    const bool isOpen = goesOn || open(format);
    if (!isOpen || !write(samples)) {
        reportLoss(errno != 0 ? errno : EIO);
    }
}

// Leaves a hole in the file, as long as there is room; a new one begins with a sound.
void WavSpeaker::rest(std::uint64_t nanoseconds) {
    if (file_ == nullptr || gaps_ == Gaps::leftOut) {
        return;
    }
    const std::uint64_t whole = nanoseconds / nanosecondsPerSecond;
    const std::uint64_t part = nanoseconds % nanosecondsPerSecond * format_.rate + restLeft_;
    restLeft_ = part % nanosecondsPerSecond;
    const std::uint64_t frames = whole * format_.rate + part / nanosecondsPerSecond;
    frames_ += static_cast<sf_count_t>(std::min(frames, roomFor(format_)));
    sf_seek(file_.get(), frames_, SEEK_SET);
}

bool WavSpeaker::open(const PlayFormat &format) {
    format_ = format;
    frames_ = 0;
    restLeft_ = 0;
    SF_INFO info = {};
    info.samplerate = static_cast<int>(format.rate);
    info.channels = static_cast<int>(format.channels);
    info.format = SF_FORMAT_WAV | (format.bits == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_16);
    file_.reset(sf_open(speakerPart(path_, files_ + 1).c_str(), SFM_WRITE, &info));
    if (file_ == nullptr) {
        return false;
    }
    ++files_;
    sf_command(file_.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    return true;
}

// Writes all, or leaves the file as it was.
bool WavSpeaker::write(std::span<const std::int32_t> samples) {
    const auto count = static_cast<sf_count_t>(samples.size());
    if (sf_write_int(file_.get(), samples.data(), count) == count) {
        frames_ += count / format_.channels;
        return true;
    }
    const int error = errno;
    sf_count_t frames = frames_;
    sf_command(file_.get(), SFC_FILE_TRUNCATE, &frames, sizeof frames);
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    errno = error;
    return false;
}

void WavSpeaker::reportLoss(int error) {
    loss_.error = static_cast<std::uint32_t>(error);
    if (++loss_.periods == 1) {
        std::cerr << "vcam: what plays can no longer be kept in "
                  << speakerPart(path_, files_).string() << ": " << std::strerror(error)
                  << std::endl;
    }
}
