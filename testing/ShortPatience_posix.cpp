#include "testing/ShortPatience.h"

#include <poll.h>

extern "C" int __real_poll(pollfd *descriptors, nfds_t count, int milliseconds);

extern "C" int __wrap_poll(pollfd *descriptors, nfds_t count, int milliseconds)
{
    ShortPatience *const patience = ShortPatience::forWaitOf(milliseconds);
    if (!patience)
        return __real_poll(descriptors, count, milliseconds);
    const int ready = __real_poll(descriptors, count, patience->instead());
    if (ready == 0)
        patience->noteTimeOut();
    return ready;
}
