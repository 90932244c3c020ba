#include "vcam/cli/environment.h"

#include "vcam/preload/camera_paths.h"

#include <dlfcn.h>

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string>

namespace fs = std::filesystem;

namespace {

// The run-time library of the sanitizer that this program was built with, if any. The daemon was
// built with it too, and its library insists on being the first of all.
std::string sanitizerLibrary() {
    for (const char *symbol : {"__asan_init", "__tsan_init"}) {
        void *const address = dlsym(RTLD_DEFAULT, symbol);
        Dl_info info = {};
        if (address != nullptr && dladdr(address, &info) != 0) {
            return fs::path(info.dli_fname).is_absolute() ? info.dli_fname : "";
        }
    }
    return "";
}

// Puts `first` in front of what an environment variable lists.
void putFirst(const char *name, const std::string &first, char separator) {
    const char *const rest = std::getenv(name);
    setenv(name, rest == nullptr ? first.c_str() : (first + separator + rest).c_str(), 1);
}

} // namespace

fs::path besideThisProgram(const fs::path &file) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    fs::path found = program.parent_path().parent_path() / file;
    if (!fs::exists(found)) {
        throw CameraError("not found: " + found.string());
    }
    return found;
}

void enterBoard(const CameraDir &dir, const Target &target) {
    setenv(cameraDirVariable, dir.path().c_str(), 1);
    const std::string board = target.board.empty()
                                  ? besideThisProgram("lib/libvcam_board.so").string()
                                  : fs::absolute(target.board).string();
    if (!target.runner.empty()) {
        // For the program alone: the emulator is one of this PC's and cannot load it.
        putFirst("QEMU_SET_ENV", "LD_PRELOAD=" + board, ',');
        return;
    }
    putFirst("LD_PRELOAD", board, ':');
    if (const std::string sanitizer = sanitizerLibrary(); !sanitizer.empty()) {
        putFirst("LD_PRELOAD", sanitizer, ':');
    }
}

std::vector<std::string> commandOn(const Target &target, const std::vector<std::string> &program) {
    std::istringstream runner(target.runner);
    std::vector<std::string> command(std::istream_iterator<std::string>(runner), {});
    command.insert(command.end(), program.begin(), program.end());
    return command;
}

std::vector<char *> argumentsOf(const std::vector<std::string> &command) {
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    return arguments;
}
