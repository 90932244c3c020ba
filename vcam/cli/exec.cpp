#include "vcam/cli/commands.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

int execOnCamera(const CameraDir &dir, const Target &target,
                 const std::vector<std::string> &program) {
    dir.requireRunning();
    if (program.empty()) {
        throw CameraError("exec needs a program");
    }
    requireBoardIn(dir, target, program[0]);
    const std::vector<std::string> command = commandOn(target, program);
    const std::vector<char *> arguments = argumentsOf(command);
    enterBoard(dir, target);
    execvp(arguments[0], arguments.data());
    throw CameraError("cannot run " + command[0] + ": " + std::strerror(errno));
}
