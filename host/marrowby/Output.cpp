#include "host/marrowby/Output.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"

#include <cerrno>
#include <cstdio>

namespace {

[[noreturn]] void outputFailed(int error)
{
    // What is still in the buffer would fail again at the next flush.
    std::clearerr(stdout);
    if (error == EINTR)
        checkForInterrupt();
    if (error == EPIPE)
        throw OutputClosed();
    throw Failure(QByteArray("cannot write to standard output: ") + systemErrorText(error));
}

} // namespace

void Output::write(const char *bytes, std::size_t count)
{
    if (std::fwrite(bytes, 1, count, stdout) != count)
        outputFailed(errno);
}

void Output::flush()
{
    if (std::fflush(stdout) != 0)
        outputFailed(errno);
}
