// Runs a test executable: with an application object, away from the user's own settings, and with an alarm that ends
// a test that hangs.
#include "testing/Application.h"
#include "testing/TestProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
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
    return RUN_ALL_TESTS();
}
