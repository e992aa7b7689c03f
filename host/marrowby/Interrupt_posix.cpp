#include "host/marrowby/Interrupt.h"

#include "host/marrowby/Errors.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/wait.h>
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

/// What the handler runs: the program and its arguments one after the other, each with its final zero, and where each
/// begins. It counts when `used` is set.
struct LastRun {
    volatile std::sig_atomic_t used;
    char text[8192];
    char *words[16];
};
LastRun lastRun;

const int kLastRunPatience = 3000; // milliseconds
const int kLastRunSlice = 20;

void pauseFor(int milliseconds)
{
    timespec time;
    time.tv_sec = 0;
    time.tv_nsec = milliseconds * 1000000L;
    ::nanosleep(&time, nullptr);
}

/// Only what a signal handler may call.
void doLastRun()
{
    const pid_t child = ::_Fork(); // unlike fork it takes no locks
    if (child < 0)
        return;
    if (child == 0) {
        ::setsid(); // the terminal's next Ctrl-C is not for it
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        const int nowhere = ::open("/dev/null", O_RDWR);
        for (int descriptor = 0; descriptor < 3; ++descriptor)
            ::dup2(nowhere, descriptor);
        ::execv(lastRun.words[0], lastRun.words);
        ::_exit(127);
    }
    for (int waited = 0; waited < kLastRunPatience; waited += kLastRunSlice) {
        if (::waitpid(child, nullptr, WNOHANG) != 0)
            return;
        pauseFor(kLastRunSlice);
    }
    ::kill(child, SIGKILL);
}

/// How long the program has to tidy up by itself: the plug-in does not come back from a server that says nothing.
const int kGraceSeconds = 1;
timer_t grace;
bool hasGrace = false;

void endAtOnce(int signal)
{
    for (Leftover &leftover : leftovers)
        if (leftover.used && ::unlink(leftover.path) != 0)
            ::rmdir(leftover.path);
    if (lastRun.used)
        doLastRun();
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

bool endIsRequested()
{
    return requested != 0;
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
        pauseFor(std::min(left, kSlice));
    }
    checkForInterrupt();
}

StopWaits::StopWaits()
{
    sigset_t stop;
    sigset_t before;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTSTP);
    ::sigprocmask(SIG_BLOCK, &stop, &before);
    m_waitedBefore = sigismember(&before, SIGTSTP) == 1;
}

StopWaits::~StopWaits()
{
    if (m_waitedBefore)
        return;
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTSTP);
    ::sigprocmask(SIG_UNBLOCK, &stop, nullptr);
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

void runAtAbruptEnd(const std::vector<QByteArray> &arguments)
{
    lastRun.used = 0;
    if (arguments.empty())
        return;
    std::vector<QByteArray> words(1, QFile::encodeName(QCoreApplication::applicationFilePath()));
    words.insert(words.end(), arguments.begin(), arguments.end());
    if (words.size() >= sizeof lastRun.words / sizeof lastRun.words[0])
        return;
    char *end = lastRun.text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::size_t size = static_cast<std::size_t>(words[i].size()) + 1;
        if (size > static_cast<std::size_t>(lastRun.text + sizeof lastRun.text - end))
            return;
        lastRun.words[i] = end;
        std::memcpy(end, words[i].constData(), size);
        end += size;
    }
    lastRun.words[words.size()] = nullptr;
    lastRun.used = 1;
}
