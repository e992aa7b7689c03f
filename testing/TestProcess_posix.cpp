#include "testing/TestProcess.h"

#include <QtCore/QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <unistd.h>

namespace {

char testUnderWay[512];

void reportHang(int)
{
    const char text[] = "\nThis test hangs: ";
    if (::write(STDERR_FILENO, text, sizeof text - 1) < 0 ||
        ::write(STDERR_FILENO, testUnderWay, std::strlen(testUnderWay)) < 0 || ::write(STDERR_FILENO, "\n", 1) < 0) {
    }
    std::abort();
}

} // namespace

struct TestProcess::State {
    QTemporaryDir configuration;
};

TestProcess::TestProcess()
{
    // One heap for all threads: a scripted peer's own would look like memory that the product took.
    ::mallopt(M_ARENA_MAX, 1);
    m_state.reset(new State);
    qputenv("XDG_CONFIG_HOME", m_state->configuration.path().toLocal8Bit());
    std::signal(SIGALRM, reportHang);
}

TestProcess::~TestProcess() {}

void TestProcess::beginTest(const char *test, unsigned seconds)
{
    std::snprintf(testUnderWay, sizeof testUnderWay, "%s", test);
    ::alarm(seconds);
}

void TestProcess::endTest()
{
    ::alarm(0);
}
