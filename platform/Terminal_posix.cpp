#include "platform/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace platform {

bool isErrorOutputTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

unsigned terminalWidth()
{
    winsize size;
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

} // namespace platform
