#include "src/voxo_g711/voxo_g711.h"

#include "base/shown.h"
#include "codec/g711_law.h"
#include "src/report.h"

#include <cstdlib>

namespace {

constexpr const char *kSourceFile = "src/voxo_g711";

constexpr std::uint32_t lawConfigHeader = 0x04000001;
constexpr std::uint32_t initialFrameSize = 640;

CodecDesc description;

G711Opt *newDecoder() {
    auto *const decoder = static_cast<G711Opt *>(std::calloc(1, sizeof(G711Opt)));
    if (decoder == nullptr) {
        std::puts("Malloc G711Opt memory fail");
        return nullptr;
    }
    decoder->frameSize = initialFrameSize;
    decoder->mode = codeUlaw;
    decoder->channels = 1;
    return decoder;
}

void destroyLawDecoders(G711Opt *decoder) {
    G711Law_Destroy(&decoder->alawDec);
    G711Law_Destroy(&decoder->ulawDec);
}

std::int32_t createLawDecoder(G711LawDecoder **place, std::uint32_t frameSize, std::uint32_t law) {
    const G711LawConfig config = {lawConfigHeader, frameSize, law, nullptr};
    return G711Law_Create(place, &config);
}

// Both are tried even when the first fails, so that a decoder is as whole as it can be.
std::int32_t createLawDecoders(G711Opt *decoder) {
    const std::int32_t alaw = createLawDecoder(&decoder->alawDec, decoder->frameSize, G711_LAW_A);
    if (alaw != 0) {
        std::puts("Initialize G.711a decoder fail !!");
    }
    const std::int32_t ulaw = createLawDecoder(&decoder->ulawDec, decoder->frameSize, G711_LAW_U);
    if (ulaw != 0) {
        VOXO_REPORT(LOG_WARNING, "Initialize G.711u decoder fail !!\n");
    }
    return alaw == 0 && ulaw == 0 ? 0 : -1;
}

std::int32_t G711Dec_Init(G711Opt **slot) {
    if (*slot != nullptr) {
        destroyLawDecoders(*slot);
    } else {
        *slot = newDecoder();
        if (*slot == nullptr) {
            return -1;
        }
    }
    if (createLawDecoders(*slot) != 0) {
        return -1;
    }
    VOXO_REPORT_AT(LOG_DEBUG, ": G.711Dec initialized!\n");
    return 0;
}

std::int32_t G711Dec_Reset(G711Opt *decoder) {
    if (decoder == nullptr || G711Dec_Init(&decoder) != 0) {
        VOXO_REPORT_AT(LOG_WARNING, ": G.711Dec reset failed!\n");
        return -1;
    }
    VOXO_REPORT_AT(LOG_DEBUG, ": G.711Dec reseted!\n");
    return 0;
}

std::int32_t G711Dec_Release(G711Opt **slot) {
    if (*slot == nullptr) {
        return -1;
    }
    destroyLawDecoders(*slot);
    std::free(*slot);
    *slot = nullptr;
    std::printf("%s:%d: G.711Dec released!\n", kSourceFile, __LINE__);
    return 0;
}

std::int32_t G711Dec_SetCodecInfo(G711Opt *decoder, const void *packet) {
    decoder->mode = recordWord(packet, g711LawWord);
    decoder->channels = recordWord(packet, g711ChannelsWord);
    VOXO_REPORT(LOG_DEBUG, "Recv CI of G.711 with %d law, %d channel\n", shown(decoder->mode),
                shown(decoder->channels));
    return 0;
}

std::uint32_t G711Dec_GetChannels(G711Opt *decoder) {
    return decoder->channels;
}

std::int32_t G711Dec_SetIO(G711Opt *decoder, std::uint8_t *input, std::int16_t *output,
                           std::int32_t size) {
    decoder->input = input;
    decoder->output = output;
    const auto newSize = static_cast<std::uint32_t>(size);
    if (newSize == decoder->frameSize || newSize == 0) {
        return 0;
    }
    VOXO_REPORT(LOG_DEBUG, "G.711 input frame size %d (%d)\n", size, shown(decoder->frameSize));
    decoder->frameSize = newSize;
    return G711Dec_Reset(decoder);
}

std::int32_t G711Dec_Decode(G711Opt *decoder, std::uint32_t *size) {
    G711LawDecoder *law = nullptr;
    if (decoder->mode == codeUlaw) {
        law = decoder->ulawDec;
    } else if (decoder->mode == codeAlaw) {
        law = decoder->alawDec;
    } else {
        VOXO_REPORT(LOG_WARNING, "G711Dec invalid mode\n");
        return -1;
    }
    if (law == nullptr) {
        return -1;
    }
    const G711LawIO io = {decoder->input, decoder->output};
    G711Law_Process(law, &io);
    *size *= 2;
    return 0;
}

} // namespace

void G711Dec_GetOps(DecoderOps *ops) {
    description = {.fourCC = codeG711, .bitRate = 64000, .sampleRate = 8000, .handle = nullptr};
    *ops = {codeG711,        &description,         G711Dec_Init,        G711Dec_Reset,
            G711Dec_Release, G711Dec_SetCodecInfo, G711Dec_GetChannels, G711Dec_SetIO,
            G711Dec_Decode};
}
