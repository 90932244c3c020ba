#include "vcam/cli/commands.h"
#include "vcam/cli/environment.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

int execOnCamera(const CameraDir &dir, const std::vector<std::string> &command) {
    dir.requireRunning();
    if (command.empty()) {
        throw CameraError("exec needs a program");
    }
    const std::vector<char *> arguments = argumentsOf(command);
    enterBoard(dir);
    boardMarkStart(MappedBoard(dir, MappedBoard::Mode::open).board());
    execvp(arguments[0], arguments.data());
    throw CameraError("cannot run " + command[0] + ": " + std::strerror(errno));
}
