#include "src/voxo/stream.h"

#include "audioout/audioout.h"
#include "base/shown.h"
#include "src/report.h"
#include "src/voxo/match_rate.h"
#include "src/voxo/stereo.h"
#include "src/voxo/stream_record.h"

#include <cstdio>

namespace {

constexpr std::int64_t dropReportInterval = 60'000; // milliseconds

constexpr std::uint32_t outputRate = 8000;
constexpr std::uint32_t sampleSize = sizeof(std::int16_t);
constexpr std::uint32_t stereoFrameSize = 2 * sampleSize;

std::uint32_t wordAt(std::uint32_t offset) {
    return recordWord(recvBuf, offset);
}

// Bytes that codec information of the codec must have for its words to be there.
std::uint32_t codecInfoSize(std::uint32_t codec) {
    switch (codec) {
    case codeG711:
        return g711ConfSize;
    case codeAac:
        return aacRateWord + sizeof(std::uint32_t);
    case codeAmr:
        return amrRateWord + sizeof(std::uint32_t);
    default:
        return recordBody;
    }
}

// The payload of an audio record in recvBuf.
struct Payload {
    std::uint32_t offset;
    std::uint32_t length;
};

// Finds the payload. False: it does not lie within what was received, or does not fit the buffers
// at the current ratio. `frameSize` is what the decoder reads for an empty payload.
bool findPayload(std::uint32_t ratio, std::uint32_t frameSize, Payload *payload) {
    const std::int64_t size = static_cast<std::int32_t>(wordAt(recordSizeWord));
    const std::int64_t extra = static_cast<std::int32_t>(wordAt(recordExtraWord));
    const std::int64_t length = size - recordBody - extra;
    if (extra < 0 || length < 0 || size > recvLength) {
        return false;
    }
    *payload = {static_cast<std::uint32_t>(recordBody + extra), static_cast<std::uint32_t>(length)};
    const std::uint32_t decoded = payload->length == 0 ? frameSize : payload->length;
    const std::uint64_t stereoSize = std::uint64_t{payload->length} * stereoFrameSize;
    return payload->offset + decoded <= sizeof recvBuf && stereoSize <= sizeof stereoBuf &&
           voxoMatchRoom(static_cast<std::uint32_t>(stereoSize), ratio) <= sizeof matchBuf;
}

// Whether the record may be handled; *payload is set for audio.
bool isWithinLimits(const VoxoContext &context, const VoxoLoopState &state, Payload *payload) {
    if (recvLength < recordBody) {
        return false;
    }
    switch (wordAt(recordTypeWord)) {
    case codeConf:
        return recvLength >= codecInfoSize(wordAt(recordCodecWord));
    case codeG711:
        return findPayload(state.dwDoubleFreqRatio, context.decoder.codecDesc->handle->frameSize,
                           payload);
    default:
        return true;
    }
}

// Takes the rate, or for G.711 the law, from codec information.
void takeCodec(VoxoContext *context, VoxoLoopState *state) {
    DecoderOps &decoder = context->decoder;
    switch (wordAt(recordCodecWord)) {
    case codeG711:
        if (wordAt(g711FlagWord) == 0) {
            state->dwVoxoOutSample = outputRate;
        } else {
            decoder.setCodecInfo(decoder.codecDesc->handle, recvBuf);
        }
        break;
    case codeAac:
        state->dwVoxoOutSample = wordAt(aacRateWord);
        VOXO_REPORT(LOG_DEBUG, "CI of AAC4 Sample Rate:%d Channel Num:%d\n",
                    shown(state->dwVoxoOutSample), shown(wordAt(aacChannelsWord)));
        break;
    case codeAmr:
        state->dwVoxoOutSample = wordAt(amrRateWord);
        VOXO_REPORT(LOG_DEBUG, "CI of AMR Sample Rate:%d\n", shown(state->dwVoxoOutSample));
        break;
    case codeG726:
        state->dwVoxoOutSample = outputRate;
        break;
    default:
        break;
    }
}

void handleCodecInfo(VoxoContext *context, VoxoLoopState *state) {
    takeCodec(context, state);
    const std::uint64_t doubled = 2 * std::uint64_t{state->dwVoxoOutSample};
    state->dwDoubleFreqRatio = static_cast<std::uint32_t>(doubled / outputRate);
    std::fprintf(stderr, "dwVoxoInSampleRate: %d, dwVoxoOutSample: %d, dwDoubleFreqRatio: %d\n",
                 shown(outputRate), shown(state->dwVoxoOutSample), shown(state->dwDoubleFreqRatio));
    const auto lastSize = static_cast<std::uint32_t>(state->lastInputSize);
    VOXO_REPORT_AT(LOG_DEBUG, ": Current Sample rate=%d Frequecy ratio*2=%d Output Size=%d\n",
                   shown(state->dwVoxoOutSample), shown(state->dwDoubleFreqRatio),
                   shown(state->dwDoubleFreqRatio * lastSize));
}

// Plays the mono samples of `bytes` bytes in decodeBuf; at a ratio of 0 nothing is left of them.
void playDecoded(const VoxoContext &context, std::uint32_t bytes, std::uint32_t ratio) {
    if (ratio == 0) {
        return;
    }
    voxoDoubleToStereo(decodeBuf, bytes / sampleSize, stereoBuf);
    std::uint32_t size = 2 * bytes;
    const std::int16_t *const block = voxoMatchRate(stereoBuf, matchBuf, &size, ratio);
    // An odd payload at an odd ratio ends inside a frame; the half would shift all that follows.
    const std::uint32_t half = size % stereoFrameSize;
    size -= half;
    if (size == 0 && half != 0) {
        return;
    }
    if (audioout_write(context.audioOut.aoDevId, context.audioOut.aoChn, block,
                       static_cast<std::int32_t>(size)) != 0) {
        VOXO_REPORT_AT(LOG_WARNING, ": write audio error\n");
    }
}

RecordResult handleAudio(VoxoContext *context, VoxoLoopState *state, const Payload &payload) {
    const DecoderOps &decoder = context->decoder;
    G711Opt *const handle = decoder.codecDesc->handle;
    state->lastInputSize = static_cast<std::int32_t>(payload.length);
    if (decoder.setIO(handle, recvBuf + payload.offset, decodeBuf, state->lastInputSize) != 0) {
        VOXO_REPORT_AT(LOG_WARNING, ": setIO failed!\n");
        return RecordResult::stopDaemon;
    }
    std::uint32_t size = payload.length;
    if (decoder.decode(handle, &size) != 0) {
        VOXO_REPORT_AT(LOG_WARNING, ": decode failed!\n");
        return RecordResult::goOn;
    }
    playDecoded(*context, size, state->dwDoubleFreqRatio);
    return RecordResult::goOn;
}

} // namespace

void voxoReportDropped(VoxoLoopState *state) {
    if (state->droppedRecords == 1) {
        VOXO_REPORT(LOG_WARNING, "Stream record out of limits, dropped\n");
    } else if (state->droppedRecords > 1) {
        VOXO_REPORT(LOG_WARNING, "%u stream records out of limits, dropped\n",
                    state->droppedRecords);
    }
    state->droppedRecords = 0;
    state->nextDropReport = Deadline(dropReportInterval);
}

void voxoReportDroppedWhenDue(VoxoLoopState *state) {
    if (state->droppedRecords > 0 && state->nextDropReport.hasPassed()) {
        voxoReportDropped(state);
    }
}

RecordResult voxoHandleRecord(VoxoContext *context, VoxoLoopState *state) {
    Payload payload = {};
    if (!isWithinLimits(*context, *state, &payload)) {
        ++state->droppedRecords;
        return RecordResult::goOn;
    }
    switch (wordAt(recordTypeWord)) {
    case codeConf:
        handleCodecInfo(context, state);
        return RecordResult::goOn;
    case codeG711:
        return handleAudio(context, state, payload);
    default:
        return RecordResult::goOn;
    }
}
