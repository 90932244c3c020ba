// Configuration files: a field is filled or left alone, texts end inside their room, nothing else
// is touched, and a good file behind any other is read exactly.
#include "src/voxo/config.h"

#include "fuzz/fuzz.h"
#include "src/voxo/context.h"
#include "tests/wav/wav_bytes.h"

#include <cstring>

namespace {

const std::string goodFile = "<root><audioout><aencpid>/p</aencpid><c0><volume>7</volume><s0>"
                             "<socket>/s</socket></s0></c0></audioout></root>";

// Reads the file into a context whose bytes were all alike.
int read(const std::string &file, VoxoContext *context) {
    const TemporaryFile xml(file);
    std::memset(context, 'Z', sizeof *context);
    std::snprintf(context->configPath, sizeof context->configPath, "%s", xml.path());
    const int result = voxoParseConfig(context);
    std::memset(context->configPath, 'Z', sizeof context->configPath);
    return result;
}

template <typename Object>
bool isUntouched(const Object &object) {
    return std::string(reinterpret_cast<const char *>(&object), sizeof object) ==
           std::string(sizeof object, 'Z');
}

// Checks a field and undoes what was done to it.
template <typename Field>
void check(Field &field) {
    require(!std::is_array_v<Field> || isUntouched(field) ||
                std::memchr(&field, '\0', sizeof field) != nullptr,
            "a text ends inside its room");
    std::memset(&field, 'Z', sizeof field);
}

} // namespace

void fuzz(Input input) {
    VoxoContext context;
    read(input.text(), &context);
    check(context.aencPidPath);
    check(context.deviceNode);
    check(context.dwVolume);
    check(context.socketPath);
    check(context.decoder.fourCC);
    require(isUntouched(context), "nothing but the fields is touched");
    require(read(goodFile, &context) == 0 && context.dwVolume == 7 &&
                std::string(context.aencPidPath) + context.socketPath == "/p/s",
            "a good file is read exactly");
}
