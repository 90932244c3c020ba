#include "src/voxo/daemon.h"

#include "base/shown.h"
#include "src/report.h"
#include "src/voxo/config.h"
#include "src/voxo/context.h"
#include "src/voxo/fifo.h"
#include "src/voxo/loop.h"
#include "src/voxo/options.h"
#include "src/voxo/process.h"
#include "src/voxo/stream.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

// Brings up what other processes need before there is sound: configuration, capability, control
// FIFO.
bool prepare(VoxoContext *context) {
    if (voxoParseConfig(context) != 0) {
        VOXO_REPORT(LOG_WARNING, "Parse Config File fail!\n");
        return false;
    }
    if (voxoGetAudioclipCapability(context) != 0) {
        VOXO_REPORT(LOG_WARNING, "Cannot fine audioclip capability!\n");
    }
    if (context->audioclipCapability == 0) {
        return true;
    }
    if (voxoInitFIFO() != 0) {
        VOXO_REPORT(LOG_WARNING, "Initial FIFO fail.\n");
        return false;
    }
    context->xmlParser = XML_ParserCreate(nullptr);
    if (context->xmlParser == nullptr) {
        VOXO_REPORT(LOG_WARNING, "Initial parser fail.\n");
        return false;
    }
    return true;
}

constexpr int obeyedSignals[] = {SIGTERM, SIGINT, SIGHUP};

void installSignals() {
    for (const int signal : obeyedSignals) {
        std::signal(signal, voxoSignalHandler);
    }
}

// Signals as the daemon needs them from its first action on, whatever its parent made of them.
void prepareSignals() {
    std::signal(SIGPIPE, SIG_IGN); // whoever reads the output may go; the sound goes on
    std::signal(SIGUSR1, SIG_IGN); // a stale PID file may make this process the encoder
    sigset_t obeyed;
    sigemptyset(&obeyed);
    for (const int signal : obeyedSignals) {
        sigaddset(&obeyed, signal);
    }
    sigprocmask(SIG_UNBLOCK, &obeyed, nullptr);
}

bool isWhole(const DecoderOps &decoder) {
    return decoder.init != nullptr && decoder.getChannels != nullptr && decoder.setIO != nullptr &&
           decoder.setCodecInfo != nullptr && decoder.decode != nullptr &&
           decoder.release != nullptr && decoder.reset != nullptr;
}

void reportInitialRate() {
    const VoxoLoopState initial;
    const auto ratio = shown(initial.dwDoubleFreqRatio);
    VOXO_REPORT_AT(LOG_DEBUG, ": Initial Sample rate=%d Frequecy ratio*2=%d Output Size=%d\n",
                   shown(initial.dwVoxoOutSample), ratio, ratio * initial.lastInputSize);
}

// From the open device to the main loop. False: the caller cleans up.
bool start(VoxoContext *context, int daemonFlag) {
    if (voxoOpenDevice(context) != 0) {
        return false;
    }
    if (daemonFlag != 0 && daemon(0, 0) != 0) {
        std::perror("daemon");
    }
    installSignals();
    VOXO_REPORT(LOG_DEBUG, "Voxo Program (%d) Start...\n", getpid());
    if (voxoCreatePidFile() != 0) {
        std::perror("Generate pid file fail !!\n");
        return false;
    }
    if (!isWhole(context->decoder)) {
        VOXO_REPORT_AT(LOG_WARNING, " null function pointer\n");
        return false;
    }
    reportInitialRate();
    voxoNotifyEncoder(context->aencPidPath);
    return context->decoder.init(&context->decoder.codecDesc->handle) == 0;
}

} // namespace

int voxoRun(int argc, char **argv) {
    voxoContext = {};
    prepareSignals();
    voxoHoldStandardStreams();
    // Whoever watches the output through a pipe or a file sees each line as it comes.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    openlog("[voxo]", 0, LOG_USER);
    int daemonFlag = 0;
    if (voxoParseOptions(argc, argv, &daemonFlag) != 0) {
        std::puts(voxoUsage);
        return 1;
    }
    VoxoContext *const context = &voxoContext;
    if (!prepare(context)) {
        return -1;
    }
    if (!start(context, daemonFlag)) {
        voxoCleanup(context);
        return -1;
    }
    voxoMainLoop(context);
    context->decoder.release(&context->decoder.codecDesc->handle);
    voxoCleanup(context);
    std::printf("%s:%d: End\n", kSourceFile, __LINE__);
    return 0;
}
