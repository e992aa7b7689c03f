#include "rpc/TcpSocket.h"

#include "testing/OpenDescriptors.h"
#include "testing/ScriptedPeer.h"
#include "testing/SocketOptions.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char kName[] = "namenode.example";

std::string at(int port)
{
    return "127.0.0.1:" + std::to_string(port);
}

ResolvedAddress local(int port)
{
    return ResolvedAddress{"127.0.0.1", port};
}

/// Several ports that refuse, in a row.
struct RefusingPorts {
    RefusingPort ports[4];
    int operator[](int i) const { return ports[i].port(); }
};

class TcpSocketTest : public ::testing::Test
{
protected:
    ~TcpSocketTest() override { socket.close(); }

    void connectToPeer() { ASSERT_EQ(0, socket.connectTo("127.0.0.1", peer.port(), 0)); }

    ScriptedPeer peer;
    TcpSocket socket;
};

TEST_F(TcpSocketTest, HasNoSocketBeforeTheFirstConnect)
{
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
    EXPECT_EQ(~static_cast<std::uint64_t>(0), socket.handle);
}

TEST_F(TcpSocketTest, ConnectsToANumericAddressWithNagleSwitchedOff)
{
    connectToPeer();
    EXPECT_EQ(0, socket.addressIndex);
    EXPECT_TRUE(isNagleOff(socket.handle));
}

TEST_F(TcpSocketTest, ConnectsThroughTheServiceText)
{
    EXPECT_EQ(0, socket.connectToService("127.0.0.1", std::to_string(peer.port()).c_str(), 0));
    socket.close();
    RefusingPort refusing;
    EXPECT_EQ(-1, socket.connectToService("127.0.0.1", std::to_string(refusing.port()).c_str(), 0));
}

TEST_F(TcpSocketTest, TakesThePreferredAddressFirstAndNoOtherWhenItAnswers)
{
    const RefusingPorts refusing;
    SystemCallFaults faults;
    faults.resolveTo({local(refusing[0]), local(refusing[1]), local(peer.port()), local(refusing[2])});
    EXPECT_EQ(0, socket.connectTo(kName, 8020, 2));
    EXPECT_EQ(2, socket.addressIndex);
    EXPECT_EQ(std::vector<std::string>{at(peer.port())}, faults.connected());
}

TEST_F(TcpSocketTest, TriesAllOthersInOrderWhenThePreferredAddressRefuses)
{
    const RefusingPorts refusing;
    SystemCallFaults faults;
    faults.resolveTo({local(refusing[0]), local(refusing[1]), local(refusing[2]), local(refusing[3]),
                      local(peer.port()), local(refusing[0])});
    EXPECT_EQ(0, socket.connectTo(kName, 8020, 2));
    EXPECT_EQ(4, socket.addressIndex);
    const std::vector<std::string> order = {at(refusing[2]), at(refusing[0]), at(refusing[1]), at(refusing[3]),
                                            at(peer.port())};
    EXPECT_EQ(order, faults.connected());
}

TEST_F(TcpSocketTest, LeavesTheSocketOfAFailedPreferredAddressOpen)
{
    const RefusingPorts refusing;
    peer.stopListening();
    OpenDescriptors descriptors;
    SystemCallFaults faults;
    faults.resolveTo({local(refusing[0]), local(refusing[1]), local(refusing[2])});
    EXPECT_NE(0, socket.connectTo(kName, 8020, 1));
    // The sockets of the two others are closed; that of the preferred one is not, on purpose.
    EXPECT_EQ(3, faults.count(SystemCall::Socket));
    EXPECT_EQ(1, descriptors.opened());
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
    descriptors.closeOpened();
}

TEST_F(TcpSocketTest, LeavesNoSocketOpenWhenThereIsNoOtherAddress)
{
    RefusingPort refusing;
    OpenDescriptors descriptors;
    SystemCallFaults faults;
    faults.resolveTo({local(refusing.port())});
    EXPECT_NE(0, socket.connectTo(kName, 8020, 0));
    EXPECT_EQ(1, socket.addressIndex);
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(TcpSocketTest, TriesAllFromTheHeadWhenThePreferredIndexIsBehindTheList)
{
    const RefusingPorts refusing;
    for (std::int32_t preferred : {3, 4, 1000, 0x7FFFFFFF, -1, -2147483647}) {
        SystemCallFaults faults;
        faults.resolveTo({local(refusing[0]), local(peer.port()), local(refusing[1])});
        EXPECT_EQ(0, socket.connectTo(kName, 8020, preferred)) << preferred;
        EXPECT_EQ(1, socket.addressIndex);
        EXPECT_EQ((std::vector<std::string>{at(refusing[0]), at(peer.port())}), faults.connected());
        socket.close();
    }
}

TEST_F(TcpSocketTest, EndsOnTheLengthOfTheListWhenNoAddressConnects)
{
    const RefusingPorts refusing;
    OpenDescriptors descriptors;
    SystemCallFaults faults;
    faults.resolveTo({local(refusing[0]), local(refusing[1]), local(refusing[2])});
    EXPECT_NE(0, socket.connectTo(kName, 8020, 7));
    EXPECT_EQ(3, socket.addressIndex);
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(TcpSocketTest, KeepsItsHandleWhenTheHostDoesNotResolve)
{
    SystemCallFaults faults;
    socket.handle = 4711;
    for (int error : {EAI_NONAME, EAI_AGAIN, 11001}) {
        faults.fail(SystemCall::Resolve, 0, error);
        EXPECT_NE(0, socket.connectTo(kName, 8020, 0)) << error;
        EXPECT_EQ(4711u, socket.handle);
    }
    faults.resolveToNothing();
    EXPECT_NE(0, socket.connectTo(kName, 8020, 0));
    EXPECT_EQ(4711u, socket.handle);
    EXPECT_EQ(0, faults.count(SystemCall::Socket));
    socket.handle = platform::kInvalidSocket;
}

TEST_F(TcpSocketTest, PassesThePortOnInDecimal)
{
    SystemCallFaults faults;
    faults.resolveTo({ResolvedAddress{"127.0.0.1", 0}});
    EXPECT_EQ(0, socket.connectTo(kName, peer.port(), 0));
    EXPECT_EQ(std::vector<std::string>{at(peer.port())}, faults.connected());
}

TEST_F(TcpSocketTest, DoesNotResolveAPortThatIsNone)
{
    EXPECT_NE(0, socket.connectToService("127.0.0.1", "no service of that name", 0));
    EXPECT_NE(0, socket.connectTo("127.0.0.1", -5, 0));
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
}

TEST_F(TcpSocketTest, TakesASocketThatCannotBeMadeForAnAddressThatRefuses)
{
    {
        SystemCallFaults faults;
        faults.resolveTo({local(peer.port()), local(peer.port())});
        faults.fail(SystemCall::Socket, 0, EMFILE);
        EXPECT_EQ(0, socket.connectTo(kName, 8020, 0));
        EXPECT_EQ(1, socket.addressIndex);
        socket.close();
    }
    SystemCallFaults faults;
    faults.resolveTo({local(peer.port()), local(peer.port())});
    faults.failFrom(SystemCall::Socket, 0, EMFILE);
    EXPECT_NE(0, socket.connectTo(kName, 8020, 0));
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
}

TEST_F(TcpSocketTest, DoesNotMindWhenNagleCannotBeSwitchedOff)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::SetOption, 0, ENOPROTOOPT);
    EXPECT_EQ(0, socket.connectTo("127.0.0.1", peer.port(), 0));
    EXPECT_TRUE(faults.hasFailed(SystemCall::SetOption));
}

TEST_F(TcpSocketTest, ReachesAServerOnIPv4WhenTheNameResolvesToIPv6First)
{
    // Nobody listens at the IPv6 address; on a machine without IPv6 not even a socket can be had for it.
    SystemCallFaults faults;
    faults.resolveTo({ResolvedAddress{"::1", peer.port()}, ResolvedAddress{"127.0.0.1", peer.port()}});
    EXPECT_EQ(0, socket.connectTo("localhost", 8020, 0));
    EXPECT_EQ(1, socket.addressIndex);
    socket.close();
    EXPECT_EQ(0, socket.connectTo("localhost", 8020, socket.addressIndex));
    EXPECT_EQ(1, socket.addressIndex);
    EXPECT_EQ(at(peer.port()), faults.connected().back());
    EXPECT_EQ(3u, faults.connected().size());
}

TEST_F(TcpSocketTest, ReachesLocalhostAsThisMachineResolvesIt)
{
    EXPECT_EQ(0, socket.connectTo("localhost", peer.port(), 0));
    const std::int32_t reached = socket.addressIndex;
    socket.close();
    EXPECT_EQ(0, socket.connectTo("localhost", peer.port(), reached));
    EXPECT_EQ(reached, socket.addressIndex);
}

TEST_F(TcpSocketTest, ReachesAServerThatListensOnIPv6Only)
{
    if (peer_socket::hasIPv6Loopback()) {
        ScriptedPeer six("::1");
        six.addScript([](ScriptedConnection &connection) { connection.send("6"); });
        SystemCallFaults faults;
        RefusingPort refusing;
        faults.resolveTo({ResolvedAddress{"127.0.0.1", refusing.port()}, ResolvedAddress{"::1", six.port()}});
        EXPECT_EQ(0, socket.connectTo("localhost", 8020, 0));
        EXPECT_EQ(1, socket.addressIndex);
        char byte = 0;
        EXPECT_EQ(0, socket.receiveExactly(&byte, 1));
        EXPECT_EQ('6', byte);
    } else {
        EXPECT_NE(0, socket.connectTo("::1", peer.port(), 0));
    }
}

TEST_F(TcpSocketTest, IsAliveWhileNothingIsWrong)
{
    connectToPeer();
    EXPECT_TRUE(socket.isAlive());
    EXPECT_NE(platform::kInvalidSocket, socket.handle);
}

TEST_F(TcpSocketTest, IsAliveAfterAnOrderlyCloseOfThePeer)
{
    peer.addScript([](ScriptedConnection &connection) { connection.closeAtOnce(); });
    connectToPeer();
    peer.waitUntilOver(1);
    EXPECT_TRUE(socket.isAlive());
}

TEST_F(TcpSocketTest, ForgetsASocketThatThePeerHasResetWithoutClosingIt)
{
    peer.addScript([](ScriptedConnection &connection) { connection.reset(); });
    OpenDescriptors descriptors;
    connectToPeer();
    peer.waitUntilOver(1);
    SystemCallFaults faults;
    if (!showsResets())
        faults.fail(SystemCall::GetOption, 0, ECONNRESET);
    EXPECT_FALSE(socket.isAlive());
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
    socket.close();
    EXPECT_EQ(1, descriptors.opened());
    descriptors.closeOpened();
}

TEST_F(TcpSocketTest, IsNotAliveWithoutASocket)
{
    EXPECT_FALSE(socket.isAlive());
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
}

TEST_F(TcpSocketTest, TakesTheHandleOneForDeadWithoutAskingTheSystem)
{
    SystemCallFaults faults;
    socket.handle = 1;
    EXPECT_FALSE(socket.isAlive());
    EXPECT_EQ(1u, socket.handle);
    EXPECT_EQ(-1, socket.bytesAvailable());
    EXPECT_EQ(0, faults.count(SystemCall::GetOption));
    socket.handle = platform::kInvalidSocket;
}

TEST_F(TcpSocketTest, ForgetsASocketThatCannotBeAsked)
{
    connectToPeer();
    const platform::SocketHandle handle = socket.handle;
    SystemCallFaults faults;
    faults.fail(SystemCall::GetOption, 0, ENOBUFS);
    EXPECT_FALSE(socket.isAlive());
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
    platform::closeSocket(handle);
}

TEST_F(TcpSocketTest, TellsHowManyBytesWait)
{
    peer.addScript([](ScriptedConnection &connection) { connection.send("12345"); });
    EXPECT_EQ(-1, socket.bytesAvailable());
    connectToPeer();
    char byte;
    ASSERT_EQ(0, socket.receiveExactly(&byte, 1));
    EXPECT_EQ(4, socket.bytesAvailable());
}

TEST_F(TcpSocketTest, ClosesOnceAndThenHasNoSocket)
{
    OpenDescriptors descriptors;
    connectToPeer();
    socket.close();
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
    peer.waitUntilOver(1);
    EXPECT_EQ(0, descriptors.opened());
    // Others take the descriptor's number: a second close must leave them alone.
    const RefusingPorts others;
    socket.close();
    EXPECT_EQ(4, descriptors.opened());
}

TEST_F(TcpSocketTest, SendsAllInOneCall)
{
    connectToPeer();
    const std::string bytes(100000, 'q');
    SystemCallFaults faults;
    EXPECT_EQ(0, socket.sendAll(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    EXPECT_EQ(1, faults.count(SystemCall::Send));
    socket.close();
    peer.waitUntilOver(1);
    EXPECT_EQ(bytes, peer.received());
}

TEST_F(TcpSocketTest, TakesAPartialSendForAFailureAndSendsNothingMore)
{
    connectToPeer();
    {
        SystemCallFaults faults;
        faults.limitSend(3);
        EXPECT_EQ(1, socket.sendAll("abcdef", 6));
        EXPECT_EQ(1, faults.count(SystemCall::Send));
    }
    socket.close();
    peer.waitUntilOver(1);
    EXPECT_EQ("abc", peer.received());
}

TEST_F(TcpSocketTest, FailsToSendWhenTheSystemRefuses)
{
    connectToPeer();
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, ENOBUFS);
    EXPECT_EQ(1, socket.sendAll("abc", 3));
    faults.interruptEach(SystemCall::Send);
    EXPECT_EQ(0, socket.sendAll("abc", 3));
}

TEST_F(TcpSocketTest, FailsToSendAndToReceiveWithoutASocket)
{
    char byte;
    EXPECT_EQ(1, socket.sendAll("abc", 3));
    EXPECT_EQ(1, socket.receiveExactly(&byte, 1));
    EXPECT_EQ(-1, socket.receiveWaitAll(&byte, 1));
}

TEST_F(TcpSocketTest, ReceivesNothingWithoutACallForNoBytes)
{
    connectToPeer();
    SystemCallFaults faults;
    EXPECT_EQ(0, socket.receiveExactly(nullptr, 0));
    socket.close();
    EXPECT_EQ(0, socket.receiveExactly(nullptr, 0));
    EXPECT_EQ(0, faults.count(SystemCall::Receive));
}

TEST_F(TcpSocketTest, ReceivesExactlyThroughFragmentsAndInterruptions)
{
    peer.setFragmentSize(1);
    peer.addScript([](ScriptedConnection &connection) { connection.send("0123456789rest"); });
    connectToPeer();
    SystemCallFaults faults;
    faults.limitReceive(1);
    faults.interruptEach(SystemCall::Receive);
    char bytes[11] = "";
    EXPECT_EQ(0, socket.receiveExactly(bytes, 10));
    EXPECT_STREQ("0123456789", bytes);
    EXPECT_EQ(10 + faults.interruptions(SystemCall::Receive), faults.count(SystemCall::Receive));
    EXPECT_EQ(0, socket.receiveExactly(bytes, 4));
    EXPECT_EQ("rest", std::string(bytes, 4));
}

TEST_F(TcpSocketTest, KeepsWhatArrivedWhenThePeerClosesHalfway)
{
    peer.addScript([](ScriptedConnection &connection) { connection.send("half"); });
    connectToPeer();
    char bytes[9] = "........";
    EXPECT_EQ(1, socket.receiveExactly(bytes, 8));
    EXPECT_STREQ("half....", bytes);
}

TEST_F(TcpSocketTest, FailsToReceiveExactlyWhenThePeerResets)
{
    peer.addScript([](ScriptedConnection &connection) {
        connection.send("ha");
        connection.reset();
    });
    connectToPeer();
    char bytes[8];
    EXPECT_EQ(1, socket.receiveExactly(bytes, sizeof bytes));
}

TEST_F(TcpSocketTest, ReceivesTheWholeLengthInOneCall)
{
    peer.setFragmentSize(1);
    peer.addScript([](ScriptedConnection &connection) {
        connection.send("01234567");
        connection.send("89");
    });
    connectToPeer();
    SystemCallFaults faults;
    char bytes[9] = "";
    EXPECT_EQ(8, socket.receiveWaitAll(bytes, 8));
    EXPECT_STREQ("01234567", bytes);
    if (waitsForAll()) {
        EXPECT_EQ(1, faults.count(SystemCall::Receive));
    }
    EXPECT_EQ(2, socket.receiveWaitAll(bytes, 8));
    EXPECT_EQ(0, socket.receiveWaitAll(bytes, 8));
    faults.fail(SystemCall::Receive, 0, ECONNRESET);
    EXPECT_LT(socket.receiveWaitAll(bytes, 8), 0);
}

} // namespace
