#include "vcam/cli/commands.h"

#include "mpp/include/mpp_ao.h"
#include "vcam/board/ao_queue.h"
#include "vcam/camera/mapped_board.h"
#include "vcam/sender/law_codec.h"
#include "vcam/sender/stream_sender.h"
#include "vcam/speaker/wav_recording.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <limits>
#include <sstream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int streamRate = 8000;
constexpr auto recordTime = std::chrono::milliseconds(80);
// Records sent ahead of time, so that a sender or daemon that is late is not heard.
constexpr std::size_t recordsAhead = 5;
constexpr auto playOutPatience = std::chrono::seconds(1);
constexpr auto playOutLook = std::chrono::milliseconds(5);

double seconds(std::size_t samples) {
    return static_cast<double>(samples) / streamRate;
}

// Samples of silence that push the last sound out of the platform's buffer: it hands over whole
// periods, and a clip may have left the output with longer ones than a record makes.
std::size_t pushOut(const AoRegisters &ao) {
    const std::size_t period = ao.attr[offsetof(AIO_ATTR_S, u32PtNumPerFrm) / sizeof(Register)];
    return period <= streamPayload ? streamPayload : (period / streamPayload + 2) * streamPayload;
}

// Law bytes in whole records, and the silence behind them.
std::vector<std::uint8_t> recordsOf(const Samples &samples, Law law, std::size_t silence) {
    Samples whole = samples;
    whole.resize((samples.size() + streamPayload - 1) / streamPayload * streamPayload + silence);
    return lawEncode(whole, law);
}

// Shows how far the stream has got: in place on a terminal, else in lines now and then.
class Progress {
public:
    explicit Progress(std::size_t samples)
        : total_(seconds(samples)), isTerminal_(isatty(STDOUT_FILENO) != 0) {}

    void show(std::size_t samples, bool isLast) {
        const double done = std::min(seconds(samples), total_);
        if (!isTerminal_ && !isLast && (done < nextLine_ || done >= total_)) {
            return;
        }
        nextLine_ = done + 1;
        std::cout << (isTerminal_ ? "\r" : "") << "vcam: cast " << std::fixed
                  << std::setprecision(1) << done << " of " << total_ << " s ("
                  << static_cast<int>(total_ > 0 ? 100 * done / total_ : 100) << " %)"
                  << (isTerminal_ && !isLast ? "" : "\n") << std::flush;
    }

private:
    double total_;
    double nextLine_ = 0;
    bool isTerminal_;
};

void sendAll(StreamSender &sender, const std::vector<std::uint8_t> &bytes, std::size_t samples,
             bool fast) {
    Progress progress(samples);
    const Clock::time_point start = Clock::now();
    const std::size_t records = bytes.size() / streamPayload;
    for (std::size_t i = 0; i < records; ++i) {
        if (!fast && i > recordsAhead) {
            std::this_thread::sleep_until(start + recordTime * static_cast<int>(i - recordsAhead));
        }
        sender.sendPayload(std::span(bytes).subspan(i * streamPayload, streamPayload));
        progress.show((i + 1) * streamPayload, i + 1 == records);
    }
}

// The time from here to the first sound is taken, if nothing plays that would be taken for it.
void markSent(BoardRegisters &registers) {
    registers.latency.soundAfter = 0;
    if (aoQueueFill(registers.ao.channels[0]) == 0) {
        registers.latency.sentAt = latencyMoment(SystemBoardTime().now());
    }
}

// Waits until the loudspeaker has played what the driver holds, or plays no more.
void waitForPlayOut(BoardRegisters &registers) {
    const AoRegisters &ao = registers.ao;
    std::uint32_t seen = ao.periodsPlayed;
    auto deadline = Clock::now() + playOutPatience;
    while (aoQueueFill(ao.channels[0]) > 0 && Clock::now() < deadline) {
        const std::uint32_t played = ao.periodsPlayed;
        if (played != seen) {
            seen = played;
            deadline = Clock::now() + playOutPatience;
        }
        std::this_thread::sleep_for(playOutLook);
    }
}

// How many samples differ when the reference begins at frame `offset` of what was heard.
std::size_t differences(const Samples &played, int channels, const Samples &reference,
                        std::size_t offset) {
    std::size_t count = 0;
    const std::size_t frames = played.size() / static_cast<std::size_t>(channels);
    for (std::size_t frame = 0; frame < reference.size(); ++frame) {
        for (int channel = 0; channel < channels; ++channel) {
            const std::size_t at = (offset + frame) * static_cast<std::size_t>(channels) +
                                   static_cast<std::size_t>(channel);
            count += offset + frame >= frames || played[at] != reference[frame] ? 1 : 0;
        }
    }
    return count;
}

struct Comparison {
    std::size_t frames;
    std::size_t differing;
};

// Compares what was heard with the reference. What an earlier sound left in the platform's buffer
// is heard first.
Comparison compare(const Samples &played, int channels, const Samples &reference) {
    constexpr std::size_t longestLeftOver = 32768 / sizeof(std::int16_t);
    Comparison best = {reference.size(), std::numeric_limits<std::size_t>::max()};
    if (channels == 0) {
        return {reference.size(), reference.size()};
    }
    const std::size_t frames = played.size() / static_cast<std::size_t>(channels);
    for (std::size_t offset = 0; offset <= std::min(longestLeftOver, frames) && best.differing > 0;
         ++offset) {
        // Most offsets are ruled out by the first record.
        const Samples head(reference.begin(),
                           reference.begin() + static_cast<std::ptrdiff_t>(
                                                   std::min(streamPayload, reference.size())));
        if (offset == 0 || differences(played, channels, head, offset) == 0) {
            best.differing =
                std::min(best.differing, differences(played, channels, reference, offset));
        }
    }
    return best;
}

template <typename Value>
void row(const char *label, const Value &value) {
    std::cout << "  " << std::left << std::setw(34) << label << std::right << std::setw(10) << value
              << '\n';
}

// What the board has counted since it was set up.
struct Counts {
    std::uint32_t periods;
    std::uint32_t refused;
    std::uint32_t underruns;
};

Counts countsOf(const AoRegisters &ao) {
    return {ao.periodsPlayed, ao.channels[0].refused, ao.underruns};
}

int peakOf(const Samples &played) {
    int peak = 0;
    for (const std::int16_t sample : played) {
        peak = std::max(peak, std::abs(int{sample}));
    }
    return peak;
}

void printTable(const Comparison &comparison, const Counts &before, const Counts &after, int peak,
                std::uint32_t soundAfter) {
    std::ostringstream played;
    played << std::fixed << std::setprecision(2) << seconds(comparison.frames);
    std::cout << "vcam: the loudspeaker against libsndfile's decoding of the same bytes\n";
    row("seconds played", played.str());
    row("periods", after.periods - before.periods);
    row("refused", after.refused - before.refused);
    row("underruns", after.underruns - before.underruns);
    row("peak", peak);
    if (soundAfter != 0) {
        row("ms from record to sound", soundAfter / 1000);
    }
    row("samples that differ", comparison.differing);
}

} // namespace

int cast(const CameraDir &dir, const CastOptions &options) {
    dir.requireRunning();
    const Samples samples = readAudio(options.file);
    const Law law = options.ulaw ? Law::u : Law::a;
    MappedBoard board(dir, MappedBoard::Mode::open);
    const AoRegisters &ao = board.registers().ao;
    const std::size_t silence = pushOut(ao);
    const std::vector<std::uint8_t> bytes = recordsOf(samples, law, silence);
    const Counts before = countsOf(ao);
    const std::uint32_t lostBefore = board.registers().loss.periods;
    const std::int64_t framesBefore = recordedFrames(dir.rawSpeakerFile());

    StreamSender sender(dir, std::chrono::seconds(options.timeout));
    ++board.registers().soundsBegun;
    sender.sendLaw(law);
    markSent(board.registers());
    sendAll(sender, bytes, bytes.size() - silence, options.fast);
    sender.settle();
    waitForPlayOut(board.registers());
    const LossRegisters &loss = board.registers().loss;
    if (const std::uint32_t lost = loss.periods - lostBefore; lost > 0) {
        throw CameraError("the loudspeaker could not keep " + std::to_string(lost) +
                          " periods: " + std::strerror(static_cast<int>(loss.error)));
    }
    std::cout << "vcam: played to " << dir.speakerFile().string() << '\n';
    if (!options.check) {
        return 0;
    }
    Samples reference = lawDecode(bytes, law);
    reference.resize(reference.size() - silence); // may still be in the platform's buffer
    const Recording played = recordedSince(dir.rawSpeakerFile(), framesBefore);
    const Comparison comparison = compare(played.samples, played.channels, reference);
    printTable(comparison, before, countsOf(ao), peakOf(played.samples),
               board.registers().latency.soundAfter);
    return comparison.differing == 0 ? 0 : 1;
}
