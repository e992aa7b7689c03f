// Time that passes only when somebody waits: tests of long waits need not sit through them. The executable must
// link to quor_fake_time.
#ifndef TESTING_FAKETIME_H
#define TESTING_FAKETIME_H

#include <cstdint>
#include <vector>

/// While it lives, this thread's pauses take no time: they are taken note of, and the clock moves on by each of them
/// and by nothing else. One object at a time and thread.
class FakeTime
{
public:
    FakeTime();
    ~FakeTime();
    FakeTime(const FakeTime &) = delete;
    FakeTime &operator=(const FakeTime &) = delete;

    /// In milliseconds, in order.
    std::vector<int> pauses() const;
    /// Of all pauses.
    std::int64_t passed() const;

    /// Lets so many milliseconds pass each time the clock is looked at.
    void passAtEachLook(std::int64_t milliseconds);
};

#endif
