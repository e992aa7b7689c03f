#include "host/marrowby/Interrupt.h"

#include "host/marrowby/Failure.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t isInterrupted = 0;

extern "C" void noteInterrupt(int signal)
{
    isInterrupted = 1;
    std::signal(signal, SIG_DFL);
}

} // namespace

void noteInterrupts()
{
    std::signal(SIGINT, noteInterrupt);
    std::signal(SIGTERM, noteInterrupt);
}

void throwIfInterrupted()
{
    if (isInterrupted)
        throw Interrupted();
}
