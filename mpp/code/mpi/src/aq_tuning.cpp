#include "mpp/code/mpi/src/aq_tuning.h"

#include "mpp/code/mpi/src/sys_device.h"
#include "mpp/code/mpi/src/sys_record.h"
#include "mpp/code/mpp_report.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <ctime>

namespace {

constexpr useconds_t refusalPause = 10000;
constexpr time_t joinSeconds = 1;

pthread_t tuningThread;
bool hasTuningThread = false;
std::atomic<int> tuningRuns{0};

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

    bool resolve(const char *name, TuningOperation *operation) {
        *operation = reinterpret_cast<TuningOperation>(dlsym(handle_, name));
        if (*operation == nullptr) {
            mppReport(CallSite::here("AQDebugMonitor"), "dlsym %s fail,Msg:%s\n", name, reason());
            return false;
        }
        return true;
    }

    void *handle_ = nullptr;
};

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
    return nullptr;
}

// Joins the thread if it ends within a short time.
bool joinSoon() {
    timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += joinSeconds;
    return pthread_timedjoin_np(tuningThread, nullptr, &until) == 0;
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
    tuningRuns = 1;
    if (pthread_create(&tuningThread, nullptr, AQDebugMonitor, nullptr) != 0) {
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
    // A thread that was just about to wait has not heard it.
    while (!joinSoon()) {
        sysDeviceCommand(SYS_CMD_WAKE_TUNING, nullptr);
    }
    hasTuningThread = false;
}
