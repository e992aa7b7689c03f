#include "rpc/NameNodeConnection.h"

#include "rpc/ClientProtocol.h"
#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedNameNode.h"
#include "testing/SocketOptions.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace {

const char kProtocol[] = "org.apache.hadoop.hdfs.protocol.ClientProtocol";

class NameNodeConnectionTest : public ::testing::Test
{
protected:
    std::int32_t connect(const QByteArray &user = "tester", bool useSasl = false)
    {
        return connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), user, 0, useSasl, false,
                                  10000, 10000);
    }

    /// Any operation; its answer has to be queued.
    std::int32_t call() { return ClientProtocol::delete_(&connection, "/x", false); }

    void answerTrue()
    {
        hadoop::oracle::DeleteResponseProto response;
        response.set_result(true);
        nameNode.answer("delete", response);
    }

    /// All that reached the NameNode, once the connection is closed.
    std::string receivedInTheEnd()
    {
        connection.disconnect();
        nameNode.peer().waitUntilOver(1);
        return nameNode.peer().received();
    }

    LogCapture log;
    ScriptedNameNode nameNode;
    NameNodeConnection connection;
};

TEST_F(NameNodeConnectionTest, IsEmptyAtFirst)
{
    EXPECT_EQ(platform::kInvalidSocket, connection.nameNodeSocket.handle);
    EXPECT_EQ(platform::kInvalidSocket, connection.dataNodeSocket.handle);
    EXPECT_FALSE(connection.clientId);
    EXPECT_FALSE(connection.keepDataNodeConnection);
    EXPECT_TRUE(connection.host.isEmpty());
    EXPECT_TRUE(connection.user.isEmpty());
    EXPECT_TRUE(connection.responseBuffer.isEmpty());
    EXPECT_TRUE(connection.dataNodeId.isEmpty());
}

TEST_F(NameNodeConnectionTest, RemembersWhatItWasConnectedWith)
{
    ASSERT_EQ(0, connection.connect("localhost", static_cast<std::uint32_t>(nameNode.port()), "J\xc3\xbcrgen", 0, true,
                                    true, 1, 2));
    EXPECT_EQ("localhost", connection.host);
    EXPECT_EQ(static_cast<std::uint32_t>(nameNode.port()), connection.port);
    EXPECT_EQ("J\xc3\xbcrgen", connection.user);
    EXPECT_TRUE(connection.useSasl);
    EXPECT_TRUE(connection.useWebHdfs);
    EXPECT_EQ(0, connection.nextCallId);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(NameNodeConnectionTest, OpensWithThePreambleAndTheContextByteForByte)
{
    ASSERT_EQ(0, connect());
    const std::string clientId = connection.clientId.get();
    ASSERT_EQ(16u, clientId.size());
    // kind 2, op 0, call id -3 (zig-zag 5), client id, retry count -1 (zig-zag 1)
    const std::string header = std::string("\x08\x02\x10\x00\x18\x05\x22\x10", 8) + clientId + "\x28\x01";
    const std::string context = std::string("\x12\x08\x0A\x06") + "tester" + "\x1A\x2E" + kProtocol;
    const std::string frame = static_cast<char>(header.size()) + header + static_cast<char>(context.size()) + context;
    const std::string length = std::string(3, '\0') + static_cast<char>(frame.size());
    EXPECT_EQ(std::string("hrpc\x09\x00\x00", 7) + length + frame, receivedInTheEnd());
}

TEST_F(NameNodeConnectionTest, OpensInOneSendAndAwaitsNoAnswer)
{
    SystemCallFaults faults;
    ASSERT_EQ(0, connect());
    EXPECT_EQ(1, faults.count(SystemCall::Send));
    EXPECT_EQ(0, faults.count(SystemCall::Receive));
}

TEST_F(NameNodeConnectionTest, SaysSaslInThePreambleAndNowhereElse)
{
    ASSERT_EQ(0, connect("tester", true));
    const std::string received = receivedInTheEnd();
    ASSERT_GT(received.size(), 11u);
    EXPECT_EQ("\xDF", received.substr(6, 1));
    ASSERT_EQ(1u, nameNode.introductions().size());
    EXPECT_EQ(0xDF, nameNode.introductions()[0].authProtocol);
    EXPECT_EQ("tester", nameNode.introductions()[0].user);
}

TEST_F(NameNodeConnectionTest, WritesACallByteForByteAndInOneSend)
{
    answerTrue();
    ASSERT_EQ(0, connect());
    const std::string clientId = connection.clientId.get();
    SystemCallFaults faults;
    ASSERT_EQ(0, call());
    EXPECT_EQ(1, faults.count(SystemCall::Send));
    const std::string rpcHeader = std::string("\x08\x02\x10\x00\x18\x00\x22\x10", 8) + clientId + "\x28\x01";
    const std::string requestHeader = std::string("\x0A\x06") + "delete" + "\x12\x2E" + kProtocol + "\x18\x01";
    const std::string request = std::string("\x0A\x02/x\x10\x00", 6);
    const std::string frame = static_cast<char>(rpcHeader.size()) + rpcHeader +
                              static_cast<char>(requestHeader.size()) + requestHeader +
                              static_cast<char>(request.size()) + request;
    const std::string received = receivedInTheEnd();
    const std::string length = std::string(3, '\0') + static_cast<char>(frame.size());
    ASSERT_GT(received.size(), frame.size() + 4);
    EXPECT_EQ(length + frame, received.substr(received.size() - frame.size() - 4));
}

TEST_F(NameNodeConnectionTest, CountsCallsFromZero)
{
    answerTrue();
    ASSERT_EQ(0, connect());
    for (int i = 0; i < 130; ++i)
        ASSERT_EQ(0, call());
    const std::vector<NameNodeCall> calls = nameNode.calls();
    ASSERT_EQ(130u, calls.size());
    for (int i = 0; i < 130; ++i)
        EXPECT_EQ(i, calls[static_cast<std::size_t>(i)].callId);
    EXPECT_EQ(130, connection.nextCallId);
}

TEST_F(NameNodeConnectionTest, IntroducesAnEmptyUserToo)
{
    ASSERT_EQ(0, connect(""));
    receivedInTheEnd();
    ASSERT_EQ(1u, nameNode.introductions().size());
    EXPECT_EQ("", nameNode.introductions()[0].user);
}

TEST_F(NameNodeConnectionTest, TakesAUserAsLongAsTheContextHasRoomForIt)
{
    // 500 bytes: the protocol's field takes 48, the user's nested in another 6.
    ASSERT_EQ(0, connect(QByteArray(446, 'u')));
    receivedInTheEnd();
    EXPECT_EQ(std::string(446, 'u'), nameNode.introductions().at(0).user);
}

TEST_F(NameNodeConnectionTest, DoesNotConnectWithAUserThatIsTooLong)
{
    SystemCallFaults faults;
    EXPECT_EQ(1, connect(QByteArray(447, 'u')));
    EXPECT_TRUE(log.holds({"Encoding failed: stream full"}));
    EXPECT_EQ(0, faults.count(SystemCall::Connect));
    EXPECT_EQ(-2, connection.nextCallId);
}

TEST_F(NameNodeConnectionTest, FailsSilentlyWithoutAClientIdentifier)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Duplicate, 0, ENOMEM);
    EXPECT_EQ(1, connect());
    EXPECT_TRUE(log.holds({}));
    EXPECT_FALSE(connection.clientId);
    EXPECT_EQ(0, faults.count(SystemCall::Connect));
}

TEST_F(NameNodeConnectionTest, ReportsAConnectThatFails)
{
    RefusingPort refusing;
    EXPECT_EQ(1, connection.connect("127.0.0.1", static_cast<std::uint32_t>(refusing.port()), "tester", 0, false, false,
                                    0, 0));
    EXPECT_TRUE(log.takes({"TCPIP connect failed"}));
    // The identifier stays; what is called now finds the connection dead.
    EXPECT_TRUE(connection.clientId);
    EXPECT_EQ(2, call());
    EXPECT_TRUE(log.takes({"Not connected any more to NameNode"}));
    EXPECT_EQ(0, connection.disconnect());
    EXPECT_FALSE(connection.clientId);
}

TEST_F(NameNodeConnectionTest, ReportsANameThatDoesNotResolve)
{
    SystemCallFaults faults;
    faults.resolveToNothing();
    EXPECT_EQ(1, connect());
    EXPECT_TRUE(log.holds({"TCPIP connect failed"}));
}

TEST_F(NameNodeConnectionTest, ReportsAnOpeningThatCannotBeSent)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, ECONNRESET);
    EXPECT_EQ(1, connect());
    EXPECT_TRUE(log.takes({"TCPIP send failed"}));
    EXPECT_EQ(-2, connection.nextCallId);
    EXPECT_EQ(platform::kInvalidSocket, connection.nameNodeSocket.handle);
    EXPECT_TRUE(connection.clientId != nullptr);
    connection.disconnect();
    faults.limitSend(20);
    EXPECT_EQ(1, connect());
    EXPECT_TRUE(log.takes({"TCPIP send failed"}));
    EXPECT_EQ(platform::kInvalidSocket, connection.nameNodeSocket.handle);
}

TEST_F(NameNodeConnectionTest, RemembersTheAddressThatItReached)
{
    RefusingPort refusing;
    {
        SystemCallFaults faults;
        faults.resolveTo({ResolvedAddress{"127.0.0.1", refusing.port()}, ResolvedAddress{"127.0.0.1", refusing.port()},
                          ResolvedAddress{"127.0.0.1", nameNode.port()}});
        ASSERT_EQ(0, connection.connect("namenode.example", 8020, "tester", 7, false, false, 0, 0));
    }
    EXPECT_EQ(2u, connection.preferredAddressIndex);
}

TEST_F(NameNodeConnectionTest, DisconnectsOnce)
{
    OpenDescriptors descriptors;
    answerTrue();
    ASSERT_EQ(0, connect());
    ASSERT_EQ(0, call());
    ScriptedPeer dataNode;
    ASSERT_EQ(0, connection.dataNodeSocket.connectTo("127.0.0.1", dataNode.port(), 0));
    connection.dataNodeId = "datanode";

    EXPECT_EQ(0, connection.disconnect());
    EXPECT_FALSE(connection.clientId);
    EXPECT_EQ(platform::kInvalidSocket, connection.nameNodeSocket.handle);
    EXPECT_EQ(platform::kInvalidSocket, connection.dataNodeSocket.handle);
    EXPECT_TRUE(connection.responseBuffer.isEmpty());
    EXPECT_TRUE(connection.dataNodeId.isEmpty());
    nameNode.peer().waitUntilOver(1);
    dataNode.waitUntilOver(1);

    EXPECT_EQ(0, connection.disconnect());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(NameNodeConnectionTest, DisconnectBeforeTheFirstConnectLeavesEverythingAsItIs)
{
    connection.responseBuffer = "left alone";
    EXPECT_EQ(0, connection.disconnect());
    EXPECT_EQ("left alone", connection.responseBuffer);
}

TEST_F(NameNodeConnectionTest, FindsItselfNotConnectedAfterADisconnect)
{
    ASSERT_EQ(0, connect());
    connection.disconnect();
    EXPECT_EQ(2, call());
    EXPECT_TRUE(log.holds({"Not connected any more to NameNode"}));
}

TEST_F(NameNodeConnectionTest, ConnectsAnewWithAnotherIdentifierAndCountsFromZeroAgain)
{
    answerTrue();
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(0, connect());
        ASSERT_EQ(0, call());
        ASSERT_EQ(0, call());
        connection.disconnect();
    }
    const std::vector<NameNodeCall> calls = nameNode.calls();
    ASSERT_EQ(6u, calls.size());
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(static_cast<int>(i % 2), calls[i].callId);
    EXPECT_NE(calls[0].clientId, calls[2].clientId);
    EXPECT_NE(calls[2].clientId, calls[4].clientId);
}

TEST_F(NameNodeConnectionTest, LeavesNoDescriptorBehindHoweverOftenItConnects)
{
    OpenDescriptors descriptors;
    {
        ScriptedNameNode other;
        hadoop::oracle::DeleteResponseProto response;
        response.set_result(true);
        other.answer("delete", response);
        for (int i = 0; i < 200; ++i) {
            NameNodeConnection one;
            ASSERT_EQ(
                0, one.connect("127.0.0.1", static_cast<std::uint32_t>(other.port()), "tester", 0, false, false, 0, 0));
            EXPECT_EQ(0, ClientProtocol::delete_(&one, "/x", false));
        }
    }
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(NameNodeConnectionTest, DoesNotStartACallWhoseHeadersDoNotFit)
{
    ASSERT_EQ(0, connect());
    unsigned char headers[kCallHeadersRoom];
    const std::string longName(80, 'm');
    EXPECT_EQ(nullptr, connection.writeCallHeaders(headers, longName.c_str()));
    EXPECT_TRUE(log.holds({"Encoding failed: stream full"}));
    EXPECT_EQ(1, connection.nextCallId);
}

TEST_F(NameNodeConnectionTest, WritesHeadersUpToTheirLimit)
{
    ASSERT_EQ(0, connect());
    // 126 bytes: the protocol's name takes 48, the version 2, the method's tag and length 2.
    unsigned char headers[kCallHeadersRoom];
    const std::string name(74, 'm');
    unsigned char *const end = connection.writeCallHeaders(headers, name.c_str());
    ASSERT_NE(nullptr, end);
    EXPECT_EQ(126, headers[1 + headers[0]]);
    EXPECT_EQ(headers + 1 + headers[0] + 1 + 126, end);
    EXPECT_EQ(nullptr, connection.writeCallHeaders(headers, (name + "m").c_str()));
}

TEST_F(NameNodeConnectionTest, WritesALargeCallIdZigZag)
{
    ASSERT_EQ(0, connect());
    connection.nextCallId = 0x7FFFFFFE;
    unsigned char header[1 + kIpcHeaderLimit];
    const unsigned char *const end = connection.writeRpcRequestHeader(header);
    ASSERT_NE(nullptr, end);
    hadoop::oracle::RpcRequestHeaderProto decoded;
    ASSERT_TRUE(decoded.ParseFromArray(header + 1, header[0]));
    EXPECT_EQ(0x7FFFFFFE, decoded.callid());
    EXPECT_EQ(0x7FFFFFFF, connection.nextCallId);
}

TEST_F(NameNodeConnectionTest, FindsItselfNotConnectedAfterAReset)
{
    nameNode.respond("delete", [](ScriptedConnection &peer, const NameNodeCall &) { peer.reset(); });
    ASSERT_EQ(0, connect());
    EXPECT_EQ(5, call());
    EXPECT_TRUE(log.takes({"TCPIP received failed"}));
    // The failed receive has taken the pending error; what is sent next finds the connection gone.
    EXPECT_EQ(5, call());
    EXPECT_TRUE(log.takes({"TCPIP send failed", "TCPIP received failed"}));
}

TEST_F(NameNodeConnectionTest, NoticesBeforeACallThatItWasReset)
{
    OpenDescriptors descriptors;
    answerTrue();
    nameNode.forget("delete");
    nameNode.respond("delete", [](ScriptedConnection &peer, const NameNodeCall &received) {
        hadoop::oracle::DeleteResponseProto response;
        response.set_result(true);
        peer.send(ScriptedNameNode::frame(received, response));
        peer.reset();
    });
    ASSERT_EQ(0, connect());
    EXPECT_EQ(0, call());
    nameNode.peer().waitUntilOver(1);
    SystemCallFaults faults;
    if (!showsResets())
        faults.fail(SystemCall::GetOption, 0, ECONNRESET);
    EXPECT_EQ(2, call());
    EXPECT_EQ(2, call());
    EXPECT_TRUE(log.holds({"Not connected any more to NameNode", "Not connected any more to NameNode"}));
    EXPECT_EQ(platform::kInvalidSocket, connection.nameNodeSocket.handle);
    EXPECT_EQ(1u, nameNode.calls().size());
    // The socket was forgotten, not closed: one stays.
    EXPECT_EQ(1, descriptors.opened());
    descriptors.closeOpened();
}

TEST_F(NameNodeConnectionTest, IsReadyForACallOnlyWhileConnected)
{
    EXPECT_FALSE(connection.isReadyForACall());
    answerTrue();
    ASSERT_EQ(0, connect());
    EXPECT_TRUE(connection.isReadyForACall());
    EXPECT_TRUE(connection.isReadyForACall());
    EXPECT_EQ(0, call());
    EXPECT_TRUE(connection.isReadyForACall());
    connection.disconnect();
    EXPECT_FALSE(connection.isReadyForACall());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(NameNodeConnectionTest, IsNotReadyForACallOnceTheNameNodeHasClosedOrResetTheConnection)
{
    for (const bool resets : {false, true}) {
        SCOPED_TRACE(resets);
        nameNode.forget("delete");
        nameNode.respond("delete", [resets](ScriptedConnection &peer, const NameNodeCall &received) {
            hadoop::oracle::DeleteResponseProto response;
            response.set_result(true);
            peer.send(ScriptedNameNode::frame(received, response));
            if (resets)
                peer.reset();
            peer.closeAtOnce();
        });
        NameNodeConnection ended;
        ASSERT_EQ(0, ended.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false, false,
                                   10000, 10000));
        EXPECT_EQ(0, ClientProtocol::delete_(&ended, "/x", false));
        nameNode.peer().waitUntilOver(resets ? 2 : 1);
        EXPECT_FALSE(ended.isReadyForACall());
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(NameNodeConnectionTest, IsNotReadyForACallWhenSomethingHasArrivedThatNobodyAskedFor)
{
    nameNode.respond("delete", [](ScriptedConnection &peer, const NameNodeCall &received) {
        hadoop::oracle::DeleteResponseProto response;
        response.set_result(true);
        peer.send(ScriptedNameNode::frame(received, response) + "!");
    });
    ASSERT_EQ(0, connect());
    EXPECT_EQ(0, call());
    // The byte comes with the answer or soon after it; the alarm of the tests ends this if it does not.
    while (connection.isReadyForACall()) {
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(NameNodeConnectionTest, TwoAtOnceDoNotMix)
{
    hadoop::oracle::DeleteResponseProto yes, no;
    yes.set_result(true);
    no.set_result(false);
    ScriptedNameNode other;
    nameNode.answer("delete", yes);
    other.answer("delete", no);
    NameNodeConnection second;
    ASSERT_EQ(0, connect());
    ASSERT_EQ(0, second.connect("127.0.0.1", static_cast<std::uint32_t>(other.port()), "other", 0, false, false, 0, 0));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0, call());
        EXPECT_EQ(1, ClientProtocol::delete_(&second, "/y", false));
    }
    EXPECT_EQ("tester", nameNode.introductions().at(0).user);
    EXPECT_EQ("other", other.introductions().at(0).user);
    EXPECT_NE(nameNode.introductions()[0].clientId, other.introductions()[0].clientId);
}

} // namespace
