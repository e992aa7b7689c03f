#include "platform/SocketsTest.h"
#include "testing/SystemCallFaults.h"

#include <QtCore/QString>

#include <cerrno>

namespace {

typedef SocketsTest WindowsSockets;

TEST_F(WindowsSockets, AreStartedWithVersionOneOne)
{
    SystemCallFaults faults;
    EXPECT_EQ(0, platform::startSockets());
    // The double of WSAStartup expects the version.
    EXPECT_EQ(1, faults.count(SystemCall::Start));
    EXPECT_EQ(0, platform::startSockets());
}

TEST_F(WindowsSockets, FailToStartWhenTheSystemRefuses)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Start, 0, WSASYSNOTREADY);
    EXPECT_EQ(1, platform::startSockets());
}

TEST_F(WindowsSockets, AreUnsigned64BitNumbersAsTheSystemHasThem)
{
    EXPECT_EQ(sizeof(SOCKET), sizeof(platform::SocketHandle));
    EXPECT_EQ(INVALID_SOCKET, static_cast<SOCKET>(platform::kInvalidSocket));
    EXPECT_EQ(platform::kInvalidSocket, static_cast<platform::SocketHandle>(INVALID_SOCKET));
}

TEST_F(WindowsSockets, MayAskForTheFastPathWithoutAnybodyMinding)
{
    // The double of WSAIoctl expects what it is asked for.
    SystemCallFaults faults;
    faults.failFrom(SystemCall::FastPath, 1, ENOPROTOOPT);
    platform::requestLoopbackFastPath(m_handle);
    EXPECT_FALSE(faults.hasFailed(SystemCall::FastPath));
    m_peer.addScript([](ScriptedConnection &connection) { connection.send(connection.receive(4)); });
    connectToPeer();
    platform::requestLoopbackFastPath(m_handle);
    EXPECT_TRUE(faults.hasFailed(SystemCall::FastPath));
    EXPECT_EQ(2, faults.count(SystemCall::FastPath));
    char buffer[5] = "";
    EXPECT_EQ(4, platform::sendOnce(m_handle, "echo", 4));
    EXPECT_EQ(4, platform::receiveWhole(m_handle, buffer, 4));
    EXPECT_STREQ("echo", buffer);
}

TEST_F(WindowsSockets, FailToSendWhenThePeerHasReset)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.reset(); });
    connectToPeer();
    m_peer.waitUntilOver(1);
    EXPECT_EQ(-1, platform::sendOnce(m_handle, "a", 1));
}

TEST_F(WindowsSockets, HaveTheSystemsTextForAnError)
{
    wchar_t text[1000] = L"";
    ASSERT_LT(0u, ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, WSAECONNREFUSED,
                                   0, text, 1000, nullptr));
    // The double of FormatMessageA expects what it is asked for, that of LocalFree what it gave.
    SystemCallFaults faults;
    EXPECT_EQ(QString::fromWCharArray(text).toLocal8Bit().toStdString(), platform::socketErrorText(WSAECONNREFUSED));
    EXPECT_EQ(1, faults.count(SystemCall::Describe));
    EXPECT_EQ(1, faults.count(SystemCall::FreeText));
    // With the line break that the system ends it by.
    EXPECT_EQ('\n', platform::socketErrorText(WSAECONNREFUSED).back());
    EXPECT_EQ("", platform::socketErrorText(123456));
    EXPECT_EQ(3, faults.count(SystemCall::Describe));
    EXPECT_EQ(2, faults.count(SystemCall::FreeText));
}

TEST_F(WindowsSockets, HaveNoTextWhenTheSystemHasNoMemoryForIt)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Describe, 0, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ("", platform::socketErrorText(WSAECONNREFUSED));
    EXPECT_EQ(0, faults.count(SystemCall::FreeText));
    EXPECT_NE("", platform::socketErrorText(WSAECONNREFUSED));
    EXPECT_EQ(1, faults.count(SystemCall::FreeText));
}

} // namespace
