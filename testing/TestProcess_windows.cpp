#include "testing/TestProcess.h"

#include "testing/OwnCurrentUser_windows.h"

#include <winsock2.h>

#include <cstdio>
#include <cstring>

namespace {

char testUnderWay[512];

void CALLBACK reportHang(void *, BOOLEAN)
{
    const HANDLE standardError = ::GetStdHandle(STD_ERROR_HANDLE);
    for (const char *text : {"\r\nThis test hangs: ", static_cast<const char *>(testUnderWay), "\r\n"}) {
        DWORD written;
        ::WriteFile(standardError, text, static_cast<DWORD>(std::strlen(text)), &written, nullptr);
    }
    ::TerminateProcess(::GetCurrentProcess(), 3);
}

} // namespace

struct TestProcess::State {
    OwnCurrentUser user;
    HANDLE timer = nullptr;
};

TestProcess::TestProcess()
{
    // A test that crashes ends; nobody is there to close a window about it.
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    m_state.reset(new State);
    // For the scripted peers: not every test starts the product's network.
    WSADATA data;
    ::WSAStartup(MAKEWORD(1, 1), &data);
}

TestProcess::~TestProcess() {}

void TestProcess::beginTest(const char *test, unsigned seconds)
{
    std::snprintf(testUnderWay, sizeof testUnderWay, "%s", test);
    if (seconds != 0)
        ::CreateTimerQueueTimer(&m_state->timer, nullptr, reportHang, nullptr, seconds * 1000, 0,
                                WT_EXECUTEINTIMERTHREAD | WT_EXECUTEONLYONCE);
}

void TestProcess::endTest()
{
    if (m_state->timer)
        ::DeleteTimerQueueTimer(nullptr, m_state->timer, INVALID_HANDLE_VALUE);
    m_state->timer = nullptr;
}
