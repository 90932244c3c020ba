#include "vcam/cli/commands.h"

#include "mpp/include/mpp_ao.h"
#include "vcam/board/ao_queue.h"
#include "vcam/board/library_calls.h"
#include "vcam/camera/mapped_board.h"
#include "vcam/camera/text_file.h"
#include "vcam/tessel/tessel_server.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <deque>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <sstream>

namespace {

constexpr int labelWidth = 22;
constexpr std::size_t lastRequests = 5;
constexpr double fullScale = 32768;

template <typename Value>
void line(const char *label, const Value &value) {
    std::cout << std::left << std::setw(labelWidth) << label << value << '\n';
}

const char *yesNo(std::uint32_t flag) {
    return flag != 0 ? "yes" : "no";
}

AIO_ATTR_S attributes(const AoRegisters &ao) {
    std::array<std::uint32_t, std::size(decltype(ao.attr){})> words = {};
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = ao.attr[i];
    }
    AIO_ATTR_S attr = {};
    static_assert(sizeof attr == sizeof words);
    std::memcpy(&attr, words.data(), sizeof attr);
    return attr;
}

std::string peakText(std::uint32_t peak) {
    if (peak == 0) {
        return "0 (silence)";
    }
    std::ostringstream text;
    text << peak << " (" << std::fixed << std::setprecision(1) << 20 * std::log10(peak / fullScale)
         << " dBFS)";
    return text.str();
}

std::string sinceStart(std::uint32_t microseconds) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << microseconds / 1000.0
         << " ms after the daemon's start";
    return microseconds != 0 ? text.str() : "not yet";
}

std::string milliseconds(std::uint32_t microseconds) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << microseconds / 1000.0 << " ms";
    return microseconds != 0 ? text.str() : "not measured";
}

void showLatency(const LatencyRegisters &latency) {
    line("record to sound", milliseconds(latency.soundAfter));
    line("clip stop to silence", milliseconds(latency.silenceAfter));
}

// What the PC's own loudspeaker makes of it.
void showListening(const ListenRegisters &listen) {
    if (listen.isOn != 0) {
        line("heard on this PC", "with " + std::to_string(listen.underruns) + " underruns, " +
                                     std::to_string(listen.dropped) + " periods left out");
    }
}

void showOutput(const BoardRegisters &registers) {
    const AoRegisters &ao = registers.ao;
    const LossRegisters &loss = registers.loss;
    const AIO_ATTR_S attr = attributes(ao);
    line("device enabled", yesNo(ao.enabled));
    if (ao.hasAttr != 0) {
        line("sample rate", std::to_string(attr.enSamplerate) + " Hz");
        line("bits per sample", 8 * (attr.enBitwidth + 1));
        line("sound mode", attr.enSoundmode == AUDIO_SOUND_MODE_STEREO ? "stereo" : "mono");
        line("points per period", attr.u32PtNumPerFrm);
        line("periods in queue", attr.u32FrmNum);
    }
    line("periods played", ao.periodsPlayed);
    line("underruns", ao.underruns);
    if (loss.periods != 0) {
        line("periods not kept", std::to_string(loss.periods) + " (" +
                                     std::strerror(static_cast<int>(loss.error)) + ")");
    }
    showListening(registers.listen);
    line("AO volume", std::to_string(static_cast<std::int32_t>(ao.volumeDb)) + " dB");
    line("muted", yesNo(ao.mute[0]));
    line("peak level", peakText(ao.peak));
    for (std::uint32_t i = 0; i < aoChannelCount; ++i) {
        const AoChannelRegisters &channel = ao.channels[i];
        if (channel.enabled != 0 || channel.queued != 0) {
            const std::string prefix = "channel " + std::to_string(i) + ' ';
            line((prefix + "enabled").c_str(), yesNo(channel.enabled));
            line((prefix + "queue fill").c_str(), aoQueueFill(channel));
            line((prefix + "refused").c_str(), channel.refused);
        }
    }
}

void showCodec(const AcodecRegisters &codec) {
    line("codec resets", codec.resets);
    line("codec rate code", codec.rateCode);
    line("codec gain",
         std::to_string(codec.volume[0]) + " left, " + std::to_string(codec.volume[1]) + " right");
    line("codec left muted", yesNo(codec.daclMute));
}

void showFaults(const BoardRegisters &registers) {
    for (const FaultRegisters &fault : registers.faults) {
        if (fault.command == 0) {
            continue;
        }
        std::ostringstream name;
        if (isLibraryCall(fault.command)) {
            name << libraryCalls[fault.command - 1].name;
        } else {
            name << "0x" << std::hex << std::uppercase << std::setw(8) << std::setfill('0')
                 << fault.command;
        }
        line(("fault " + name.str()).c_str(),
             fault.countdown == 0 ? "has come" : std::to_string(fault.countdown) + " issues away");
    }
}

void showSettings(const CameraDir &dir) {
    std::cout << "settings\n";
    std::istringstream settings(askTessel(dir, tesselShowRequest));
    for (std::string text; std::getline(settings, text);) {
        std::cout << "  " << text << '\n';
    }
}

std::deque<std::string> lastLines(const std::filesystem::path &file) {
    std::deque<std::string> lines;
    std::ifstream in(file);
    for (std::string text; std::getline(in, text);) {
        lines.push_back(text);
        if (lines.size() > lastRequests) {
            lines.pop_front();
        }
    }
    return lines;
}

} // namespace

int showStatus(const CameraDir &dir) {
    dir.requireRunning();
    MappedBoard board(dir, MappedBoard::Mode::open);
    const BoardRegisters &registers = board.registers();
    const std::optional<int> daemon = readPidFile(dir.place(voxoPidPath));
    line("camera", dir.path().string());
    line("voxo", daemon ? "running, process " + std::to_string(*daemon) : "not running");
    line("platform started", yesNo(registers.sys.isStarted));
    line("encoder signals", registers.neighbours.encoderSignals);
    line("device opened", sinceStart(registers.start.deviceOpen));
    line("first period", sinceStart(registers.start.firstPeriod));
    showOutput(registers);
    showLatency(registers.latency);
    showCodec(registers.acodec);
    showFaults(registers);
    showSettings(dir);
    std::cout << "last requests to the settings daemon\n";
    for (const std::string &request : lastLines(dir.tesselLog())) {
        std::cout << "  " << request << '\n';
    }
    return 0;
}
