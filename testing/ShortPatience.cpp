#include "testing/ShortPatience.h"

#include <poll.h>

namespace {

struct Shortening {
    int milliseconds;
    int instead;
    int timeOuts;
};

thread_local Shortening current = {0, 0, 0};

} // namespace

extern "C" int __real_poll(pollfd *descriptors, nfds_t count, int milliseconds);

extern "C" int __wrap_poll(pollfd *descriptors, nfds_t count, int milliseconds)
{
    if (current.milliseconds == 0 || milliseconds != current.milliseconds)
        return __real_poll(descriptors, count, milliseconds);
    const int ready = __real_poll(descriptors, count, current.instead);
    if (ready == 0)
        ++current.timeOuts;
    return ready;
}

ShortPatience::ShortPatience(int milliseconds, int instead)
{
    current = Shortening{milliseconds, instead, 0};
}

ShortPatience::~ShortPatience()
{
    current = Shortening{0, 0, 0};
}

int ShortPatience::timeOuts() const
{
    return current.timeOuts;
}
