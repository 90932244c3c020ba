#include "vcam/camera/fault_name.h"

#include "vcam/board/library_calls.h"
#include "vcam/trace/command_names.h"

#include <exception>

std::uint32_t faultCode(const std::string &name) {
    if (const std::uint32_t code = libraryCallCode(name); code != 0) {
        return code;
    }
    if (const std::uint32_t command = commandNamed(name); command != 0) {
        return command;
    }
    try {
        std::size_t end = 0;
        const unsigned long code = std::stoul(name, &end, 0);
        return end == name.size() && !isLibraryCall(static_cast<std::uint32_t>(code))
                   ? static_cast<std::uint32_t>(code)
                   : 0;
    } catch (const std::exception &) {
        return 0;
    }
}

std::string faultName(std::uint32_t code) {
    return isLibraryCall(code) ? std::string(libraryCalls[code - 1].name) : commandName(code);
}

std::vector<std::uint32_t> namedFaults() {
    std::vector<std::uint32_t> codes = namedCommands();
    for (std::uint32_t code = 1; isLibraryCall(code); ++code) {
        codes.push_back(code);
    }
    return codes;
}
