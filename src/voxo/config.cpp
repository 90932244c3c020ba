#include "src/voxo/config.h"

#include "audioout/audioout.h"
#include "camera/quill/quill.h"
#include "settings/settings_shm.h"
#include "src/report.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t valueRoom = 4;
constexpr std::size_t keyRoom = 64;
constexpr int outputChannel = 0;

constexpr std::uint32_t quietestGain = 91;
constexpr std::int32_t fixedGain = 30;

// The gain code of a volume in percent: an attenuation, so it falls as the volume rises.
std::int32_t gainOf(std::int32_t volume) {
    const std::uint32_t product = static_cast<std::uint32_t>(volume) * quietestGain;
    return static_cast<std::int32_t>(quietestGain - product / 100);
}

// The number that a settings value starts with. A value that fills its room has no terminator.
std::int32_t numberOf(const char (&value)[valueRoom]) {
    char text[valueRoom + 1] = {};
    std::memcpy(text, value, valueRoom);
    return std::atoi(text);
}

} // namespace

int voxoParseConfig(VoxoContext *context) {
    const QUILL_ROW table[] = {
        {"/root/audioout/aencpid", QUILL_KIND_TEXT, sizeof context->aencPidPath,
         context->aencPidPath, nullptr},
        {"/root/audioout/c0/device/node", QUILL_KIND_TEXT, sizeof context->deviceNode,
         context->deviceNode, nullptr},
        {"/root/audioout/c0/volume", QUILL_KIND_INTEGER, sizeof context->dwVolume,
         &context->dwVolume, nullptr},
        {"/root/audioout/c0/s0/socket", QUILL_KIND_TEXT, sizeof context->socketPath,
         context->socketPath, nullptr},
        {"/root/audioout/c0/capability/codectype", QUILL_KIND_CONVERTED,
         sizeof context->decoder.fourCC, &context->decoder.fourCC, voxoStrToFourCC},
        {},
    };
    if (Quill_ReadAll(context->configPath, table) != 0) {
        std::puts("config file parse failed!!");
        return -1;
    }
    std::puts("config file parse OK!!");
    return 0;
}

int voxoStrToFourCC(const char *text, void *out) {
    char code[4] = {' ', ' ', ' ', ' '};
    for (std::size_t i = 0; i < sizeof code && text[i] != '\0'; ++i) {
        code[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
    }
    const std::uint32_t word = fourCharacterCode(code[0], code[1], code[2], code[3]);
    std::memcpy(out, &word, sizeof word);
    return 0;
}

int voxoGetAudioclipCapability(VoxoContext *context) {
    char value[valueRoom] = {};
    if (settings_shm_get("capability_audio_audioclip", value, sizeof value) != 0) {
        VOXO_REPORT(LOG_WARNING, "Get audioclip failed!\n");
        context->audioclipCapability = 0;
        return -1;
    }
    context->audioclipCapability = numberOf(value);
    return 0;
}

int voxoSetVolume(VoxoContext *context) {
    char key[keyRoom] = {};
    std::snprintf(key, sizeof key, "audioout_c%d_volume", outputChannel);
    char value[valueRoom] = {};
    settings_shm_get(key, value, sizeof value);
    context->dwVolume = numberOf(value);
    context->dwGain = context->audioclipCapability != 0 ? gainOf(context->dwVolume) : fixedGain;
    std::printf("dwVolume = %d, dwGain = %d\n", context->dwVolume, context->dwGain);
    if (audioout_set_volume(static_cast<std::uint32_t>(context->dwGain)) < 0) {
        VOXO_REPORT(LOG_WARNING, "Set audio volume failed!\n");
        return -1;
    }
    return 0;
}
