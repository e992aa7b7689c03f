// Waiting, and how long it took.
#ifndef PLATFORM_PAUSE_H
#define PLATFORM_PAUSE_H

#include <cstdint>

namespace platform {

/// Lets this thread wait (`Sleep`); never less than `milliseconds`.
void pauseFor(int milliseconds);

/// Milliseconds since some moment, on a clock that nobody sets.
std::int64_t steadyMilliseconds();

} // namespace platform

#endif
