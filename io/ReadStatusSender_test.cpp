#include "io/ReadStatusSender.h"

#include "testing/ScriptedPeer.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

/// SUCCESS as a length-delimited ClientReadStatusProto.
const std::string kStatus("\x02\x08\x00", 3);

std::string repeated(const std::string &text, int count)
{
    std::string result;
    for (int i = 0; i < count; ++i)
        result += text;
    return result;
}

class StatusSender : public ::testing::Test
{
protected:
    StatusSender() : sender(&socket) { EXPECT_EQ(0, socket.connectTo("127.0.0.1", peer.port(), 0)); }
    ~StatusSender() override { socket.close(); }

    /// All that the peer got; ends the connection.
    std::string sent()
    {
        socket.close();
        peer.waitUntilOver(1);
        return peer.received();
    }

    ScriptedPeer peer;
    TcpSocket socket;
    ReadStatusSender sender;
};

} // namespace

TEST_F(StatusSender, SendsNothingByItself)
{
    EXPECT_FALSE(sender.isAnyWaiting());
    EXPECT_TRUE(sender.sendWaiting());
    EXPECT_EQ("", sent());
}

TEST_F(StatusSender, SendsTheFirstAtOnce)
{
    EXPECT_TRUE(sender.packetRead());
    EXPECT_FALSE(sender.isAnyWaiting());
    EXPECT_EQ(kStatus, sent());
}

TEST_F(StatusSender, LetsTheOthersWait)
{
    const SystemCallFaults calls;
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(sender.packetRead());
    EXPECT_TRUE(sender.isAnyWaiting());
    EXPECT_EQ(1, calls.count(SystemCall::Send));
    EXPECT_TRUE(sender.sendWaiting());
    EXPECT_FALSE(sender.isAnyWaiting());
    EXPECT_EQ(2, calls.count(SystemCall::Send));
    EXPECT_TRUE(sender.sendWaiting());
    EXPECT_EQ(2, calls.count(SystemCall::Send));
    EXPECT_EQ(repeated(kStatus, 5), sent());
}

TEST_F(StatusSender, LetsNoneWaitOnceThePeerWasSilent)
{
    const SystemCallFaults calls;
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(sender.packetRead());
    EXPECT_TRUE(sender.peerIsSilent());
    EXPECT_FALSE(sender.isAnyWaiting());
    EXPECT_EQ(2, calls.count(SystemCall::Send));
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(sender.packetRead());
        EXPECT_FALSE(sender.isAnyWaiting());
    }
    EXPECT_EQ(5, calls.count(SystemCall::Send));
    EXPECT_EQ(repeated(kStatus, 7), sent());
}

TEST_F(StatusSender, ReportsASendThatFails)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, EPIPE);
    EXPECT_FALSE(sender.packetRead());
    EXPECT_TRUE(sender.packetRead());
    faults.fail(SystemCall::Send, 0, EPIPE);
    EXPECT_FALSE(sender.sendWaiting());
    EXPECT_TRUE(sender.packetRead());
    faults.fail(SystemCall::Send, 0, EPIPE);
    EXPECT_FALSE(sender.peerIsSilent());
}

TEST_F(StatusSender, SendsAnyNumberInSendsOfASaneSize)
{
    const int kPackets = 3000000;
    const SystemCallFaults calls;
    for (int i = 0; i < kPackets; ++i)
        ASSERT_TRUE(sender.packetRead());
    EXPECT_TRUE(sender.sendWaiting());
    EXPECT_EQ(1 + 3, calls.count(SystemCall::Send));
    EXPECT_EQ(kStatus.size() * kPackets, sent().size());
}
