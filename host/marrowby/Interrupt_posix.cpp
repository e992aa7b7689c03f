#include "host/marrowby/Interrupt.h"

#include "host/marrowby/Errors.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace {

const int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t requested = 0;

/// What the handler removes: plain memory that a handler may read at any moment. A place counts when `used` is set,
/// which happens after its name is complete.
struct Leftover {
    volatile std::sig_atomic_t used;
    char path[4096];
};
Leftover leftovers[4];

/// How long the program has to tidy up by itself: the plug-in does not come back from a server that says nothing.
const int kGraceSeconds = 1;
timer_t grace;
bool hasGrace = false;

void endAtOnce(int signal)
{
    for (Leftover &leftover : leftovers)
        if (leftover.used && ::unlink(leftover.path) != 0)
            ::rmdir(leftover.path);
    std::signal(signal, SIG_DFL);
    sigset_t these;
    sigemptyset(&these);
    sigaddset(&these, signal);
    ::sigprocmask(SIG_UNBLOCK, &these, nullptr);
    std::raise(signal);
}

void onGraceOver(int)
{
    endAtOnce(requested);
}

void onSignal(int signal)
{
    if (requested) {
        endAtOnce(signal);
        return;
    }
    requested = signal;
    if (!hasGrace)
        return;
    itimerspec once;
    once.it_interval.tv_sec = once.it_interval.tv_nsec = once.it_value.tv_nsec = 0;
    once.it_value.tv_sec = kGraceSeconds;
    ::timer_settime(grace, 0, &once, nullptr);
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGALRM);
    for (int other : kSignals)
        sigaddset(&action.sa_mask, other);
    action.sa_flags = 0; // without SA_RESTART: our own blocked calls must come back
    ::sigaction(signal, &action, nullptr);
}

} // namespace

void watchForInterrupts()
{
    std::signal(SIGPIPE, SIG_IGN);
    handle(SIGALRM, onGraceOver);
    sigevent event;
    std::memset(&event, 0, sizeof event);
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGALRM;
    hasGrace = ::timer_create(CLOCK_MONOTONIC, &event, &grace) == 0;
    for (int signal : kSignals) {
        struct sigaction before;
        // Whoever started us so that it must not be disturbed (nohup) is obeyed.
        if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler != SIG_IGN)
            handle(signal, onSignal);
    }
}

void checkForInterrupt()
{
    if (requested)
        throw Interrupted{static_cast<int>(requested)};
}

void waitUnlessInterrupted(int milliseconds)
{
    // In slices: a signal that comes before the call sleeps would otherwise go unnoticed for the whole time.
    const int kSlice = 50;
    for (int left = milliseconds; left > 0; left -= kSlice) {
        checkForInterrupt();
        timespec slice;
        slice.tv_sec = 0;
        slice.tv_nsec = std::min(left, kSlice) * 1000000L;
        ::nanosleep(&slice, nullptr);
    }
    checkForInterrupt();
}

void removeAtAbruptEnd(const QByteArray &path)
{
    for (Leftover &leftover : leftovers) {
        if (leftover.used || static_cast<std::size_t>(path.size()) >= sizeof leftover.path)
            continue;
        std::memcpy(leftover.path, path.constData(), static_cast<std::size_t>(path.size()) + 1);
        leftover.used = 1;
        return;
    }
}

void isRemoved(const QByteArray &path)
{
    for (Leftover &leftover : leftovers)
        if (leftover.used && path == leftover.path)
            leftover.used = 0;
}
