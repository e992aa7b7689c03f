#include "host/marrowby/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

const int kUsualWidth = 80;

} // namespace

bool standardErrorIsTerminal()
{
    return ::isatty(STDERR_FILENO);
}

bool standardOutputIsTerminal()
{
    return ::isatty(STDOUT_FILENO);
}

int standardErrorWidth()
{
    winsize size;
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return kUsualWidth;
    return size.ws_col;
}
