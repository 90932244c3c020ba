#include "src/voxo/clip.h"

#include "audioout/audioout.h"
#include "base/shown.h"
#include "src/report.h"
#include "src/voxo/match_rate.h"
#include "src/voxo/stereo.h"
#include "src/voxo/tessel.h"
#include "wav/wav.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr std::uint32_t chunkSize = 2048;
constexpr std::uint32_t clipDoubleFreqRatio = 2; // clips are played at the output's rate
constexpr time_t playOutSeconds = 3;
constexpr std::size_t pathRoom = 129;

void openClip(VoxoContext *context, VoxoLoopState *state) {
    std::puts("WAV initial......");
    char path[pathRoom] = {};
    std::memcpy(path, context->clipLocation, strnlen(context->clipLocation, pathRoom - 1));
    std::printf("Play file path: %s\n", path);
    if (WAV_Initial(&wavHandle, path) != 0) {
        std::fprintf(stderr, "Open audio clip file fail!\n");
        clipStart = 0;
        clipOpen = 0;
    } else {
        voxoTellClipStarted();
        clipOpen = 1;
    }
    WAV_ShowInfo(wavHandle);
    state->dwWavFileChannel = static_cast<std::int32_t>(WAV_GetChannel(wavHandle));
    std::fprintf(stderr, "[%d] channel num: %d\n", __LINE__, state->dwWavFileChannel);
    state->dwWavFileSampleRate = static_cast<std::int32_t>(WAV_GetSampleRate(wavHandle));
    std::fprintf(stderr, "[%d] sample rate: %d\n", __LINE__, state->dwWavFileSampleRate);
}

// Closes the open clip, if there is one.
void releaseClip() {
    if (clipOpen == 0) {
        return;
    }
    if (WAV_Release(&wavHandle) != 0) {
        std::fprintf(stderr, "WAV_Release fail.\n");
    }
    clipOpen = 0;
}

// Drops what the output still holds of a clip, ends the request for it and reports it.
void endClip() {
    audioout_clear_audio_buffer(voxoContext.audioOut.aoDevId, voxoContext.audioOut.aoChn);
    clipStart = 0;
    voxoTellClipStopped();
}

void reportOutput(const AudioOutParam &output, std::uint32_t blockSize) {
    VOXO_REPORT(LOG_DEBUG, "aoDevId: %d\n", output.aoDevId);
    VOXO_REPORT(LOG_DEBUG, "aoChn: %d\n", output.aoChn);
    VOXO_REPORT(LOG_DEBUG, "iSamprate: %d\n", output.iSamprate);
    VOXO_REPORT(LOG_DEBUG, "iSampfmt: %d\n", output.iSampfmt);
    VOXO_REPORT(LOG_DEBUG, "iSamp_frmPt: %d\n", output.iSamp_frmPt);
    VOXO_REPORT(LOG_DEBUG, "dwAudioBufferSize: %d\n", shown(blockSize));
}

// Reads a chunk into decodeBuf. Returns its bytes; a chunk that cannot be read is one of silence.
std::uint32_t readChunk() {
    std::memset(decodeBuf, 0, sizeof decodeBuf);
    std::memset(stereoBuf, 0, sizeof stereoBuf);
    std::memset(matchBuf, 0, sizeof matchBuf);
    std::uint32_t count = chunkSize;
    if (WAV_GetBuffer(wavHandle, decodeBuf, &count) != 0) {
        std::fprintf(stderr, "%s:%d: WAV_GetBuffer fail!\n", kSourceFile, __LINE__);
    }
    return count;
}

// Waits while what is queued plays out. A signal other than for the daemon's end cuts no clip
// short.
void waitForPlayOut() {
    timespec end = {};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += playOutSeconds;
    while (quitRequested == 0 &&
           clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

// Lets what is queued play out and ends the clip.
void finishClip() {
    std::fprintf(stderr, "[play to the end of the file]\n");
    releaseClip();
    waitForPlayOut();
    endClip();
}

void playChunk(VoxoContext *context, VoxoLoopState *state) {
    std::puts("======= Audio Clip Start =======");
    std::fprintf(stderr,
                 "dwVoxoOutSample: %d, dwWavFileSampleRate: %d, dwAlertDoubleFreqRatio: %d, "
                 "dwWavFileChannel: %d\n",
                 state->dwWavFileSampleRate, state->dwWavFileSampleRate, shown(clipDoubleFreqRatio),
                 state->dwWavFileChannel);
    const std::uint32_t count = readChunk();
    state->lastInputSize = static_cast<std::int32_t>(count);
    std::int16_t *block = decodeBuf;
    std::uint32_t size = count;
    if (state->dwWavFileChannel != 2) {
        voxoDoubleToStereo(decodeBuf, count / 2, stereoBuf);
        block = stereoBuf;
        size = 2 * count;
    }
    block = voxoMatchRate(block, matchBuf, &size, clipDoubleFreqRatio);
    reportOutput(context->audioOut, size);
    if (count != chunkSize) {
        finishClip();
    } else if (audioout_write(context->audioOut.aoDevId, context->audioOut.aoChn, block,
                              static_cast<std::int32_t>(size)) != 0) {
        VOXO_REPORT_AT(LOG_WARNING, ": write audio error\n");
    }
    std::puts("======= Audio Clip End =======");
    state->dwVoxoOutSample = static_cast<std::uint32_t>(state->dwWavFileSampleRate);
}

} // namespace

void voxoStartClip() {
    clipStart = 1;
}

void voxoStopClip() {
    releaseClip();
    endClip();
}

int voxoCheck2WayAudio() {
    const int status = voxoAskTwoWayStatus();
    std::printf("i2WayAudioStatus = %d\n", status);
    if (status == twoWayInProgress) {
        std::puts("2-way audio in progress");
        voxoStopClip();
    }
    return status;
}

void voxoClipStep(VoxoContext *context, VoxoLoopState *state) {
    if (wavHandle != nullptr && clipOpen == 1) {
        playChunk(context, state);
    } else {
        openClip(context, state);
    }
}
