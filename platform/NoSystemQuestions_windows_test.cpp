#include "platform/NoSystemQuestions.h"

#include "platform/DiskSpace.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <memory>
#include <thread>

namespace {

const DWORD kNoQuestions = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;

/// Each test has a thread that is asked for everything.
class WindowsNoSystemQuestions : public ::testing::Test
{
protected:
    WindowsNoSystemQuestions() { ::SetThreadErrorMode(0, &m_outer); }
    ~WindowsNoSystemQuestions() override { ::SetThreadErrorMode(m_outer, nullptr); }

private:
    DWORD m_outer = 0;
};

TEST_F(WindowsNoSystemQuestions, AreNotAskedWhileItLives)
{
    {
        const platform::NoSystemQuestions none;
        EXPECT_EQ(kNoQuestions, ::GetThreadErrorMode());
    }
    EXPECT_EQ(0u, ::GetThreadErrorMode());
}

TEST_F(WindowsNoSystemQuestions, StayAwayUntilTheOutermostHasGone)
{
    {
        const platform::NoSystemQuestions outer;
        {
            const platform::NoSystemQuestions inner;
            EXPECT_EQ(kNoQuestions, ::GetThreadErrorMode());
        }
        EXPECT_EQ(kNoQuestions, ::GetThreadErrorMode());
    }
    EXPECT_EQ(0u, ::GetThreadErrorMode());
}

TEST_F(WindowsNoSystemQuestions, AreAskedAgainWhenAllHaveGoneInWhateverOrder)
{
    std::unique_ptr<platform::NoSystemQuestions> first(new platform::NoSystemQuestions);
    std::unique_ptr<platform::NoSystemQuestions> second(new platform::NoSystemQuestions);
    first.reset();
    second.reset();
    EXPECT_EQ(0u, ::GetThreadErrorMode());
}

TEST_F(WindowsNoSystemQuestions, LeaveAloneWhatTheThreadsOwnerHasSet)
{
    ::SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX, nullptr);
    {
        const platform::NoSystemQuestions none;
        EXPECT_EQ(kNoQuestions | SEM_NOGPFAULTERRORBOX, ::GetThreadErrorMode());
    }
    EXPECT_EQ(DWORD(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX), ::GetThreadErrorMode());
}

TEST_F(WindowsNoSystemQuestions, LeaveAloneWhatTheThreadsOwnerSetsMeanwhile)
{
    {
        const platform::NoSystemQuestions none;
        ::SetThreadErrorMode(::GetThreadErrorMode() | SEM_NOGPFAULTERRORBOX, nullptr);
    }
    EXPECT_EQ(DWORD(SEM_NOGPFAULTERRORBOX), ::GetThreadErrorMode());
}

TEST_F(WindowsNoSystemQuestions, AreThoseOfOneThread)
{
    const UINT processMode = ::SetErrorMode(0);
    const platform::NoSystemQuestions none;
    DWORD mode = 0;
    std::thread other([&mode] {
        ::SetThreadErrorMode(0, nullptr);
        const platform::NoSystemQuestions ended;
        mode = ::GetThreadErrorMode();
    });
    other.join();
    EXPECT_EQ(kNoQuestions, mode);
    EXPECT_EQ(kNoQuestions, ::GetThreadErrorMode());
    EXPECT_EQ(0u, ::SetErrorMode(processMode));
}

TEST_F(WindowsNoSystemQuestions, LeaveNothingBehindWhenDiskSpaceIsAskedFor)
{
    quint64 capacity = 0;
    quint64 available = 0;
    platform::diskSpace(QLatin1String("/no/such/directory"), &capacity, &available);
    EXPECT_EQ(0u, ::GetThreadErrorMode());
}

} // namespace
