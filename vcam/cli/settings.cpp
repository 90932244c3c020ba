// Commands that talk to the settings daemon or the control FIFO.
#include "vcam/cli/commands.h"

#include "base/unique_fd.h"
#include "vcam/board/sys_device.h"
#include "vcam/tessel/tessel.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
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
constexpr std::size_t longestLocation = 59;  // that the daemon takes of a clip's
constexpr char clipPlace[] = "/var/run/clips/";

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

bool isPlain(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 ||
           std::strchr("._-", character) != nullptr;
}

// What the daemon is told for a clip: the file's path, or, when that is too long for a message or
// holds what a message may not carry, a link to it among the camera's own files.
std::string locationOf(const CameraDir &dir, const fs::path &file) {
    std::string path = fs::absolute(file).string();
    const auto passes = [](char character) { return character == '/' || isPlain(character); };
    if (path.size() <= longestLocation && std::all_of(path.begin(), path.end(), passes)) {
        return path;
    }
    std::string name = file.filename().string();
    std::replace_if(
        name.begin(), name.end(), [](char character) { return !isPlain(character); }, '_');
    const std::size_t room = longestLocation - std::strlen(clipPlace);
    std::string location = clipPlace + name.substr(name.size() - std::min(name.size(), room));
    const fs::path link = dir.place(location);
    try {
        fs::create_directories(link.parent_path());
        fs::remove(link);
        fs::create_symlink(path, link);
    } catch (const fs::filesystem_error &error) {
        throw CameraError("cannot place the clip in the camera, where its path is short enough: " +
                          std::string(error.what()));
    }
    return location;
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
                R"(<message><data type="5">)" + locationOf(dir, file) + "</data></message>");
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
