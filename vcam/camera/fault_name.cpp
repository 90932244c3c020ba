#include "vcam/camera/fault_name.h"

#include "vcam/board/library_calls.h"

#include <exception>

std::uint32_t faultCode(const std::string &name) {
    if (const std::uint32_t code = libraryCallCode(name); code != 0) {
        return code;
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
