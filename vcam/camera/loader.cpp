#include "vcam/camera/loader.h"

#include "vcam/camera/camera.h"

#include <elf.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

constexpr int longestChain = 4; // of scripts that name scripts
constexpr std::size_t longestLoader = 4096;

fs::path findProgram(const std::string &program) {
    if (program.find('/') != std::string::npos) {
        return program;
    }
    const char *const list = std::getenv("PATH");
    std::istringstream directories(list != nullptr ? list : "/bin:/usr/bin");
    for (std::string directory; std::getline(directories, directory, ':');) {
        fs::path candidate = fs::path(directory.empty() ? "." : directory) / program;
        if (access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return program;
}

[[noreturn]] void refuse(const fs::path &program, const char *reason) {
    throw CameraError("the board cannot be loaded into " + program.string() + ", which " + reason);
}

template <typename Record>
Record readRecord(std::istream &file, std::uint64_t offset) {
    Record record = {};
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(reinterpret_cast<char *>(&record), sizeof record);
    return record;
}

// The loader that the program header of an ELF file names; empty: none.
template <typename Header, typename Segment>
std::string namedLoader(std::istream &file) {
    const auto header = readRecord<Header>(file, 0);
    for (unsigned i = 0; file && i < header.e_phnum; ++i) {
        const auto segment = readRecord<Segment>(file, header.e_phoff + i * sizeof(Segment));
        if (segment.p_type == PT_INTERP && segment.p_filesz <= longestLoader) {
            std::string loader(static_cast<std::size_t>(segment.p_filesz), '\0');
            file.seekg(static_cast<std::streamoff>(segment.p_offset));
            file.read(loader.data(), static_cast<std::streamsize>(loader.size()));
            return loader.c_str();
        }
    }
    return "";
}

// The interpreter that the first line of a script names.
std::string interpreterOf(std::istream &file) {
    std::string line;
    file.seekg(2);
    std::getline(file, line);
    std::istringstream words(line);
    std::string interpreter;
    words >> interpreter;
    return interpreter;
}

} // namespace

std::string loaderOf(const std::string &program) {
    fs::path path = findProgram(program);
    for (int i = 0; i < longestChain; ++i) {
        struct stat status = {};
        std::ifstream file(path, std::ios::binary);
        const auto ident = readRecord<Elf32_Ehdr>(file, 0);
        if (!file || stat(path.c_str(), &status) != 0) {
            throw CameraError("cannot read the program " + path.string());
        }
        if ((status.st_mode & (S_ISUID | S_ISGID)) != 0 ||
            getxattr(path.c_str(), "security.capability", nullptr, 0) > 0) {
            refuse(path, "is given rights when it is run");
        }
        if (std::memcmp(ident.e_ident, "#!", 2) == 0) {
            path = interpreterOf(file);
            continue;
        }
        std::string loader;
        if (std::memcmp(ident.e_ident, ELFMAG, SELFMAG) == 0) {
            loader = ident.e_ident[EI_CLASS] == ELFCLASS64
                         ? namedLoader<Elf64_Ehdr, Elf64_Phdr>(file)
                         : namedLoader<Elf32_Ehdr, Elf32_Phdr>(file);
        }
        if (loader.empty()) {
            refuse(path, "is not a dynamically linked program");
        }
        return loader;
    }
    refuse(path, "is a script of a script");
}
