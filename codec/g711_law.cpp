#include "codec/g711_law.h"

#include "codec/g711_expand.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr std::uint32_t instanceCountMask = 0x00FFFFFF;
constexpr std::uint32_t alignment = alignof(G711LawDecoder);
constexpr std::uint32_t blockSize = sizeof(G711LawDecoder) + alignment - 1;

G711LawDecoder *alignedState(void *block) {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t slack = (alignment - (address % alignment)) % alignment;
    return reinterpret_cast<G711LawDecoder *>(static_cast<char *>(block) + slack);
}

// A 32-bit word holds the block's address where it can; elsewhere it holds the way back to it.
void rememberBlock(G711LawDecoder *decoder, void *block) {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    if constexpr (sizeof(void *) == sizeof(std::uint32_t)) {
        decoder->allocation = static_cast<std::uint32_t>(address);
    } else {
        const auto state = reinterpret_cast<std::uintptr_t>(decoder);
        decoder->allocation = static_cast<std::uint32_t>(state - address);
    }
}

void *rememberedBlock(G711LawDecoder *decoder) {
    if constexpr (sizeof(void *) == sizeof(std::uint32_t)) {
        return reinterpret_cast<void *>(static_cast<std::uintptr_t>(decoder->allocation));
    } else {
        return reinterpret_cast<char *>(decoder) - decoder->allocation;
    }
}

bool isAccepted(const G711LawConfig *config) {
    return (config->header & instanceCountMask) == 1 && config->frameSize != 0 &&
           config->law <= G711_LAW_U;
}

} // namespace

std::uint32_t G711Law_GetMemSize(const G711LawConfig * /*config*/) {
    return blockSize;
}

std::int32_t G711Law_Create(G711LawDecoder **decoder, const G711LawConfig *config) {
    if (!isAccepted(config)) {
        return -1;
    }
    G711LawDecoder *state = nullptr;
    if (config->memory != nullptr) {
        std::memset(config->memory, 0, blockSize);
        state = alignedState(config->memory);
        state->external = 1;
    } else {
        void *const block = std::calloc(1, blockSize);
        if (block == nullptr) {
            return -1;
        }
        state = alignedState(block);
        state->external = 0;
        rememberBlock(state, block);
    }
    state->frameSize = config->frameSize;
    state->law = config->law;
    *decoder = state;
    return 0;
}

std::int32_t G711Law_Process(G711LawDecoder *decoder, const G711LawIO *io) {
    if (decoder->law == G711_LAW_A) {
        G711_AlawExpand(io, decoder->frameSize);
    } else {
        G711_UlawExpand(io, decoder->frameSize);
    }
    return 0;
}

void G711Law_Destroy(G711LawDecoder **decoder) {
    if (*decoder != nullptr && (*decoder)->external == 0) {
        std::free(rememberedBlock(*decoder));
    }
    *decoder = nullptr;
}
