// Plays a WAV file through the media platform alone: play_wav FILE
//
// A whole program for the audio output: start the platform, describe the device, enable it and a
// channel, send frames, take everything down in reverse. On a virtual camera:
//
//     vcam run --bare                     and in another terminal
//     vcam exec play_wav samples/speech.wav
#include "mpp/include/mpp_ao.h"
#include "mpp/include/mpp_sys.h"
#include "wav/wav.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace {

constexpr std::uint32_t dev = 0;
constexpr std::uint32_t chn = 0;
constexpr std::uint32_t periodsPerSecond = 25;
constexpr std::uint32_t queuedPeriods = 10; // wait in the driver while it plays
constexpr std::int32_t sendMilliSec = 1000;

bool succeeded(const char *operation, std::int32_t result) {
    if (result != 0) {
        std::fprintf(stderr, "%s: 0x%08x\n", operation, static_cast<unsigned>(result));
    }
    return result == 0;
}

// The samples of a file, a period at a time, each side in a buffer of its own.
class Clip {
public:
    explicit Clip(const char *path) {
        if (WAV_Initial(&file_, path) == 0) {
            bytesLeft_ = WAV_GetDataBytes(file_);
        }
    }
    Clip(const Clip &) = delete;
    Clip &operator=(const Clip &) = delete;
    ~Clip() { WAV_Release(&file_); }

    bool isOpen() const { return file_ != nullptr; }
    std::uint32_t channels() const { return WAV_GetChannel(file_); }
    std::uint32_t rate() const { return WAV_GetSampleRate(file_); }

    // Reads the next `points` points; what the file does not have any more is silence. False when
    // it has none.
    bool read(std::uint32_t points) {
        std::fill(std::begin(samples_), std::end(samples_), std::int16_t{0});
        const auto wanted =
            static_cast<std::uint32_t>(std::size_t{points} * channels() * sizeof(std::int16_t));
        std::uint32_t count = std::min(wanted, bytesLeft_);
        if (WAV_GetBuffer(file_, samples_, &count) != 0) {
            count = 0;
        }
        bytesLeft_ -= count;
        const std::int16_t *next = samples_;
        for (std::uint32_t i = 0; i < points; ++i, next += channels()) {
            left_[i] = next[0];
            right_[i] = next[channels() - 1];
        }
        return count != 0;
    }

    std::int16_t *left() { return left_; }
    std::int16_t *right() { return right_; }

private:
    WAV_FILE *file_ = nullptr;
    std::uint32_t bytesLeft_ = 0;
    std::int16_t samples_[2 * MAX_AO_POINT_NUM] = {};
    std::int16_t left_[MAX_AO_POINT_NUM] = {};
    std::int16_t right_[MAX_AO_POINT_NUM] = {};
};

// The audio output, open for 16-bit samples for as long as it lives.
class Output {
public:
    Output() = default;
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;
    ~Output() {
        HI_MPI_AO_DisableChn(dev, chn);
        HI_MPI_AO_Disable(dev);
        HI_MPI_SYS_Exit();
    }

    bool open(std::uint32_t rate, bool isStereo) {
        attr_.enSamplerate = rate;
        attr_.enBitwidth = AUDIO_BIT_WIDTH_16;
        attr_.enSoundmode = isStereo ? AUDIO_SOUND_MODE_STEREO : AUDIO_SOUND_MODE_MONO;
        attr_.u32EXFlag = 1;
        attr_.u32FrmNum = queuedPeriods;
        attr_.u32PtNumPerFrm = std::clamp(rate / periodsPerSecond, 80U, MAX_AO_POINT_NUM);
        attr_.u32ChnCnt = isStereo ? 2 : 1;
        return succeeded("HI_MPI_SYS_Init", HI_MPI_SYS_Init()) &&
               succeeded("HI_MPI_AO_SetPubAttr", HI_MPI_AO_SetPubAttr(dev, &attr_)) &&
               succeeded("HI_MPI_AO_Enable", HI_MPI_AO_Enable(dev)) &&
               succeeded("HI_MPI_AO_EnableChn", HI_MPI_AO_EnableChn(dev, chn));
    }

    std::uint32_t points() const { return attr_.u32PtNumPerFrm; }

    // Sends one period.
    bool send(std::int16_t *left, std::int16_t *right) const {
        AUDIO_FRAME_S frame = {};
        frame.enBitwidth = attr_.enBitwidth;
        frame.enSoundmode = attr_.enSoundmode;
        frame.pVirAddr[0] = left;
        frame.pVirAddr[1] = right;
        frame.u32Len = static_cast<std::uint32_t>(points() * sizeof(std::int16_t));
        return succeeded("HI_MPI_AO_SendFrame",
                         HI_MPI_AO_SendFrame(dev, chn, &frame, sendMilliSec));
    }

    // Waits until the driver has played all that it may still hold.
    void playOut() const {
        const std::uint64_t points = std::uint64_t{queuedPeriods} * attr_.u32PtNumPerFrm;
        usleep(static_cast<useconds_t>(points * 1'000'000 / attr_.enSamplerate));
    }

private:
    AIO_ATTR_S attr_ = {};
};

bool play(Clip &clip) {
    Output output;
    if (!output.open(clip.rate(), clip.channels() == 2)) {
        return false;
    }
    while (clip.read(output.points())) {
        if (!output.send(clip.left(), clip.right())) {
            return false;
        }
    }
    // A period reaches the driver with the one behind it, so silence pushes the last one out.
    const bool sent = output.send(clip.left(), clip.right());
    output.playOut();
    return sent;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: play_wav FILE\n");
        return 2;
    }
    Clip clip(argv[1]);
    return clip.isOpen() && play(clip) ? 0 : 1;
}
