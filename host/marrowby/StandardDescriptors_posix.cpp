#include "host/marrowby/StandardDescriptors.h"

#include "host/marrowby/ExitStatus.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

void holdStandardDescriptors()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF)
            continue;
        // For the direction that nobody uses, so that a read is no empty file and a write is not taken for done. The
        // lowest free number is this one: those below it are open.
        if (::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor)
            ::_exit(kFailed);
    }
}
