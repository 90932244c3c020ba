#include "vcam/cli/environment.h"

#include "vcam/preload/camera_paths.h"

#include <dlfcn.h>

#include <cstdlib>
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

} // namespace

fs::path besideThisProgram(const fs::path &file) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    fs::path found = program.parent_path().parent_path() / file;
    if (!fs::exists(found)) {
        throw CameraError("not found: " + found.string());
    }
    return found;
}

void enterBoard(const CameraDir &dir) {
    std::string preload = sanitizerLibrary();
    if (!preload.empty()) {
        preload += ':';
    }
    preload += besideThisProgram("lib/libvcam_board.so").string();
    if (const char *const before = std::getenv("LD_PRELOAD"); before != nullptr) {
        preload += ':';
        preload += before;
    }
    setenv("LD_PRELOAD", preload.c_str(), 1);
    setenv(cameraDirVariable, dir.path().c_str(), 1);
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
