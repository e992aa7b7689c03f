#include "testing/ShortPatience.h"

#include <winsock2.h>

extern "C" {

extern decltype(&::select) __real___imp_select;
extern decltype(&::select) __wrap___imp_select;

static int WSAAPI wrapped_select(int count, fd_set *readable, fd_set *writable, fd_set *exceptional, TIMEVAL *patience)
{
    ShortPatience *const shorter =
        patience ? ShortPatience::forWaitOf(patience->tv_sec * 1000 + patience->tv_usec / 1000) : nullptr;
    if (!shorter)
        return __real___imp_select(count, readable, writable, exceptional, patience);
    TIMEVAL instead = {shorter->instead() / 1000, shorter->instead() % 1000 * 1000};
    const int ready = __real___imp_select(count, readable, writable, exceptional, &instead);
    if (ready == 0)
        shorter->noteTimeOut();
    return ready;
}

decltype(&::select) __wrap___imp_select = wrapped_select;

} // extern "C"
