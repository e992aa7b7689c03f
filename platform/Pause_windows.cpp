#include "platform/Pause.h"

#include <windows.h>

#include <chrono>

namespace platform {

void pauseFor(int milliseconds)
{
    const std::int64_t end = steadyMilliseconds() + milliseconds;
    // `Sleep` counts in ticks of its own and may come back up to one of them too early.
    for (std::int64_t left = milliseconds; left > 0; left = end - steadyMilliseconds())
        ::Sleep(static_cast<DWORD>(left));
}

std::int64_t steadyMilliseconds()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace platform
