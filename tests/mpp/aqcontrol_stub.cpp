// A tuning library that tells its calls on standard output.
#include <cstdio>

namespace {

int tell(const char *what, unsigned argument) {
    std::printf("tuning %s %u\n", what, argument);
    return std::fflush(stdout);
}

} // namespace

extern "C" [[gnu::visibility("default")]] int HI_AQT_Init(unsigned argument) {
    return tell("begins", argument);
}

extern "C" [[gnu::visibility("default")]] int HI_AQT_Dinit(unsigned argument) {
    return tell("ends", argument);
}
