#include "vcam/camera/environment.h"

#include "base/unique_fd.h"
#include "vcam/board/devices.h"
#include "vcam/camera/child.h"
#include "vcam/camera/loader.h"
#include "vcam/camera/mapped_board.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr int libraryDescriptor = 100; // the lowest: out of the way of the program's own
constexpr auto probePatience = std::chrono::seconds(20);
constexpr auto probeLook = std::chrono::milliseconds(1);

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

// Opens a library for the program that this process is going to execute, and returns a name of it
// that the loader can be told. It splits what it is to preload at blanks and colons, and QEMU its
// settings at commas, any of which the library's own path may hold.
std::string openLibrary(const std::string &path) {
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const int fd = fcntl(file.get(), F_DUPFD, libraryDescriptor);
    if (fd < 0) {
        throw CameraError("cannot open the library " + path + ": " + std::strerror(errno));
    }
    return "/proc/self/fd/" + std::to_string(fd);
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

std::string Target::boardFile() const {
    return board.empty() ? besideThisProgram("lib/libvcam_board.so").string()
                         : fs::absolute(board).string();
}

std::string Target::faultsFile() const {
    return fs::path(boardFile()).replace_filename("libvcam_faults.so").string();
}

std::string Target::voxoFile() const {
    return voxo.empty() ? besideThisProgram("bin/voxo").string() : fs::absolute(voxo).string();
}

void enterBoard(const CameraDir &dir, const Target &target, FailingCalls failingCalls) {
    setenv(cameraDirVariable, dir.path().c_str(), 1);
    setenv(startTimeVariable, std::to_string(SystemBoardTime().now()).c_str(), 1);
    std::string libraries = openLibrary(target.boardFile());
    MappedBoard board(dir, MappedBoard::Mode::open);
    if (failingCalls == FailingCalls::always || boardFailsCalls(board.registers())) {
        libraries = openLibrary(target.faultsFile()) + ':' + libraries;
    }
    if (!target.runner.empty()) {
        // For the program alone: the emulator is one of this PC's and cannot load it.
        putFirst("QEMU_SET_ENV", "LD_PRELOAD=" + libraries, ',');
        return;
    }
    putFirst("LD_PRELOAD", libraries, ':');
    if (const std::string sanitizer = sanitizerLibrary(); !sanitizer.empty()) {
        putFirst("LD_PRELOAD", sanitizer, ':');
    }
}

void requireBoard(const CameraDir &dir, const Target &target) {
    const std::string voxo = target.voxoFile();
    Child probe;
    probe.start(commandOn(target, {voxo}), [&] {
        enterBoard(dir, target);
        setenv(probeVariable, "1", 1);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    });
    const auto deadline = std::chrono::steady_clock::now() + probePatience;
    std::optional<int> status;
    while (!(status = probe.poll()) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(probeLook);
    }
    if (status != boardIsLoaded) {
        throw CameraError("the board does not load into " + voxo +
                          ", which would run on this PC's own devices and is not started (board: " +
                          target.boardFile() +
                          (target.runner.empty() ? "" : ", runner: " + target.runner) + ")");
    }
}

void requireBoardIn(const CameraDir &dir, const Target &target, const std::string &program) {
    const std::string loader = loaderOf(program);
    requireBoard(dir, target);
    if (const std::string tried = loaderOf(target.voxoFile()); loader != tried) {
        throw CameraError("the board cannot be loaded into " + program + ": it is loaded by " +
                          loader + ", and the board is for " + tried);
    }
}

std::vector<std::string> commandOn(const Target &target, const std::vector<std::string> &program) {
    std::istringstream runner(target.runner);
    std::vector<std::string> command;
    for (std::string word; runner >> std::quoted(word);) {
        command.push_back(word);
    }
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
