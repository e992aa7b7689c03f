// Runs a test executable: with an application object, away from the user's own settings, and with an alarm that ends
// a test that hangs.
#include "testing/Application.h"

#include <gtest/gtest.h>

#include <QtCore/QTemporaryDir>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <unistd.h>

namespace {

const unsigned kSecondsPerTest = 60;

char testUnderWay[512];

void reportHang(int)
{
    const char text[] = "\nThis test hangs: ";
    if (::write(STDERR_FILENO, text, sizeof text - 1) < 0 ||
        ::write(STDERR_FILENO, testUnderWay, std::strlen(testUnderWay)) < 0 || ::write(STDERR_FILENO, "\n", 1) < 0) {
    }
    std::abort();
}

class Watchdog : public ::testing::EmptyTestEventListener
{
    void OnTestStart(const ::testing::TestInfo &test) override
    {
        std::snprintf(testUnderWay, sizeof testUnderWay, "%s.%s", test.test_suite_name(), test.name());
        // Under a debugger or for a test that must take longer: in seconds, 0 for no limit.
        const char *seconds = std::getenv("QUORHDFS_TEST_PATIENCE");
        ::alarm(seconds ? static_cast<unsigned>(std::atoi(seconds)) : kSecondsPerTest);
    }
    void OnTestEnd(const ::testing::TestInfo &) override { ::alarm(0); }
};

} // namespace

int main(int argc, char **argv)
{
    // One heap for all threads: a scripted peer's own would look like memory that the product took.
    ::mallopt(M_ARENA_MAX, 1);
    ::testing::InitGoogleTest(&argc, argv);
    // Listing the tests needs no display.
    std::unique_ptr<QCoreApplication> application;
    if (!GTEST_FLAG_GET(list_tests))
        application = makeTestApplication(argc, argv);
    QTemporaryDir configuration;
    qputenv("XDG_CONFIG_HOME", configuration.path().toLocal8Bit());
    std::signal(SIGALRM, reportHang);
    ::testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return RUN_ALL_TESTS();
}
