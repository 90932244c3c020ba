// A loudspeaker of the PC's own, through ALSA, whose default device sound servers answer for, too.
#pragma once

#include "vcam/speaker/dac.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct _snd_pcm;

// Plays on a thread of its own, a fifth of a second behind the board, whose pace it never changes:
// when the PC is slower than the board, periods are left out, and when it is faster, it runs dry
// now and then. Both are counted, apart from what the board counts. When the device cannot be had,
// or not any more, the user is told and nothing is heard.
class AlsaSpeaker : public PeriodSink {
public:
    // `device`: ALSA's name of it ("default", "hw:1").
    AlsaSpeaker(const std::string &device, ListenRegisters &listen);
    AlsaSpeaker(const AlsaSpeaker &) = delete;
    AlsaSpeaker &operator=(const AlsaSpeaker &) = delete;
    ~AlsaSpeaker() override;

    void play(const PlayFormat &format, std::span<const std::int32_t> samples) override;
    void rest(std::uint64_t nanoseconds) override;

private:
    struct Piece {
        PlayFormat format;
        std::vector<std::int32_t> samples;
        bool goesOn; // straight behind the one before
    };

    void run(const std::stop_token &stop);
    bool next(const std::stop_token &stop, Piece &piece);
    void playPiece(const std::stop_token &stop, const Piece &piece);
    bool setFormat(const PlayFormat &format);
    long write(const Piece &piece, std::size_t done);
    void giveUp(const char *what, int error);

    struct Closer {
        void operator()(_snd_pcm *pcm) const;
    };

    const std::string device_;
    ListenRegisters &listen_;
    std::unique_ptr<_snd_pcm, Closer> pcm_; // the thread's
    PlayFormat format_ = {};
    std::vector<std::int16_t> narrow_;
    std::mutex lock_;
    std::condition_variable_any change_;
    std::deque<Piece> pieces_;
    bool isResting_ = true;
    std::jthread thread_; // last: it uses all of these
};
