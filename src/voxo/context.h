// The daemon's state: one record and a few variables, static and for the process's one thread.
#pragma once

#include "audioout/audioout.h"
#include "base/deadline.h"
#include "src/voxo_g711/voxo_g711.h"

#include <expat.h>

#include <csignal>
#include <cstdint>

struct WAV_FILE;

// Named in the daemon's reports as their source.
constexpr const char *kSourceFile = "src/voxo";

// Filled with zero bytes as the first action of the process.
struct VoxoContext {
    char configPath[256];             // configuration file, from option -c
    char aencPidPath[256];            // PID file of the audio encoder; empty: it is not notified
    char socketPath[64];              // stream socket
    DecoderOps decoder;               // its code from the configuration, the rest from the module
    std::int32_t streamFd;            // 0 until opened
    char deviceNode[16];              // from the configuration; not used
    std::int32_t dwGain;              // codec gain code last applied
    std::int32_t dwVolume;            // loudspeaker volume last read, 0 to 100
    AudioOutParam audioOut;           // what the output was opened with
    std::int32_t audioclipCapability; // not 0: there is a control FIFO, and clips are played
    char clipLocation[256];           // clip file named last
    std::int32_t fifoFd;              // control FIFO
    XML_Parser xmlParser;             // lent to the message library
};

// What the main loop keeps from one iteration to the next.
struct VoxoLoopState {
    std::int32_t dwWavFileChannel = 1;       // of the clip last opened
    std::int32_t dwWavFileSampleRate = 8000; // Hz, of the clip last opened
    std::int32_t lastInputSize = 640;        // bytes of the last payload or clip chunk
    std::uint32_t dwVoxoOutSample = 8000;    // Hz, current rate of the stream
    std::uint32_t dwDoubleFreqRatio = 2;     // stream rate to output rate, times 2
    std::uint32_t droppedRecords = 0;        // records outside the limits, not yet reported
    Deadline nextDropReport{0};              // until then more of them are only counted
};

constexpr std::uint32_t voxoBufferSize = 16000;
constexpr std::uint32_t voxoBufferSamples = voxoBufferSize / sizeof(std::int16_t);

extern VoxoContext voxoContext;

// Set by the signal handler, read and cleared by the main loop.
extern volatile std::sig_atomic_t reloadVolume;
extern volatile std::sig_atomic_t quitRequested;

extern char pidFilePath[128];  // own PID file, from option -p; empty: none is written
extern WAV_FILE *wavHandle;    // the open clip, or null
extern std::int32_t clipStart; // 1: a clip is wanted
extern std::int32_t clipOpen;  // 1: its file is open and playing

extern std::uint8_t recvBuf[voxoBufferSize];      // one datagram as received
extern std::uint32_t recvLength;                  // its bytes
extern std::int16_t decodeBuf[voxoBufferSamples]; // decoded samples, or a clip chunk
extern std::int16_t stereoBuf[voxoBufferSamples]; // mono samples doubled
extern std::int16_t matchBuf[voxoBufferSamples];  // after rate matching
