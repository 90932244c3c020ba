// Commands that talk to the settings daemon or the control FIFO.
#include "vcam/cli/commands.h"

#include "base/unique_fd.h"
#include "vcam/board/sys_device.h"
#include "vcam/tessel/tessel.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace fs = std::filesystem;

namespace {

constexpr unsigned char controlMessage = 2;
constexpr unsigned char dataMessage = 3;
constexpr std::size_t headerSize = 4;
constexpr std::size_t longestSetting = 4096; // key and value
constexpr std::size_t timeWidth = 12;        // "HH:MM:SS.mmm" at the start of a log line

std::string escaped(const std::string &text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        default:
            result += character;
            break;
        }
    }
    return result;
}

// Writes one message, in one piece, to the daemon's control FIFO.
void sendMessage(const CameraDir &dir, unsigned char type, const std::string &body) {
    const UniqueFd fifo(
        open(dir.place(controlFifoPath).c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fifo) {
        throw CameraError("the daemon has no control FIFO open (it needs the setting "
                          "capability_audio_audioclip)");
    }
    std::string message = {static_cast<char>(type), static_cast<char>(headerSize),
                           static_cast<char>(body.size() & 0xFF),
                           static_cast<char>(body.size() >> 8)};
    message += body;
    if (write(fifo.get(), message.data(), message.size()) != static_cast<ssize_t>(message.size())) {
        throw CameraError(std::string("cannot write to the control FIFO: ") + std::strerror(errno));
    }
}

void sendControl(const CameraDir &dir, int value) {
    sendMessage(dir, controlMessage,
                R"(<message><control class="1" value=")" + std::to_string(value) +
                    R"("/></message>)");
}

void setValue(const CameraDir &dir, const std::string &key, const std::string &value) {
    if (key.empty() || key.find_first_of("=\n") != std::string::npos ||
        value.find('\n') != std::string::npos) {
        throw CameraError("a key holds no '=', and neither key nor value a line feed");
    }
    if (key.size() + value.size() > longestSetting) {
        throw CameraError("a setting has at most " + std::to_string(longestSetting) +
                          " characters");
    }
    if (askTessel(dir, "set NameValue 99 0 0\n" + key + '=' + value) != "OK") {
        throw CameraError("the settings daemon does not take " + key);
    }
}

} // namespace

int startClip(const CameraDir &dir, const std::string &file) {
    dir.requireRunning();
    sendMessage(dir, dataMessage,
                R"(<message><data type="5">)" + escaped(fs::absolute(file).string()) +
                    "</data></message>");
    sendControl(dir, 1);
    return 0;
}

int stopClip(const CameraDir &dir) {
    dir.requireRunning();
    sendControl(dir, 0);
    return 0;
}

int setSetting(const CameraDir &dir, const std::string &key, const std::string &value) {
    dir.requireRunning();
    setValue(dir, key, value);
    return 0;
}

int talk(const CameraDir &dir, bool on) {
    dir.requireRunning();
    setValue(dir, "status_onlinenum_sip", on ? "1" : "0");
    return 0;
}

int showLog(const CameraDir &dir) {
    std::ifstream log(dir.tesselLog());
    if (!log) {
        throw CameraError("no camera has run in " + dir.path().string());
    }
    // A clip that plays asks the same question with every chunk: a run of equal lines is shown
    // once.
    std::string shown;
    std::string last;
    std::size_t repeats = 0;
    const auto endRun = [&] {
        if (repeats > 0) {
            std::cout << std::string(timeWidth, ' ') << "  (" << repeats << " times more, until "
                      << last.substr(0, timeWidth) << ")\n";
        }
        repeats = 0;
    };
    for (std::string line; std::getline(log, line); last = line) {
        if (line.size() > timeWidth && shown == line.substr(timeWidth)) {
            ++repeats;
            continue;
        }
        endRun();
        std::cout << line << '\n';
        shown = line.substr(std::min(timeWidth, line.size()));
    }
    endRun();
    return 0;
}

int tune(const CameraDir &dir, std::uint32_t argument) {
    dir.requireRunning();
    MappedBoard board(dir, MappedBoard::Mode::open);
    if (board.registers().sys.tuningMode == 0) {
        throw CameraError("the board is not in tuning mode (vcam run --tuning)");
    }
    requestTuningRun(board.board(), argument);
    return 0;
}
