// How a response frame is taken apart, whatever the NameNode puts into it.
#include "rpc/NameNodeConnection.h"

#include "rpc/ClientProtocol.h"
#include "testing/LogCapture.h"
#include "testing/MemoryWatch.h"
#include "testing/ScriptedNameNode.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

namespace oracle = hadoop::oracle;

namespace {

const char kReceiveFailed[] = "TCPIP received failed";
const char kNoException[] = "ExceptionClassName=\nerrorMsg=";

oracle::DeleteResponseProto trueResponse()
{
    oracle::DeleteResponseProto response;
    response.set_result(true);
    return response;
}

/// A header with a status and nothing else.
oracle::RpcResponseHeaderProto bareHeader(oracle::RpcResponseHeaderProto::RpcStatusProto status)
{
    oracle::RpcResponseHeaderProto header;
    header.set_callid(0);
    header.set_status(status);
    return header;
}

std::string framed(const std::string &body)
{
    return bigEndian32(static_cast<std::uint32_t>(body.size())) + body;
}

class NameNodeResponse : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false,
                                        false, 0, 0));
    }

    /// Sends a call and returns the result of a `delete` that is answered with these bytes.
    std::int32_t deleteAnswered(const std::string &bytes)
    {
        nameNode.forget("delete");
        nameNode.answerBytes("delete", bytes);
        return ClientProtocol::delete_(&connection, "/x", false);
    }

    /// The same; the NameNode closes behind the bytes.
    std::int32_t deleteAnsweredAndClosed(const std::string &bytes)
    {
        nameNode.forget("delete");
        nameNode.respond("delete", [bytes](ScriptedConnection &peer, const NameNodeCall &) {
            peer.send(bytes);
            peer.close();
        });
        return ClientProtocol::delete_(&connection, "/x", false);
    }

    void expectThatTheNextCallSucceeds()
    {
        nameNode.forget("delete");
        nameNode.answer("delete", trueResponse());
        EXPECT_EQ(0, ClientProtocol::delete_(&connection, "/x", false));
        EXPECT_TRUE(log.takes({}));
    }

    LogCapture log;
    ScriptedNameNode nameNode;
    NameNodeConnection connection;
};

TEST_F(NameNodeResponse, ARemoteExceptionIsLoggedAndTheConnectionStaysUsable)
{
    nameNode.answerException("delete", "org.apache.hadoop.security.AccessControlException",
                             "Permission denied: user=J\xc3\xbcrgen, inode=\"/\xe6\xb1\x89\"");
    EXPECT_EQ(5, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_TRUE(log.takes({"ExceptionClassName=org.apache.hadoop.security.AccessControlException\n"
                           "errorMsg=Permission denied: user=J\xc3\xbcrgen, inode=\"/\xe6\xb1\x89\""}));
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, PlaceholdersInAnExceptionsTextsStayAsTheyAre)
{
    nameNode.answerException("delete", "%1 %2", "%2 and %1 and %99");
    EXPECT_EQ(5, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_TRUE(log.takes({"ExceptionClassName=%1 %2\nerrorMsg=%2 and %1 and %99"}));
}

TEST_F(NameNodeResponse, ASmallResponseTakesOneReceive)
{
    nameNode.answer("delete", trueResponse());
    const SystemCallFaults calls;
    EXPECT_EQ(0, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_EQ(1, calls.count(SystemCall::Receive));
}

TEST_F(NameNodeResponse, AResponseThatCameWithTheOneBeforeIsTheNext)
{
    hadoop::oracle::DeleteResponseProto no;
    no.set_result(false);
    nameNode.respond("delete", [&](ScriptedConnection &peer, const NameNodeCall &call) {
        peer.send(ScriptedNameNode::frame(call, trueResponse()) + ScriptedNameNode::frame(call, no));
    });
    nameNode.respond("delete", [](ScriptedConnection &, const NameNodeCall &) {});
    EXPECT_EQ(0, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_EQ(1, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(NameNodeResponse, WhatCameOnAConnectionBeforeIsForgotten)
{
    nameNode.respond("delete", [](ScriptedConnection &peer, const NameNodeCall &call) {
        peer.send(ScriptedNameNode::frame(call, trueResponse()) + "left behind");
    });
    EXPECT_EQ(0, ClientProtocol::delete_(&connection, "/x", false));
    connection.disconnect();
    SetUp();
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, AnExceptionOfManyMegabytesIsCutInTheLog)
{
    const std::size_t logged = 1024 * 1024;
    nameNode.answerException("delete", std::string(logged + 1, 'c'), std::string(20 * logged, 'm'));
    EXPECT_EQ(5, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_TRUE(
        log.takes({"ExceptionClassName=" + std::string(logged, 'c') + "\nerrorMsg=" + std::string(logged, 'm')}));
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, AnExceptionOfManyKilobytesIsLoggedWhole)
{
    const std::string trace(200000, 't');
    nameNode.answerException("delete", "java.io.IOException", trace);
    EXPECT_EQ(5, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_TRUE(log.takes({"ExceptionClassName=java.io.IOException\nerrorMsg=" + trace}));
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, AFailureWithoutTextsIsLoggedWithEmptyOnes)
{
    for (auto status : {oracle::RpcResponseHeaderProto::ERROR, oracle::RpcResponseHeaderProto::FATAL,
                        oracle::RpcResponseHeaderProto::STATUS_OF_A_NEWER_SERVER}) {
        EXPECT_EQ(5, deleteAnswered(ScriptedNameNode::frame(bareHeader(status), std::string())));
        EXPECT_TRUE(log.takes({kNoException}));
        expectThatTheNextCallSucceeds();
    }
}

TEST_F(NameNodeResponse, AHeaderWithoutAStatusCountsAsAFailure)
{
    oracle::RpcResponseHeaderProto header = bareHeader(oracle::RpcResponseHeaderProto::SUCCESS);
    header.clear_status();
    header.set_exceptionclassname("C");
    header.set_errormsg("m");
    EXPECT_EQ(5, deleteAnswered(ScriptedNameNode::frame(header, lengthDelimited(trueResponse()))));
    EXPECT_TRUE(
        log.takes({"WARNING: Ack Decoding failed: missing required field", "ExceptionClassName=C\nerrorMsg=m"}));
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, AnEmptyHeaderCountsAsAFailure)
{
    EXPECT_EQ(5, deleteAnswered(framed(std::string(1, '\0'))));
    EXPECT_TRUE(log.takes({"WARNING: Ack Decoding failed: missing required field", kNoException}));
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, ASuccessIsTakenFromAHeaderThatDoesNotDecode)
{
    // Without a call id, and cut off in the middle of a later field.
    oracle::RpcResponseHeaderProto header;
    header.set_status(oracle::RpcResponseHeaderProto::SUCCESS);
    const std::string cut = header.SerializePartialAsString() + std::string("\x2A\x7F", 2) + "x";
    EXPECT_EQ(0, deleteAnswered(framed(lengthDelimited(cut) + lengthDelimited(trueResponse()))));
    EXPECT_TRUE(log.takes({}));
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, TheCallIdOfAResponseIsNotCompared)
{
    oracle::RpcResponseHeaderProto header = bareHeader(oracle::RpcResponseHeaderProto::SUCCESS);
    header.set_callid(4711);
    EXPECT_EQ(0, deleteAnswered(ScriptedNameNode::frame(header, lengthDelimited(trueResponse()))));
    EXPECT_TRUE(log.takes({}));
}

TEST_F(NameNodeResponse, AnEmptyFrameCountsAsASuccessWithAnEmptyMessage)
{
    nameNode.answerEmptyFrame("delete");
    EXPECT_EQ(1, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_TRUE(log.takes({"WARNING: delete Decoding failed: missing required field"}));
    nameNode.answerEmptyFrame("rename");
    EXPECT_EQ(0, ClientProtocol::rename(&connection, "/x", "/y"));
    EXPECT_TRUE(log.takes({}));
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, AnEmptyFrameLeavesTheStreamUntouched)
{
    ScriptedPeer peer;
    peer.addScript([](ScriptedConnection &connected) { connected.send(bigEndian32(0)); });
    connection.disconnect();
    ASSERT_EQ(0, connection.nameNodeSocket.connectTo("127.0.0.1", peer.port(), 0));
    pb_byte_t bytes[3] = {1, 2, 3};
    pb_istream_t stream = pb_istream_from_buffer(bytes, sizeof bytes);
    EXPECT_EQ(0, connection.receiveResponse(&stream));
    EXPECT_EQ(3u, stream.bytes_left);
    EXPECT_EQ(static_cast<void *>(bytes), stream.state);
    connection.nameNodeSocket.close();
}

TEST_F(NameNodeResponse, ASuccessWithoutAMessageLeavesAnEmptyOne)
{
    EXPECT_EQ(
        1, deleteAnswered(ScriptedNameNode::frame(bareHeader(oracle::RpcResponseHeaderProto::SUCCESS), std::string())));
    EXPECT_TRUE(log.takes({"WARNING: delete Decoding failed: missing required field"}));
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, TheLengthOfTheMessageIsNotBelieved)
{
    const auto header = bareHeader(oracle::RpcResponseHeaderProto::SUCCESS);
    const std::string message = trueResponse().SerializeAsString();
    for (const std::string &length : {std::string("\x00", 1), std::string("\x7F"), std::string("\xFF\xFF\xFF\xFF\x0F")})
        EXPECT_EQ(0, deleteAnswered(ScriptedNameNode::frame(header, length + message)));
    EXPECT_TRUE(log.takes({}));
}

TEST_F(NameNodeResponse, AMessageThatDoesNotDecodeIsRefused)
{
    const auto header = bareHeader(oracle::RpcResponseHeaderProto::SUCCESS);
    for (const std::string &after :
         {std::string("\x01\x08", 2), std::string("\x02\x0A\x7F", 3), std::string(10, '\xFF'), std::string(30, '\xFF'),
          std::string("\x01\x07", 2), std::string("\xFF")}) {
        EXPECT_EQ(1, deleteAnswered(ScriptedNameNode::frame(header, after)));
        EXPECT_TRUE(log.takes({"WARNING: delete Decoding failed: *"}));
    }
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, AHeaderThatDoesNotFitItsFrameIsNotRead)
{
    const std::string success = bareHeader(oracle::RpcResponseHeaderProto::SUCCESS).SerializeAsString();
    const std::string varintOfTenBytes = std::string(10, '\xFF');
    for (const std::string &body :
         {std::string("\x05", 1) + success, std::string("\xFF\xFF\xFF\xFF\x0F") + success,
          std::string(9, '\xFF') + "\x01" + success, varintOfTenBytes, varintOfTenBytes + success, std::string("\x80"),
          std::string("\xFF\xFF\xFF"), std::string("\x01")}) {
        EXPECT_EQ(5, deleteAnswered(framed(body)));
        EXPECT_TRUE(log.takes({"WARNING: Ack Decoding failed: *", kNoException}));
        expectThatTheNextCallSucceeds();
    }
}

TEST_F(NameNodeResponse, WhatTheDecoderSaysIsQuoted)
{
    EXPECT_EQ(5, deleteAnswered(framed(std::string("\x02\x08\x80", 3))));
    EXPECT_TRUE(log.takes({"WARNING: Ack Decoding failed: end-of-stream", kNoException}));
    EXPECT_EQ(5, deleteAnswered(framed(std::string("\x02\x0F\x01", 3))));
    EXPECT_TRUE(log.takes({"WARNING: Ack Decoding failed: wrong wire type", kNoException}));
}

TEST_F(NameNodeResponse, TextsThatAreNotUtf8DoNoHarm)
{
    const std::string header = bareHeader(oracle::RpcResponseHeaderProto::ERROR).SerializeAsString() +
                               std::string("\x22\x03\xFF\xC3\x00", 5) + std::string("\x2A\x02\xE6\xB1", 4);
    EXPECT_EQ(5, deleteAnswered(framed(lengthDelimited(header))));
    ASSERT_EQ(1u, log.lines().size());
    EXPECT_EQ(0u, log.texts()[0].find("ExceptionClassName="));
    log.clear();
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, AResponseArrivesInPiecesOfOneByteToo)
{
    SystemCallFaults faults;
    faults.limitReceive(1);
    faults.interruptEach(SystemCall::Receive);
    expectThatTheNextCallSucceeds();
}

TEST_F(NameNodeResponse, AHugeFrameThatNeverComesTakesNoMemory)
{
    for (std::uint32_t length : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu, 0x7FFFFFC0u, 0x10000000u}) {
        ScriptedNameNode other;
        other.respond("delete", [length](ScriptedConnection &peer, const NameNodeCall &) {
            peer.send(bigEndian32(length) + "a few bytes");
            peer.close();
        });
        NameNodeConnection one;
        ASSERT_EQ(0,
                  one.connect("127.0.0.1", static_cast<std::uint32_t>(other.port()), "tester", 0, false, false, 0, 0));
        const MemoryWatch memory;
        EXPECT_EQ(5, ClientProtocol::delete_(&one, "/x", false));
        EXPECT_LT(memory.largestGrowth(), std::size_t(64) << 20) << length; // with the stacks of the peer's threads
        EXPECT_LT(one.responseBuffer.capacity(), 1 << 20);
        EXPECT_TRUE(log.takes({kReceiveFailed}));
    }
}

TEST_F(NameNodeResponse, ALargeFrameCostsNoMoreThanItsBytes)
{
    const std::string padding(8 << 20, 'p');
    oracle::RpcResponseHeaderProto header = bareHeader(oracle::RpcResponseHeaderProto::SUCCESS);
    header.set_routerfederatedstate(padding);
    EXPECT_EQ(0, deleteAnswered(ScriptedNameNode::frame(header, lengthDelimited(trueResponse()))));
    EXPECT_LT(connection.responseBuffer.capacity(), 20 << 20);
    connection.trimResponseBuffer();
    EXPECT_EQ(0, connection.responseBuffer.capacity());
}

TEST_F(NameNodeResponse, ASmallBufferIsKeptForTheNextCall)
{
    expectThatTheNextCallSucceeds();
    const int capacity = connection.responseBuffer.capacity();
    connection.trimResponseBuffer();
    EXPECT_EQ(capacity, connection.responseBuffer.capacity());
}

TEST_F(NameNodeResponse, ACloseInTheMiddleIsAFailedReceive)
{
    const std::string whole =
        ScriptedNameNode::frame(bareHeader(oracle::RpcResponseHeaderProto::SUCCESS), lengthDelimited(trueResponse()));
    EXPECT_EQ(5, deleteAnsweredAndClosed(whole.substr(0, whole.size() - 1)));
    EXPECT_TRUE(log.takes({kReceiveFailed}));
    // There is nothing that the next call could be read from.
    EXPECT_EQ(5, ClientProtocol::delete_(&connection, "/x", false));
    EXPECT_TRUE(log.takes({kReceiveFailed}));
}

} // namespace
