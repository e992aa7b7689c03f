#include "platform/Sockets.h"

#include "platform/Pause.h"
#include "platform/SocketsTest.h"
#include "testing/OpenDescriptors.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace {

using platform::SocketHandle;

typedef SocketsTest Sockets;

TEST_F(Sockets, AreNotInheritedByChildren)
{
    ASSERT_NE(platform::kInvalidSocket, m_handle);
    EXPECT_FALSE(isInherited(m_handle));
}

TEST_F(Sockets, ThatTheSystemRefusesAreInvalid)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Socket, 0, EMFILE);
    EXPECT_EQ(platform::kInvalidSocket, platform::openSocket(AF_INET, SOCK_STREAM, 0));
    EXPECT_EQ(systemError(EMFILE), platform::lastSocketError());
}

TEST_F(Sockets, ConnectToAListenerAndNotToARefusingPort)
{
    EXPECT_EQ(0, connectTo(m_handle, m_peer.port()));
    RefusingPort refusing;
    const SocketHandle other = platform::openSocket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    EXPECT_EQ(-1, connectTo(other, refusing.port()));
    EXPECT_EQ(systemError(ECONNREFUSED), platform::lastSocketError());
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
    EXPECT_EQ(systemError(EBADF), platform::lastSocketError());
    platform::setNoDelay(platform::kInvalidSocket);
    platform::requestLoopbackFastPath(platform::kInvalidSocket);
    OpenDescriptors descriptors;
    platform::closeSocket(platform::kInvalidSocket);
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(Sockets, AreClosedWithoutHidingTheErrorOfTheCallBefore)
{
    // Closed, and no socket at all, which the system refuses to close.
    const SocketHandle noSocket = 0x7ffffff0;
    for (const SocketHandle handle : {platform::openSocket(AF_INET, SOCK_STREAM, IPPROTO_TCP), noSocket}) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Send, 0, ECONNABORTED);
        EXPECT_EQ(-1, platform::sendOnce(m_handle, "a", 1));
        platform::closeSocket(handle);
        EXPECT_EQ(systemError(ECONNABORTED), platform::lastSocketError());
        platform::closeSocket(platform::kInvalidSocket);
        EXPECT_EQ(systemError(ECONNABORTED), platform::lastSocketError());
    }
}

TEST_F(Sockets, ReportAnOrderlyCloseAsZeroAndNoError)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.close(); });
    connectToPeer();
    char byte;
    EXPECT_EQ(-1, platform::receiveOnce(platform::kInvalidSocket, &byte, 1));
    EXPECT_EQ(systemError(EBADF), platform::lastSocketError());
    EXPECT_EQ(0, platform::receiveOnce(m_handle, &byte, 1));
    EXPECT_EQ(0, platform::lastSocketError());
    EXPECT_EQ(0, platform::receiveWhole(m_handle, &byte, 1));
    EXPECT_EQ(0, platform::receiveWithin(m_handle, &byte, 1, 1000));
    char behind;
    EXPECT_EQ(-1, platform::receiveScattered(platform::kInvalidSocket, &byte, 1, &behind, 1, platform::kNoLimit));
    EXPECT_EQ(systemError(EBADF), platform::lastSocketError());
    EXPECT_EQ(0, platform::receiveScattered(m_handle, &byte, 1, &behind, 1, platform::kNoLimit));
    EXPECT_EQ(0, platform::lastSocketError());
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
    const std::int64_t begin = platform::steadyMilliseconds();
    EXPECT_EQ(platform::kTimedOut, platform::receiveWithin(m_handle, buffer, sizeof buffer, 120));
    // And not before; clocks may count in ticks of some milliseconds.
    EXPECT_LE(begin + 100, platform::steadyMilliseconds());
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

TEST_F(Sockets, SwitchNagleOff)
{
    EXPECT_FALSE(isNagleOff(m_handle));
    platform::setNoDelay(m_handle);
    EXPECT_TRUE(isNagleOff(m_handle));
}

TEST_F(Sockets, ReceiveNothingAnyMoreWhenThePeerHasReset)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.reset(); });
    connectToPeer();
    m_peer.waitUntilOver(1);
    char byte;
    EXPECT_LE(platform::receiveOnce(m_handle, &byte, 1), 0);
    EXPECT_LE(platform::receiveWhole(m_handle, &byte, 1), 0);
}

TEST_F(Sockets, TakeALowWaterMarkForWhateverTheSystemMakesOfIt)
{
    m_peer.addScript([](ScriptedConnection &connection) { connection.send("abcdef"); });
    connectToPeer();
    platform::setReceiveLowWater(m_handle, 6);
    char buffer[6];
    ASSERT_EQ(6, platform::receiveWhole(m_handle, buffer, 6));
    EXPECT_EQ(0, std::memcmp(buffer, "abcdef", 6));
}

} // namespace
