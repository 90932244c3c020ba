#include "mpp/code/mpi/src/aq_tuning.h"

#include "base/mutex_guard.h"
#include "mpp/code/mpi/src/sys_device.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/code/mpp_report.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>

namespace {

constexpr useconds_t refusalPause = 10000;
constexpr time_t wakeSeconds = 1;
constexpr std::size_t reasonRoom = 256;

pthread_t tuningThread;
bool hasTuningThread = false;
std::atomic<int> tuningRuns{0};

pthread_mutex_t endLock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t ended; // while there is a thread
bool hasEnded = false;

using TuningOperation = int (*)(unsigned argument);

// The tuning library, loaded when it is first needed.
class TuningLibrary {
public:
    TuningLibrary() = default;
    TuningLibrary(const TuningLibrary &) = delete;
    TuningLibrary &operator=(const TuningLibrary &) = delete;
    ~TuningLibrary() {
        if (handle_ != nullptr) {
            dlclose(handle_);
        }
    }

    // False: reported.
    bool load() {
        if (handle_ != nullptr) {
            return true;
        }
        handle_ = dlopen("libaqcontrol.so", RTLD_LAZY);
        if (handle_ == nullptr) {
            mppReport(CallSite::here("AQDebugMonitor"), "dlopen libaqcontrol.so fail,Msg:%s\n",
                      reason());
            return false;
        }
        return resolve("HI_AQT_Init", &init) && resolve("HI_AQT_Dinit", &deinit);
    }

    TuningOperation init = nullptr;
    TuningOperation deinit = nullptr;

private:
    // Why the loader failed; it says nothing of a symbol that is there but null.
    static const char *reason() {
        const char *const text = dlerror();
        return text != nullptr ? text : "null";
    }

    // Closing the library makes the loader forget why a look-up has failed.
    bool resolve(const char *name, TuningOperation *operation) {
        *operation = reinterpret_cast<TuningOperation>(dlsym(handle_, name));
        if (*operation != nullptr) {
            return true;
        }
        char text[reasonRoom];
        std::snprintf(text, sizeof text, "%s", reason());
        dlclose(handle_);
        handle_ = nullptr;
        mppReport(CallSite::here("AQDebugMonitor"), "dlsym %s fail,Msg:%s\n", name, text);
        return false;
    }

    void *handle_ = nullptr;
};

void tellEnd() {
    const MutexGuard guard(endLock);
    hasEnded = true;
    pthread_cond_signal(&ended);
}

void *AQDebugMonitor(void * /*argument*/) {
    prctl(PR_SET_NAME, "AQT_Proc", 0, 0, 0);
    TuningLibrary library;
    while (tuningRuns.load() != 0) {
        SysTuningRecord record = {1, 0};
        if (sysDeviceCommand(SYS_CMD_WAIT_TUNING, &record) != 0) {
            // A driver that refuses to wait would otherwise keep the processor to itself.
            usleep(refusalPause);
            continue;
        }
        if (!library.load()) {
            break;
        }
        library.init(record.argument);
        record.request = 0;
        sysDeviceCommand(SYS_CMD_WAIT_TUNING, &record);
        library.deinit(record.argument);
    }
    tellEnd();
    return nullptr;
}

bool startThread() {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&ended, &attributes);
    pthread_condattr_destroy(&attributes);
    hasEnded = false;
    tuningRuns = 1;
    return pthread_create(&tuningThread, nullptr, AQDebugMonitor, nullptr) == 0;
}

// Wakes the thread each second until it has ended: one that was just about to wait has not heard
// the wake-up before.
void wakeUntilEnd() {
    const MutexGuard guard(endLock);
    timespec next = {};
    clock_gettime(CLOCK_MONOTONIC, &next);
    while (!hasEnded) {
        next.tv_sec += wakeSeconds;
        int error = 0;
        while (!hasEnded && error != ETIMEDOUT) {
            error = pthread_cond_timedwait(&ended, &endLock, &next);
        }
        if (!hasEnded) {
            sysDeviceCommand(SYS_CMD_WAKE_TUNING, nullptr);
        }
    }
}

} // namespace

void aqTuningStart() {
    std::uint32_t mode = 0;
    if (sysDeviceCommand(SYS_CMD_GET_TUNING_MODE, &mode) != 0) {
        mppReport(CallSite::here(), "Get mode parameter failed\n");
        return;
    }
    if (mode == 0 || hasTuningThread) {
        return;
    }
    if (!startThread()) {
        pthread_cond_destroy(&ended);
        mppReport(CallSite::here(), "Create AQT thread failed\n");
        return;
    }
    hasTuningThread = true;
}

void aqTuningStop() {
    if (!hasTuningThread) {
        return;
    }
    tuningRuns = 0;
    if (sysDeviceCommand(SYS_CMD_WAKE_TUNING, nullptr) != 0) {
        mppReport(CallSite::here(), "Wake up AQ debug failed\n");
    }
    wakeUntilEnd();
    pthread_join(tuningThread, nullptr);
    pthread_cond_destroy(&ended);
    hasTuningThread = false;
}
