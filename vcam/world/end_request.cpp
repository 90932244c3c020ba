#include "vcam/world/end_request.h"

#include "vcam/camera/camera.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t isAskedFor = 0;

void note(int /*signal*/) {
    isAskedFor = 1;
}

} // namespace

void heedEndRequests() {
    struct sigaction action = {};
    action.sa_handler = note;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}

void throwIfEndIsAskedFor() {
    if (isAskedFor != 0) {
        throw CameraError("told to end");
    }
}
