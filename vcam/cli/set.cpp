// Commands that ask the settings daemon for a change.
#include "vcam/cli/commands.h"

#include "vcam/tessel/tessel_server.h"

namespace {

constexpr std::size_t longestSetting = 4096; // key and value

void setValue(const CameraDir &dir, const std::string &key, const std::string &value) {
    if (key.empty() || key.find_first_of("=\n") != std::string::npos ||
        value.find('\n') != std::string::npos) {
        throw CameraError("a key holds no '=', and neither key nor value a line feed");
    }
    if (key.size() + value.size() > longestSetting) {
        throw CameraError("a setting has at most " + std::to_string(longestSetting) +
                          " characters");
    }
    if (askTessel(dir, "set NameValue 99 0 0\n" + key + '=' + value) != "OK") {
        throw CameraError("the settings daemon does not take " + key);
    }
}

} // namespace

int setSetting(const CameraDir &dir, const std::string &key, const std::string &value) {
    dir.requireRunning();
    setValue(dir, key, value);
    return 0;
}

int talk(const CameraDir &dir, bool on) {
    dir.requireRunning();
    setValue(dir, "status_onlinenum_sip", on ? "1" : "0");
    return 0;
}
