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
    std::vector<char *> arguments;
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    enterBoard(dir);
    execvp(arguments[0], arguments.data());
    throw CameraError("cannot run " + command[0] + ": " + std::strerror(errno));
}
