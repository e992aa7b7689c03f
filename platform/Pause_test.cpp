#include "platform/Pause.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

TEST(Pause, LastsAtLeastAsLongAsItShould)
{
    for (int milliseconds : {0, 1, 2, 5, 17, 50}) {
        const std::chrono::steady_clock::time_point before = std::chrono::steady_clock::now();
        platform::pauseFor(milliseconds);
        EXPECT_LE(std::chrono::milliseconds(milliseconds), std::chrono::steady_clock::now() - before);
    }
}

TEST(Pause, IsSeenOnTheClock)
{
    const std::int64_t before = platform::steadyMilliseconds();
    platform::pauseFor(30);
    const std::int64_t after = platform::steadyMilliseconds();
    EXPECT_LE(before + 29, after);
    EXPECT_LE(after, platform::steadyMilliseconds());
}

} // namespace
