#include "rpc/TcpSocket.h"

#include "testing/ScriptedPeer.h"
#include "testing/SocketOptions.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

class WindowsTcpSocket : public ::testing::Test
{
protected:
    ~WindowsTcpSocket() override { socket.close(); }

    ScriptedPeer peer;
    TcpSocket socket;
    SystemCallFaults faults;
};

TEST_F(WindowsTcpSocket, AsksForTheFastPathOnceAfterNagleWasSwitchedOff)
{
    ASSERT_EQ(0, socket.connectTo("127.0.0.1", peer.port(), 0));
    EXPECT_EQ(1, faults.count(SystemCall::FastPath));
    EXPECT_TRUE(faults.isInOrder(SystemCall::SetOption, SystemCall::FastPath));
}

TEST_F(WindowsTcpSocket, DoesNotMindWhenThereIsNoFastPath)
{
    peer.addScript([](ScriptedConnection &connection) { connection.send(connection.receive(4)); });
    faults.fail(SystemCall::FastPath, 0, ENOPROTOOPT);
    ASSERT_EQ(0, socket.connectTo("127.0.0.1", peer.port(), 0));
    EXPECT_TRUE(faults.hasFailed(SystemCall::FastPath));
    EXPECT_TRUE(isNagleOff(socket.handle));
    EXPECT_TRUE(socket.isAlive());
    char buffer[5] = "";
    EXPECT_EQ(0, socket.sendAll("echo", 4));
    EXPECT_EQ(0, socket.receiveExactly(buffer, 4));
    EXPECT_STREQ("echo", buffer);
}

TEST_F(WindowsTcpSocket, AsksForNoFastPathWithoutAConnection)
{
    RefusingPort refusing;
    EXPECT_EQ(-1, socket.connectTo("127.0.0.1", refusing.port(), 0));
    EXPECT_EQ(0, faults.count(SystemCall::FastPath));
}

} // namespace
