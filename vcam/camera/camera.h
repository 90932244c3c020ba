// A virtual camera as its files: the directory that holds it, and who runs it.
#pragma once

#include "vcam/board/board.h"

#include <sys/un.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

// What went wrong, as a sentence for the user.
class CameraError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Where a camera's parts lie.
class CameraDir {
public:
    // The directory that the user named, or else: $VCAM_DIR, "vcam" in $XDG_RUNTIME_DIR, or a
    // directory of the user's own in /tmp. It need not exist.
    explicit CameraDir(const std::string &named);

    const std::filesystem::path &path() const { return path_; }

    // The place of one of the camera's fixed paths ("/var/run/voxo.pid").
    std::filesystem::path place(const std::string &cameraPath) const;

    // The address of a local socket at a fixed path.
    struct Address {
        sockaddr_un address;
        unsigned length;
    };
    Address socketAddress(const std::string &cameraPath) const;

    std::filesystem::path registersFile() const;
    std::filesystem::path memoryFile() const;
    std::filesystem::path lockFile() const { return path_ / ".vcam"; }
    std::filesystem::path speakerFile() const { return path_ / "speaker.wav"; }
    std::filesystem::path configFile() const { return path_ / "voxo.xml"; }
    // The one that the daemon was started with, which the user may have named.
    std::filesystem::path usedConfigFile() const;
    std::filesystem::path tesselLog() const { return path_ / "tessel.log"; }
    std::filesystem::path systemLog() const { return path_ / "messages"; }

    // Throws unless a camera runs here.
    void requireRunning() const;

private:
    std::filesystem::path path_;
};

// The camera's own paths.
constexpr char tesselSocketPath[] = "/tmp/tessel";
constexpr char tesselProgramPath[] = "/usr/sbin/tessel";
constexpr char logSocketPath[] = "/dev/log";
constexpr char streamSocketPath[] = "/var/run/voxo/c0/stream";
constexpr char controlFifoPath[] = "/var/run/voxo/c0/controlfifo";
constexpr char voxoPidPath[] = "/var/run/voxo.pid";
constexpr char otherConfigPath[] = "/var/run/voxo.xml"; // a link to the user's
constexpr char videoPidPath[] = "/var/run/venc.pid";
constexpr char encoderPidPath[] = "/var/run/aenc.pid";

// A file of the camera, mapped.
class MappedBoard {
public:
    enum class Mode { create, open };

    // `create` makes a new one, whose loudspeaker is this process's. Throws when it cannot be had,
    // or is no board of this kind.
    MappedBoard(const CameraDir &dir, Mode mode);
    MappedBoard(const MappedBoard &) = delete;
    MappedBoard &operator=(const MappedBoard &) = delete;
    ~MappedBoard();

    BoardRegisters &registers() { return *registers_; }
    Board &board() { return board_; }

private:
    BoardRegisters *registers_;
    SystemBoardTime time_;
    Board board_;
};

// Process id in a file, or none: no such file, no number in it.
std::optional<int> readPidFile(const std::filesystem::path &file);
// Throws when it cannot, as the next do.
void writePidFile(const std::filesystem::path &file, int pid);

void writeFile(const std::filesystem::path &path, const std::string &text);

// Throws a CameraError of what cannot be done at a path, and of errno.
[[noreturn]] void failAt(const std::string &what, const std::filesystem::path &path);
