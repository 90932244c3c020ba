// A tuning library that notes its calls in the process's environment.
#include <cstdlib>
#include <string>

namespace {

int note(const char *what, unsigned argument) {
    const char *const before = std::getenv("AQCONTROL_CALLS");
    const std::string calls = (before != nullptr ? before : "") + std::string(what) + ' ' +
                              std::to_string(argument) + ' ';
    return setenv("AQCONTROL_CALLS", calls.c_str(), 1);
}

} // namespace

extern "C" [[gnu::visibility("default")]] int HI_AQT_Init(unsigned argument) {
    return note("init", argument);
}

extern "C" [[gnu::visibility("default")]] int HI_AQT_Dinit(unsigned argument) {
    return note("deinit", argument);
}
