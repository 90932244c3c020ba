#include "vcam/cli/commands.h"

#include "camera/message/message.h"
#include "vcam/board/ao_queue.h"
#include "vcam/camera/mapped_board.h"
#include "vcam/sender/message_sender.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t longestLocation = 59; // that the daemon takes of a clip's

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
    const std::string clips = std::string(clipsPath) + '/';
    const std::size_t room = longestLocation - clips.size();
    std::string location = clips + name.substr(name.size() - std::min(name.size(), room));
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

} // namespace

int startClip(const CameraDir &dir, const std::string &file) {
    dir.requireRunning();
    sendMessage(dir, locationMessage(locationOf(dir, file)));
    sendMessage(dir, clipMessage(MESSAGE_CLIP_START));
    return 0;
}

// The time from here to silence is taken, if something plays.
int stopClip(const CameraDir &dir) {
    dir.requireRunning();
    MappedBoard board(dir, MappedBoard::Mode::open);
    LatencyRegisters &latency = board.registers().latency;
    latency.silenceAfter = 0;
    if (aoQueueFill(board.registers().ao.channels[0]) > 0) {
        latency.stoppedAt = latencyMoment(SystemBoardTime().now());
    }
    sendMessage(dir, clipMessage(MESSAGE_CLIP_STOP));
    return 0;
}
