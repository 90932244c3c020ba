// The decoder interface, and the G.711 module behind it.
//
// The daemon decodes only through the operation slots of a DecoderOps record that a codec module
// fills in. The one module there is expands G.711 A-law or u-law bytes to 16-bit signed linear mono
// samples, one per byte. Which law applies is told by codec information from the stream; until some
// arrives it is u-law.
//
// Everything here runs on one thread. The module keeps one decoder per process. Failures and
// progress are reported on standard output and to the system log.
#pragma once

#include "src/voxo/stream_record.h"

#include <cstdint>

struct G711LawDecoder;

// The decoder instance: made by `init`, freed by `release`. Both law decoders exist, with the
// current frame size, after a successful init, reset or size-changing setIO.
struct G711Opt {
    G711LawDecoder *alawDec; // owned
    G711LawDecoder *ulawDec; // owned
    std::uint32_t mode;      // codeUlaw or codeAlaw; anything else makes decode fail
    std::uint32_t channels;  // from codec information; decoding does not use it
    std::uint32_t frameSize; // input bytes (= samples) per frame
    std::uint8_t *input;     // the caller's; input of the next decode
    std::int16_t *output;    // the caller's; room for frameSize samples
};

// What the module tells of itself; holds the process's decoder instance.
struct CodecDesc {
    std::uint32_t fourCC;     // codeG711
    std::uint32_t bitRate;    // bits per second: 64000
    std::uint32_t sampleRate; // samples per second: 8000
    G711Opt *handle;          // the slot that init fills and release clears
};

// The decoder interface. Operations return 0 for success and -1 for failure unless said otherwise.
struct DecoderOps {
    std::uint32_t fourCC;
    CodecDesc *codecDesc;

    // Creates a decoder in the slot (frames of 640 bytes, u-law, 1 channel). A slot that holds one
    // keeps it, with its law, channels and frame size, and gets its law decoders made anew. After a
    // failure the decoder may stand in the slot without them; release still frees it.
    std::int32_t (*init)(G711Opt **slot);

    // Makes the law decoders anew. Without a decoder: -1.
    std::int32_t (*reset)(G711Opt *decoder);

    // Frees the decoder in the slot and clears the slot; -1 when the slot is empty.
    std::int32_t (*release)(G711Opt **slot);

    // Takes the law and the channel count from a codec-information record for G.711, which may lie
    // at any address. Neither is validated. Returns 0.
    std::int32_t (*setCodecInfo)(G711Opt *decoder, const void *packet);

    // The channel count of the last codec information.
    std::uint32_t (*getChannels)(G711Opt *decoder);

    // Names the input and output of the next decode. A size that is neither 0 nor the current frame
    // size becomes the frame size and makes the law decoders anew. `output` must have room for as
    // many samples as the frame size.
    std::int32_t (*setIO)(G711Opt *decoder, std::uint8_t *input, std::int16_t *output,
                          std::int32_t size);

    // Expands one frame of the frame size from the input to the output (A-law rewrites the input).
    // *size: in, input bytes; out, output bytes, twice as many. -1 with *size untouched when the
    // law is unknown or its law decoder is missing.
    std::int32_t (*decode)(G711Opt *decoder, std::uint32_t *size);
};

// Fills the record with the G.711 module's operations and sets its description afresh, without a
// decoder.
void G711Dec_GetOps(DecoderOps *ops);
