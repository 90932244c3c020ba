// Signals, and the process's own ways.
#include "vcam/preload/interpose.h"
#include "vcam/trace/trace_library.h"

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>

namespace {

using Plain = void (*)(int);
using Informed = void (*)(int, siginfo_t *, void *);

// The daemon's handlers by signal. Those of the library stand in for them where the daemon wants a
// signal handled.
std::atomic<Plain> plainHandlers[NSIG];
std::atomic<Informed> informedHandlers[NSIG];

void onPlainSignal(int number) {
    traceSignal(number, 0);
    plainHandlers[number].load()(number);
}

void onInformedSignal(int number, siginfo_t *info, void *context) {
    traceSignal(number, info->si_code == SI_USER ? info->si_pid : 0);
    informedHandlers[number].load()(number, info, context);
}

bool isSignal(int number) {
    return number > 0 && number < NSIG;
}

bool isHandler(Plain handler) {
    return handler != SIG_DFL && handler != SIG_IGN && handler != SIG_ERR;
}

void recordHandler(const TracedCall &made, int result, int number, Plain handler) {
    TraceHandler kind = handler == SIG_IGN ? TraceHandler::ignore : TraceHandler::standard;
    if (isHandler(handler)) {
        kind = TraceHandler::own;
    }
    made.record(TraceKind::handler, {.result = result,
                                     .argument = static_cast<std::uint32_t>(number),
                                     .more = static_cast<std::uint32_t>(kind)});
}

// Puts the library's handler into a copy of what the daemon asks for. What the daemon wants is
// remembered.
void standIn(int number, struct sigaction *action) {
    if (!traceIsOn() || !isHandler(action->sa_handler)) {
        return;
    }
    if ((action->sa_flags & SA_SIGINFO) != 0) {
        informedHandlers[number] = action->sa_sigaction;
        action->sa_sigaction = onInformedSignal;
    } else {
        plainHandlers[number] = action->sa_handler;
        action->sa_handler = onPlainSignal;
    }
}

} // namespace

INTERPOSE(Plain, signal, (int number, Plain handler)) {
    using Set = Plain (*)(int, Plain);
    const auto next = NEXT(Set, signal);
    if (!isSignal(number)) {
        return next(number, handler);
    }
    const TracedCall made;
    const Plain before = plainHandlers[number];
    const bool standsIn = traceIsOn() && isHandler(handler);
    if (standsIn) {
        plainHandlers[number] = handler;
    }
    const Plain found = next(number, standsIn ? onPlainSignal : handler);
    recordHandler(made, found == SIG_ERR ? -1 : 0, number, handler);
    return found == onPlainSignal ? before : found;
}

INTERPOSE(int, sigaction,
          (int number, const struct sigaction *action, struct sigaction *oldAction)) {
    using Set = int (*)(int, const struct sigaction *, struct sigaction *);
    const auto next = NEXT(Set, sigaction);
    if (!isSignal(number)) {
        return next(number, action, oldAction);
    }
    const TracedCall made;
    const Plain plainBefore = plainHandlers[number];
    const Informed informedBefore = informedHandlers[number];
    struct sigaction wanted = {};
    Plain handler = SIG_DFL;
    if (action != nullptr) {
        wanted = *action;
        handler = action->sa_handler;
        standIn(number, &wanted);
    }
    const int result = next(number, action != nullptr ? &wanted : nullptr, oldAction);
    if (action != nullptr) {
        recordHandler(made, result, number, handler);
    }
    if (result == 0 && oldAction != nullptr) {
        if (oldAction->sa_handler == onPlainSignal) {
            oldAction->sa_handler = plainBefore;
        } else if (oldAction->sa_sigaction == onInformedSignal) {
            oldAction->sa_sigaction = informedBefore;
        }
    }
    return result;
}

INTERPOSE(pid_t, fork, ()) {
    traceFlush();
    const pid_t child = NEXT(pid_t(*)(), fork)();
    if (child == 0) {
        traceForget();
    }
    return child;
}

INTERPOSE(int, daemon, (int keepsDirectory, int keepsStreams)) {
    traceFlush();
    const TracedCall made;
    const int result = NEXT(int (*)(int, int), daemon)(keepsDirectory, keepsStreams);
    made.record(TraceKind::detach,
                {.result = result, .argument = static_cast<std::uint32_t>(syscall(SYS_getpid))});
    return result;
}

INTERPOSE(void, _exit, (int status)) {
    traceEnd(TraceEnd::atOnce, status);
    NEXT(void (*)(int), _exit)(status);
    __builtin_unreachable();
}
