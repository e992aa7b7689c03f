#include "platform/SocketsTest.h"
#include "testing/SystemCallFaults.h"

#include <cerrno>
#include <cstring>

namespace {

typedef SocketsTest PosixSockets;

TEST_F(PosixSockets, NeedNoStart)
{
    EXPECT_EQ(0, platform::startSockets());
    EXPECT_EQ(0, platform::startSockets());
}

TEST_F(PosixSockets, CompleteAConnectThatASignalInterrupted)
{
    SystemCallFaults faults;
    faults.interruptEach(SystemCall::Connect);
    ASSERT_EQ(0, connectTo(m_handle, m_peer.port()));
    EXPECT_EQ(1, faults.count(SystemCall::Connect));
    EXPECT_EQ(1, platform::sendOnce(m_handle, "a", 1));
}

TEST_F(PosixSockets, FailAnInterruptedConnectThatIsRefused)
{
    RefusingPort refusing;
    SystemCallFaults faults;
    faults.interruptEach(SystemCall::Connect);
    EXPECT_EQ(-1, connectTo(m_handle, refusing.port()));
}

TEST_F(PosixSockets, SendAndReceiveThroughInterruptions)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.send(connection.receive(4)); });
    connectToPeer();
    SystemCallFaults faults;
    faults.interruptEach(SystemCall::Send);
    faults.interruptEach(SystemCall::Receive);
    char buffer[5] = "";
    EXPECT_EQ(4, platform::sendOnce(m_handle, "echo", 4));
    EXPECT_EQ(4, platform::receiveWhole(m_handle, buffer, 4));
    EXPECT_STREQ("echo", buffer);
    EXPECT_EQ(2, faults.count(SystemCall::Send));
    EXPECT_EQ(2, faults.count(SystemCall::Receive));
}

TEST_F(PosixSockets, ReportAResetOnceAsPendingError)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.reset(); });
    connectToPeer();
    m_peer.waitUntilOver(1);
    EXPECT_EQ(ECONNRESET, platform::pendingError(m_handle));
    EXPECT_EQ(0, platform::pendingError(m_handle));
}

TEST_F(PosixSockets, SayThatThePeerHasReset)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.reset(); });
    connectToPeer();
    m_peer.waitUntilOver(1);
    char byte;
    EXPECT_EQ(-1, platform::receiveOnce(m_handle, &byte, 1));
    EXPECT_EQ(ECONNRESET, platform::lastSocketError());
}

TEST_F(PosixSockets, DoNotRaiseASignalWhenNobodyListensAnyMore)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.reset(); });
    connectToPeer();
    m_peer.waitUntilOver(1);
    EXPECT_EQ(ECONNRESET, platform::pendingError(m_handle));
    EXPECT_EQ(-1, platform::sendOnce(m_handle, "a", 1));
    EXPECT_EQ(EPIPE, platform::lastSocketError());
}

TEST_F(PosixSockets, ReceiveWithALowWaterMarkWaitsForThatMuchOrForTheEnd)
{
    m_peer.addScript([](ScriptedConnection &connection) {
        connection.receive(1);
        for (const char *piece : {"abc", "def", "ghi", "jkl"}) {
            connection.send(piece);
            connection.pause(20);
        }
    });
    connectToPeer();
    platform::setReceiveLowWater(m_handle, 6);
    char buffer[100];
    platform::sendOnce(m_handle, "x", 1);
    const std::int64_t first = platform::receiveOnce(m_handle, buffer, 9);
    EXPECT_GE(first, 6);
    // It never waits for more than is asked for, nor behind the end.
    EXPECT_EQ(2, platform::receiveOnce(m_handle, buffer, 2));
    EXPECT_EQ(10 - first, platform::receiveOnce(m_handle, buffer, sizeof buffer));
    EXPECT_EQ(0, platform::receiveOnce(m_handle, buffer, sizeof buffer));
}

TEST_F(PosixSockets, HaveTheSystemsTextForAnError)
{
    EXPECT_EQ(std::strerror(ECONNREFUSED), platform::socketErrorText(ECONNREFUSED));
    EXPECT_FALSE(platform::socketErrorText(123456).empty());
}

} // namespace
