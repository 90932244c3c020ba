#include "vcam/speaker/alsa_speaker.h"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr unsigned latency = 200'000; // microseconds, in the device's buffer
constexpr auto patience = 100ms;      // with the board, then with the device
constexpr std::size_t mostPieces = 16;

// ALSA would write its own words to the terminal.
void sayNothing(const char * /*file*/, int /*line*/, const char * /*function*/, int /*error*/,
                const char * /*format*/, ...) {}

} // namespace

void AlsaSpeaker::Closer::operator()(_snd_pcm *pcm) const {
    snd_pcm_drop(pcm);
    snd_pcm_close(pcm);
}

AlsaSpeaker::AlsaSpeaker(const std::string &device, ListenRegisters &listen)
    : device_(device), listen_(listen) {
    snd_lib_error_set_handler(sayNothing);
    snd_pcm_t *pcm = nullptr;
    const int error = snd_pcm_open(&pcm, device.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    if (error < 0) {
        giveUp(error == -EBUSY ? "is busy" : "cannot be opened", error);
        return;
    }
    pcm_.reset(pcm);
    listen_.isOn = 1;
    thread_ = std::jthread([this](const std::stop_token &stop) { run(stop); });
}

AlsaSpeaker::~AlsaSpeaker() {
    listen_.isOn = 0;
}

void AlsaSpeaker::giveUp(const char *what, int error) {
    listen_.isOn = 0;
    std::cerr << "vcam: nothing is heard on this PC: the sound device " << device_ << ' ' << what
              << " (" << snd_strerror(error) << "); the camera goes on" << std::endl;
}

void AlsaSpeaker::play(const PlayFormat &format, std::span<const std::int32_t> samples) {
    if (listen_.isOn == 0) {
        return;
    }
    const std::lock_guard guard(lock_);
    if (pieces_.size() == mostPieces) {
        ++listen_.dropped;
        isResting_ = true;
        return;
    }
    const bool goesOn = !std::exchange(isResting_, false);
    pieces_.push_back({format, {samples.begin(), samples.end()}, goesOn});
    change_.notify_one();
}

void AlsaSpeaker::rest(std::uint64_t /*nanoseconds*/) {
    const std::lock_guard guard(lock_);
    isResting_ = true;
}

void AlsaSpeaker::run(const std::stop_token &stop) {
    Piece piece;
    while (!stop.stop_requested() && listen_.isOn != 0) {
        if (next(stop, piece)) {
            playPiece(stop, piece);
        } else if (snd_pcm_state(pcm_.get()) == SND_PCM_STATE_PREPARED) {
            snd_pcm_start(pcm_.get()); // a sound that is too short to fill the buffer
        }
    }
}

// Waits a little for the next piece.
bool AlsaSpeaker::next(const std::stop_token &stop, Piece &piece) {
    std::unique_lock guard(lock_);
    if (!change_.wait_for(guard, stop, patience, [this] { return !pieces_.empty(); })) {
        return false;
    }
    piece = std::move(pieces_.front());
    pieces_.pop_front();
    return true;
}

bool AlsaSpeaker::setFormat(const PlayFormat &format) {
    if (format == format_) {
        return true;
    }
    snd_pcm_drop(pcm_.get());
    const int error = snd_pcm_set_params(
        pcm_.get(), format.bits > 16 ? SND_PCM_FORMAT_S32_LE : SND_PCM_FORMAT_S16_LE,
        SND_PCM_ACCESS_RW_INTERLEAVED, format.channels, format.rate, 1, latency);
    if (error < 0) {
        giveUp("does not take this sound", error);
        return false;
    }
    format_ = format;
    return true;
}

void AlsaSpeaker::playPiece(const std::stop_token &stop, const Piece &piece) {
    if (!setFormat(piece.format)) {
        return;
    }
    bool goesOn = piece.goesOn;
    const std::size_t frames = piece.samples.size() / piece.format.channels;
    for (std::size_t done = 0; done < frames && !stop.stop_requested();) {
        const long count = write(piece, done);
        if (count >= 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == -EAGAIN) {
            snd_pcm_wait(pcm_.get(), static_cast<int>(patience.count()));
        } else if (const int error = snd_pcm_recover(pcm_.get(), static_cast<int>(count), 1);
                   error < 0) {
            giveUp("plays no more", error);
            return;
        } else if (std::exchange(goesOn, false)) {
            ++listen_.underruns;
        }
    }
}

// Hands over what is left of a piece. The number of frames, or ALSA's error.
long AlsaSpeaker::write(const Piece &piece, std::size_t done) {
    const std::span<const std::int32_t> left =
        std::span(piece.samples).subspan(done * piece.format.channels);
    const std::size_t frames = left.size() / piece.format.channels;
    if (piece.format.bits > 16) {
        return snd_pcm_writei(pcm_.get(), left.data(), frames);
    }
    narrow_.resize(left.size());
    std::transform(left.begin(), left.end(), narrow_.begin(),
                   [](std::int32_t sample) { return static_cast<std::int16_t>(sample >> 16); });
    return snd_pcm_writei(pcm_.get(), narrow_.data(), frames);
}
