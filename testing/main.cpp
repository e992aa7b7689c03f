// Runs a test executable: with an application object, away from the user's own settings, and with an alarm that ends
// a test that hangs.
#include "testing/Application.h"
#include "testing/TestProcess.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const unsigned kSecondsPerTest = 60;

class Watchdog : public ::testing::EmptyTestEventListener
{
public:
    explicit Watchdog(TestProcess *process) : m_process(process) {}

private:
    void OnTestStart(const ::testing::TestInfo &test) override
    {
        // Under a debugger or for a test that must take longer: in seconds, 0 for no limit.
        const char *seconds = std::getenv("QUORHDFS_TEST_PATIENCE");
        m_process->beginTest((std::string(test.test_suite_name()) + "." + test.name()).c_str(),
                             seconds ? static_cast<unsigned>(std::atoi(seconds)) : kSecondsPerTest);
    }
    void OnTestEnd(const ::testing::TestInfo &) override { m_process->endTest(); }

    TestProcess *const m_process;
};

/// A test that ends the process takes all that would have followed with it, and its status may be 0.
bool testsAreOver = false;

void failUnlessTestsAreOver()
{
    if (testsAreOver)
        return;
    std::fputs("\nThe process ends before its tests are over.\n", stderr);
    std::fflush(stderr);
    std::_Exit(3);
}

/// True when no test has a name that was asked for. Of several processes with a share each, the first one has the
/// first.
bool nothingWasAskedFor()
{
    const char *const share = std::getenv("GTEST_SHARD_INDEX");
    return ::testing::UnitTest::GetInstance()->test_to_run_count() == 0 && (!share || std::strcmp(share, "0") == 0);
}

} // namespace

int main(int argc, char **argv)
{
    TestProcess process;
    ::testing::InitGoogleTest(&argc, argv);
    // Listing the tests needs no display.
    std::unique_ptr<QCoreApplication> application;
    if (!GTEST_FLAG_GET(list_tests))
        application = makeTestApplication(argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new Watchdog(&process));
    std::atexit(failUnlessTestsAreOver);
    const int status = RUN_ALL_TESTS();
    testsAreOver = true;
    if (!GTEST_FLAG_GET(list_tests) && nothingWasAskedFor()) {
        std::fputs("No test has such a name.\n", stderr);
        return 1;
    }
    return status;
}
