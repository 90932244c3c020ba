// G.711 law decoders: A-law or u-law bytes to 16-bit signed linear samples.
//
// A decoder is created for one law and one frame size; each call expands exactly one frame. The
// values are those of ITU-T Recommendation G.711, tables 1a and 2a, scaled to 16 bits: A-law
// outputs are the 13-bit decoder values times 8 (+-8 to +-32256, never 0), u-law outputs the 14-bit
// decoder values times 4 (0 to +-32124).
//
// Decoders share no state; one decoder may be used by one thread at a time. Nothing is printed.
#pragma once

#include <cstdint>

enum : std::uint32_t { G711_LAW_A = 0, G711_LAW_U = 1 };

struct G711LawConfig {
    std::uint32_t header;    // low 24 bits: instance count, must be 1; top 8 bits are not examined
    std::uint32_t frameSize; // bytes (= samples) per frame, not 0
    std::uint32_t law;       // G711_LAW_...
    void *memory;            // block of at least G711Law_GetMemSize bytes for the state, or null
};

// The state of one decoder: four 32-bit words at the first 4-byte boundary of its block, on every
// processor.
struct G711LawDecoder {
    std::uint32_t external;  // 1: in the caller's memory, 0: in the library's
    std::uint32_t frameSize; // bytes expanded by each G711Law_Process call
    std::uint32_t law;       // G711_LAW_...
    std::uint32_t
        allocation; // when external is 0, where the block to free begins: its address where
                    // addresses have 32 bits, else how many bytes it lies before the state
};
static_assert(sizeof(G711LawDecoder) == 16 && alignof(G711LawDecoder) == 4);

struct G711LawIO {
    std::uint8_t *input;  // frameSize law bytes; A-law expansion rewrites them
    std::int16_t *output; // room for frameSize samples, written in the processor's byte order
};

// Bytes that a caller's block must have: the state and the slack to align it. `config` is not
// examined and may be null.
std::uint32_t G711Law_GetMemSize(const G711LawConfig *config);

// Creates a decoder and stores it in *decoder. Returns 0, or -1 with *decoder untouched when the
// configuration is refused (instance count, frame size or law out of range) or memory is short. A
// block given in config->memory stays the caller's and must outlive the decoder.
std::int32_t G711Law_Create(G711LawDecoder **decoder, const G711LawConfig *config);

// Expands one frame of the decoder's frame size. Returns 0.
std::int32_t G711Law_Process(G711LawDecoder *decoder, const G711LawIO *io);

// Frees the decoder in *decoder, if there is one and the library allocated it, and clears *decoder.
void G711Law_Destroy(G711LawDecoder **decoder);
