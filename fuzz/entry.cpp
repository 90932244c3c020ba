// Where an input enters.
#include "fuzz/fuzz.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

void require(bool holds, const char *promise) {
    if (!holds) {
        dprintf(STDERR_FILENO, "broken: %s\n", promise);
        std::abort();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    // The descriptor that would be opened next: another one when one has stayed open.
    static const int descriptor = [] {
        // What the product says costs time. Sanitizers write to the descriptor, not to the stream.
        stdout = stderr = std::fopen("/dev/null", "w");
        fuzz(Input("")); // opens what stays open
        return dup(STDERR_FILENO);
    }();
    close(descriptor);
    fuzz(Input({reinterpret_cast<const char *>(data), size}));
    require(dup(STDERR_FILENO) == descriptor, "no descriptor stays open");
    return 0;
}
