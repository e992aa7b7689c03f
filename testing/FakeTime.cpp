#include "testing/FakeTime.h"

#include "platform/Pause.h"

#include <numeric>
#include <stdexcept>

namespace {

struct Time {
    std::vector<int> pauses;
    std::int64_t now;
    std::int64_t look;
};

/// Any moment will do, as long as nobody counts on its being 0.
const std::int64_t kStart = 123456789;

thread_local Time *fake = nullptr;

} // namespace

FakeTime::FakeTime()
{
    if (fake)
        throw std::logic_error("time is faked already");
    fake = new Time{std::vector<int>(), kStart, 0};
}

FakeTime::~FakeTime()
{
    delete fake;
    fake = nullptr;
}

std::vector<int> FakeTime::pauses() const
{
    return fake->pauses;
}

std::int64_t FakeTime::passed() const
{
    return std::accumulate(fake->pauses.begin(), fake->pauses.end(), std::int64_t(0));
}

void FakeTime::passAtEachLook(std::int64_t milliseconds)
{
    fake->look = milliseconds;
}

// platform::pauseFor(int) and platform::steadyMilliseconds(), by their names in the object files.
extern "C" {

void __real__ZN8platform8pauseForEi(int milliseconds);
std::int64_t __real__ZN8platform18steadyMillisecondsEv();

void __wrap__ZN8platform8pauseForEi(int milliseconds)
{
    if (!fake) {
        __real__ZN8platform8pauseForEi(milliseconds);
        return;
    }
    fake->pauses.push_back(milliseconds);
    fake->now += milliseconds;
}

std::int64_t __wrap__ZN8platform18steadyMillisecondsEv()
{
    if (!fake)
        return __real__ZN8platform18steadyMillisecondsEv();
    fake->now += fake->look;
    return fake->now;
}

} // extern "C"
