#include "platform/Sockets.h"

#include "testing/OpenDescriptors.h"
#include "testing/ScriptedPeer.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

namespace {

using platform::SocketHandle;

sockaddr_in loopback(int port)
{
    sockaddr_in address = sockaddr_in();
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int connectTo(SocketHandle handle, int port)
{
    const sockaddr_in address = loopback(port);
    return platform::connectSocket(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

class Sockets : public ::testing::Test
{
protected:
    Sockets() : m_handle(platform::openSocket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {}
    ~Sockets() override { platform::closeSocket(m_handle); }

    void connectToPeer() { ASSERT_EQ(0, connectTo(m_handle, m_peer.port())); }

    ScriptedPeer m_peer;
    SocketHandle m_handle;
};

TEST_F(Sockets, NeedNoStart)
{
    EXPECT_EQ(0, platform::startSockets());
    EXPECT_EQ(0, platform::startSockets());
}

TEST_F(Sockets, AreNotInheritedByChildren)
{
    ASSERT_NE(platform::kInvalidSocket, m_handle);
    EXPECT_TRUE(::fcntl(static_cast<int>(m_handle), F_GETFD) & FD_CLOEXEC);
}

TEST_F(Sockets, ThatTheSystemRefusesAreInvalid)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Socket, 0, EMFILE);
    EXPECT_EQ(platform::kInvalidSocket, platform::openSocket(AF_INET, SOCK_STREAM, 0));
    EXPECT_EQ(EMFILE, platform::lastSocketError());
}

TEST_F(Sockets, ConnectToAListenerAndNotToARefusingPort)
{
    EXPECT_EQ(0, connectTo(m_handle, m_peer.port()));
    RefusingPort refusing;
    const SocketHandle other = platform::openSocket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    EXPECT_EQ(-1, connectTo(other, refusing.port()));
    EXPECT_EQ(ECONNREFUSED, platform::lastSocketError());
    platform::closeSocket(other);
}

TEST_F(Sockets, WithoutASocketEverythingFails)
{
    char byte;
    EXPECT_EQ(-1, connectTo(platform::kInvalidSocket, m_peer.port()));
    EXPECT_EQ(-1, platform::pendingError(platform::kInvalidSocket));
    EXPECT_EQ(-1, platform::bytesReadable(platform::kInvalidSocket));
    EXPECT_EQ(-1, platform::sendOnce(platform::kInvalidSocket, "a", 1));
    EXPECT_EQ(-1, platform::receiveOnce(platform::kInvalidSocket, &byte, 1));
    EXPECT_EQ(-1, platform::receiveWhole(platform::kInvalidSocket, &byte, 1));
    EXPECT_EQ(-1, platform::receiveWithin(platform::kInvalidSocket, &byte, 1, 1));
    EXPECT_EQ(EBADF, platform::lastSocketError());
    platform::setNoDelay(platform::kInvalidSocket);
    platform::requestLoopbackFastPath(platform::kInvalidSocket);
    OpenDescriptors descriptors;
    platform::closeSocket(platform::kInvalidSocket);
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(Sockets, CompleteAConnectThatASignalInterrupted)
{
    SystemCallFaults faults;
    faults.interruptEach(SystemCall::Connect);
    ASSERT_EQ(0, connectTo(m_handle, m_peer.port()));
    EXPECT_EQ(1, faults.count(SystemCall::Connect));
    EXPECT_EQ(1, platform::sendOnce(m_handle, "a", 1));
}

TEST_F(Sockets, FailAnInterruptedConnectThatIsRefused)
{
    RefusingPort refusing;
    SystemCallFaults faults;
    faults.interruptEach(SystemCall::Connect);
    EXPECT_EQ(-1, connectTo(m_handle, refusing.port()));
}

TEST_F(Sockets, SendAndReceiveThroughInterruptions)
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

TEST_F(Sockets, ReportAnOrderlyCloseAsZeroAndNoError)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.close(); });
    connectToPeer();
    char byte;
    errno = EIO;
    EXPECT_EQ(0, platform::receiveOnce(m_handle, &byte, 1));
    EXPECT_EQ(0, platform::lastSocketError());
    EXPECT_EQ(0, platform::receiveWhole(m_handle, &byte, 1));
    EXPECT_EQ(0, platform::receiveWithin(m_handle, &byte, 1, 1000));
}

TEST_F(Sockets, ReportAResetOnceAsPendingError)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.reset(); });
    connectToPeer();
    m_peer.waitUntilOver(1);
    EXPECT_EQ(ECONNRESET, platform::pendingError(m_handle));
    EXPECT_EQ(0, platform::pendingError(m_handle));
}

TEST_F(Sockets, DoNotRaiseASignalWhenNobodyListensAnyMore)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.reset(); });
    connectToPeer();
    m_peer.waitUntilOver(1);
    EXPECT_EQ(ECONNRESET, platform::pendingError(m_handle));
    EXPECT_EQ(-1, platform::sendOnce(m_handle, "a", 1));
    EXPECT_EQ(EPIPE, platform::lastSocketError());
}

TEST_F(Sockets, TellHowMuchCanBeRead)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.send("abc"); });
    connectToPeer();
    char buffer[3];
    ASSERT_EQ(1, platform::receiveWhole(m_handle, buffer, 1));
    EXPECT_EQ(2, platform::bytesReadable(m_handle));
    ASSERT_EQ(2, platform::receiveWhole(m_handle, buffer, 2));
    EXPECT_EQ(0, platform::bytesReadable(m_handle));
}

TEST_F(Sockets, ReceiveWholeWaitsForAllAndOtherwiseForSome)
{
    m_peer.setFragmentSize(1);
    m_peer.addScript([](ScriptedConnection &connection) {
        connection.send("abc");
        connection.receive(1);
        connection.send("defgh");
    });
    connectToPeer();
    char buffer[8];
    ASSERT_EQ(3, platform::receiveWhole(m_handle, buffer, 3));
    EXPECT_EQ(0, std::memcmp(buffer, "abc", 3));
    platform::sendOnce(m_handle, "x", 1);
    const std::int64_t first = platform::receiveOnce(m_handle, buffer, 8);
    EXPECT_GE(first, 1);
    // Cut off by the peer's close: what there was.
    EXPECT_EQ(5 - first, platform::receiveWhole(m_handle, buffer, 8));
}

TEST_F(Sockets, ReceiveWithinGivesUpAfterItsTime)
{
    m_peer.addScript([](ScriptedConnection &connection) {
        connection.receive(1);
        connection.send("a");
        connection.stall();
    });
    connectToPeer();
    char buffer[8];
    EXPECT_EQ(platform::kTimedOut, platform::receiveWithin(m_handle, buffer, sizeof buffer, 20));
    platform::sendOnce(m_handle, "x", 1);
    EXPECT_EQ(1, platform::receiveWithin(m_handle, buffer, sizeof buffer, 10000));
    EXPECT_EQ(platform::kTimedOut, platform::receiveWithin(m_handle, buffer, sizeof buffer, 0));
}

TEST_F(Sockets, ScatteredReceiveFillsTheFirstPlaceBeforeTheSecond)
{
    m_peer.addScript([](ScriptedConnection &connection) {
        connection.receive(1);
        connection.send("abcdefgh");
        connection.receive(1);
        connection.send("ij");
        connection.stall();
    });
    connectToPeer();
    char first[4];
    char second[10];
    EXPECT_EQ(platform::kTimedOut, platform::receiveScattered(m_handle, first, 4, second, 10, 20));
    platform::sendOnce(m_handle, "x", 1);
    ASSERT_EQ(8, platform::receiveScattered(m_handle, first, 4, second, 10, platform::kNoLimit));
    EXPECT_EQ(0, std::memcmp(first, "abcd", 4));
    EXPECT_EQ(0, std::memcmp(second, "efgh", 4));
    platform::sendOnce(m_handle, "x", 1);
    ASSERT_EQ(2, platform::receiveScattered(m_handle, first, 4, second, 10, 10000));
    EXPECT_EQ(0, std::memcmp(first, "ij", 2));
    EXPECT_EQ(-1, platform::receiveScattered(platform::kInvalidSocket, first, 4, second, 10, 1));
}

TEST_F(Sockets, ReceiveWithALowWaterMarkWaitsForThatMuchOrForTheEnd)
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

TEST_F(Sockets, SwitchNagleOff)
{
    int on = -1;
    socklen_t size = sizeof on;
    ::getsockopt(static_cast<int>(m_handle), IPPROTO_TCP, TCP_NODELAY, &on, &size);
    EXPECT_EQ(0, on);
    platform::setNoDelay(m_handle);
    ::getsockopt(static_cast<int>(m_handle), IPPROTO_TCP, TCP_NODELAY, &on, &size);
    EXPECT_NE(0, on);
}

TEST_F(Sockets, HaveTheSystemsTextForAnError)
{
    EXPECT_EQ(std::strerror(ECONNREFUSED), platform::socketErrorText(ECONNREFUSED));
    EXPECT_FALSE(platform::socketErrorText(123456).empty());
}

} // namespace
