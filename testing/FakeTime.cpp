#include "testing/FakeTime.h"

#include "platform/Pause.h"
#include "testing/OfOneThread.h"

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

OfOneThread<Time> fake;

} // namespace

FakeTime::FakeTime()
{
    if (fake.get())
        throw std::logic_error("time is faked already");
    fake.set(new Time{std::vector<int>(), kStart, 0});
}

FakeTime::~FakeTime()
{
    delete fake.get();
    fake.set(nullptr);
}

std::vector<int> FakeTime::pauses() const
{
    return fake.get()->pauses;
}

std::int64_t FakeTime::passed() const
{
    const std::vector<int> &own = fake.get()->pauses;
    return std::accumulate(own.begin(), own.end(), std::int64_t(0));
}

void FakeTime::passAtEachLook(std::int64_t milliseconds)
{
    fake.get()->look = milliseconds;
}

// platform::pauseFor(int) and platform::steadyMilliseconds(), by their names in the object files.
extern "C" {

void __real__ZN8platform8pauseForEi(int milliseconds);
std::int64_t __real__ZN8platform18steadyMillisecondsEv();

void __wrap__ZN8platform8pauseForEi(int milliseconds)
{
    Time *const own = fake.get();
    if (!own) {
        __real__ZN8platform8pauseForEi(milliseconds);
        return;
    }
    own->pauses.push_back(milliseconds);
    own->now += milliseconds;
}

std::int64_t __wrap__ZN8platform18steadyMillisecondsEv()
{
    Time *const own = fake.get();
    if (!own)
        return __real__ZN8platform18steadyMillisecondsEv();
    own->now += own->look;
    return own->now;
}

} // extern "C"
