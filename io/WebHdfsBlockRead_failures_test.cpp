// Block reads through WebHDFS that go wrong: what is logged with which step, which DataNode is tried next, and what the
// caller gets.
#include "io/WebHdfsBlockRead.h"

#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedWebFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

typedef std::vector<std::string> Lines;

const std::string kSendFailed = "Warning WebHDFS: TCPIP send failed (1)";
const std::string kNoHead = "Warning WebHDFS: TCPIP received failed (2)";
const std::string kCorrupted = "Warning WebHDFS: corrupted data (3)";
const std::string kNoBody = "Warning WebHDFS: TCPIP received failed (4)";
const std::string kAllDown = "ERROR WebHDFS: All the data nodes that contains block 1073741825 are down";

class FailingWebRead : public ::testing::Test
{
protected:
    FailingWebRead() : file({300}), reader(file.open()) {}

    /// The file's one DataNode is tried three times; only the second failure is logged.
    void expectRefused(const std::string &line, const std::string &when, std::uint32_t length = 300)
    {
        const std::size_t before = file.webConnectionCount();
        EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, length).result) << when;
        EXPECT_EQ(0, reader->position) << when;
        EXPECT_TRUE(log.takes({line, kAllDown})) << when;
        file.web().peer().waitUntilOver(before + 3);
        EXPECT_EQ(before + 3, file.webConnectionCount()) << when;
        EXPECT_EQ(1, reader->blocks[0]->firstLocation->down) << when;
        EXPECT_EQ(platform::kInvalidSocket, file.connection.dataNodeSocket.handle) << when;
    }

    void expectRefusedHead(const std::string &head, const std::string &line, std::uint32_t length = 300)
    {
        file.alter([head](const WebRequest &, WebAnswer *answer) { answer->head = head; });
        expectRefused(line, head, length);
    }

    LogCapture log;
    ScriptedWebFile file;
    std::unique_ptr<HdfsFileReader> reader;
};

/// A head of the usual size with another status line.
std::string headWithStatus(const std::string &statusLine)
{
    std::string head = webHeadOfSize(170);
    return head.replace(0, statusLine.size(), statusLine);
}

/// DataNodes, named by letters, and the order in which a read tries them.
class WebRotation : public ::testing::Test
{
protected:
    /// What a read of a file of one block does whose DataNodes behave like this: a letter for each.
    /// 'f' fails after the request, 'd' refuses connections, 's' serves.
    void read(const std::string &conducts)
    {
        file.reset(new ScriptedWebFile({300}, conducts.size()));
        std::vector<std::string> addresses;
        const RefusingPort dead[4];
        for (std::size_t i = 0; i < conducts.size(); ++i) {
            if (conducts[i] == 'f')
                file->web(i).allConnections(i % 2 == 0 ? ScriptedWebNode::ClosesAfterRequest
                                                       : ScriptedWebNode::ResetsAfterRequest);
            const int port = conducts[i] == 'd' ? dead[i].port() : file->web(i).port();
            file->setWebPort(i, port);
            addresses.push_back("127.0.0.1:" + std::to_string(port));
        }
        reader = file->open();
        const SystemCallFaults calls;
        outcome = readAt(reader.get(), 0, 300);
        tried.clear();
        for (const std::string &address : calls.connected()) {
            for (std::size_t i = 0; i < addresses.size(); ++i) {
                if (addresses[i] == address)
                    tried += static_cast<char>('A' + i);
            }
        }
        down.clear();
        char letter = 'A';
        for (const DataNodeLocation *node = reader->blocks[0]->firstLocation; node; node = node->next, ++letter) {
            if (node->down != 0)
                down += letter;
        }
        EXPECT_EQ(reader->blocks[0]->firstLocation, reader->blocks[0]->currentLocation);
    }

    void expectRead()
    {
        EXPECT_EQ(300u, outcome.result);
        EXPECT_EQ(file->bytes(), outcome.bytes);
        EXPECT_EQ(300, reader->position);
    }

    void expectFailed(std::size_t warnings)
    {
        EXPECT_EQ(kReadFailed, outcome.result);
        EXPECT_EQ(0, reader->position);
        Lines lines(warnings, kNoHead);
        lines.push_back(kAllDown);
        EXPECT_TRUE(log.takes(lines));
    }

    LogCapture log;
    std::unique_ptr<ScriptedWebFile> file;
    std::unique_ptr<HdfsFileReader> reader;
    ReadOutcome outcome;
    std::string tried; ///< the DataNodes that were connected to, in order
    std::string down;  ///< those marked down
};

} // namespace

// Every message, with its step.

TEST_F(FailingWebRead, RequestThatCannotBeSentIsStepOne)
{
    SystemCallFaults faults;
    faults.failFrom(SystemCall::Send, 0, ECONNRESET);
    expectRefused(kSendFailed, "no send");
    EXPECT_EQ(3, faults.count(SystemCall::Send));
}

TEST_F(FailingWebRead, RequestThatIsSentInPartIsStepOneAndIsNotContinued)
{
    SystemCallFaults faults;
    faults.limitSend(10);
    expectRefused(kSendFailed, "a partial send");
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ("GET /webhd", file.web().peer().received(i));
}

TEST_F(FailingWebRead, ConnectionThatEndsBeforeByte164IsStepTwo)
{
    for (std::uint64_t byte = 0; byte < 164; ++byte) {
        file.web().peer().setSendFault(Fault::closeAt(byte));
        expectRefused(kNoHead, "close at byte " + std::to_string(byte));
    }
}

TEST_F(FailingWebRead, ConnectionThatIsResetBeforeByte180IsStepTwo)
{
    for (std::uint64_t byte = 0; byte < 164; byte += 7) {
        file.web().peer().setSendFault(Fault::resetAt(byte));
        expectRefused(kNoHead, "reset at byte " + std::to_string(byte));
    }
}

TEST_F(FailingWebRead, ReceiveThatFailsIsStepTwo)
{
    SystemCallFaults faults;
    faults.failFrom(SystemCall::Receive, 0, ETIMEDOUT);
    expectRefused(kNoHead, "no receive");
    EXPECT_EQ(3, faults.count(SystemCall::Receive));
}

TEST_F(FailingWebRead, AnyStatusBut200IsStepTwo)
{
    for (const char *line :
         {"HTTP/1.1 307 TEMPORARY_REDIRECT\r\nLocation: http://127.0.0.1:1/\r\n", "HTTP/1.1 404 Not Found\r\n",
          "HTTP/1.1 403 Forbidden\r\n", "HTTP/1.1 500 Internal Server Error\r\n", "HTTP/1.1 201 Created\r\n",
          "HTTP/1.1 206 Partial Content\r\n", "HTTP/1.1 100 Continue\r\n", "HTTP/1.1  200 OK\r\n", "HTTP/1.1 20\r\n",
          "HTTP/1.1200 OK\r\n", "HTTP/1.10 200 OK\r\n", "200 OK\r\nserver: me\r\n", "\r\n\r\n\r\n\r\n\r\n\r\n"})
        expectRefusedHead(headWithStatus(line), kNoHead);
}

TEST_F(FailingWebRead, RefusalsOfRealDataNodesAreStepTwo)
{
    expectRefusedHead("HTTP/1.1 404 Not Found\r\ncontent-type: application/json; charset=utf-8\r\n"
                      "content-length: 1769\r\nconnection: close\r\n\r\n" +
                          std::string(1769, '{'),
                      kNoHead);
    expectRefusedHead("HTTP/1.1 400 No Host\r\nContent-Type: text/html;charset=iso-8859-1\r\nContent-Length: 50\r\n"
                      "Connection: close\r\n\r\n<h1>Bad Message 400</h1><pre>reason: No Host</pre>",
                      kNoHead);
}

TEST_F(FailingWebRead, AnswerOf163BytesIsStepTwoAlsoWhenItIsComplete)
{
    file.alter([](const WebRequest &, WebAnswer *answer) { answer->head = webHeadOfSize(154); });
    expectRefused(kNoHead, "head of 154 bytes and body of 9", 9);
    expectRefused(kNoHead, "head of 154 bytes and body of 1", 1);
    file.alter([](const WebRequest &, WebAnswer *answer) {
        answer->head = webHeadOfSize(163);
        answer->body.clear();
    });
    expectRefused(kNoHead, "head of 163 bytes without a body");
}

TEST_F(FailingWebRead, AnswerOf164BytesWithoutABodyIsStepFour)
{
    file.alter([](const WebRequest &, WebAnswer *answer) {
        answer->head = webHeadOfSize(164);
        answer->body.clear();
    });
    expectRefused(kNoBody, "head of 164 bytes without a body");
}

TEST_F(FailingWebRead, HeadThatEndsBeforeByte154IsStepThree)
{
    for (std::size_t size : {40, 100, 146, 149, 150, 151, 152, 153})
        expectRefusedHead(webHeadOfSize(size), kCorrupted);
}

TEST_F(FailingWebRead, HeadThatDoesNotEndWithin180BytesIsStepThree)
{
    for (std::size_t size : {181, 182, 183, 184, 185, 500, 100000})
        expectRefusedHead(webHeadOfSize(size), kCorrupted);
}

TEST_F(FailingWebRead, HeadThatIsCutBeforeItsBlankLineIsStepThree)
{
    file.alter([](const WebRequest &, WebAnswer *answer) { answer->head = webHeadOfSize(176); });
    for (std::uint64_t byte = 164; byte < 176; ++byte) {
        file.web().peer().setSendFault(Fault::closeAt(byte));
        expectRefused(kCorrupted, "close at byte " + std::to_string(byte));
    }
}

TEST_F(FailingWebRead, HeadWithoutABlankLineIsStepThree)
{
    for (const char *end : {"\n\n", "\r\r", "\n\r\n\r", "\r\n\r", "\r\n \r\n"})
        expectRefusedHead(headWithStatus("HTTP/1.1 200 OK\r\n").substr(0, 160) + end + std::string(20, 'x'),
                          kCorrupted);
}

TEST_F(FailingWebRead, BodyThatIsCutAtAnyByteIsStepFour)
{
    const std::size_t head = webHead(300).size();
    for (std::uint64_t byte = head; byte < head + 300; ++byte) {
        file.web().peer().setSendFault(Fault::closeAt(byte));
        expectRefused(kNoBody, "close at byte " + std::to_string(byte));
    }
}

TEST_F(FailingWebRead, BodyThatIsShorterThanAskedForIsStepFour)
{
    for (std::size_t size : {0, 1, 14, 299}) {
        file.alter([size](const WebRequest &, WebAnswer *answer) { answer->body.resize(size); });
        expectRefused(kNoBody, std::to_string(size) + " bytes");
    }
}

TEST_F(FailingWebRead, ReceiveOfTheBodyThatFailsIsStepFour)
{
    file.web().nextConnections({ScriptedWebNode::ClosesAtOnce}); // quiet
    SystemCallFaults faults;
    faults.fail(SystemCall::Receive, 2, ETIMEDOUT);
    EXPECT_EQ(file.bytes(), readAt(reader.get(), 0, 300).bytes);
    EXPECT_TRUE(log.holds({kNoBody}));
    EXPECT_EQ(3u, file.webConnectionCount());
}

TEST_F(FailingWebRead, LaterBlockWithoutLocationsIsStepFiveAndMinusTwo)
{
    ScriptedWebFile gap({100, 100, 100});
    gap.block(1)->clear_locs();
    const std::unique_ptr<HdfsFileReader> unlucky = gap.open();
    EXPECT_EQ(kReadNoLocation, readAt(unlucky.get(), 20, 100).result);
    EXPECT_EQ(20, unlucky->position);
    EXPECT_EQ(0, unlucky->blockIndex);
    EXPECT_TRUE(log.takes({"ERROR WebHDFS: No data node that contains block 1073741826 (5)"}));
    EXPECT_EQ(platform::kInvalidSocket, gap.connection.dataNodeSocket.handle);
    // As far as the block goes there is nothing wrong.
    EXPECT_EQ(gap.bytes().substr(20, 80), readAt(unlucky.get(), 20, 80).bytes);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(FailingWebRead, FirstBlockWithoutLocationsIsMinusTwoBeforeAnythingIsAsked)
{
    file.block(0)->clear_locs();
    reader = file.open();
    EXPECT_EQ(kReadNoLocation, readAt(reader.get(), 0, 300).result);
    EXPECT_TRUE(log.holds({"ERROR HDFS: No data node that contains block 1073741825"}));
    EXPECT_EQ(0u, file.webConnectionCount());
}

TEST_F(FailingWebRead, BlockIdOfAFailureIsWrittenInFull)
{
    file.block(0)->mutable_b()->set_blockid(std::numeric_limits<std::uint64_t>::max());
    file.allConnections(ScriptedWebNode::ClosesAtOnce);
    reader = file.open();
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 300).result);
    EXPECT_TRUE(
        log.holds({kNoHead, "ERROR WebHDFS: All the data nodes that contains block 18446744073709551615 are down"}));
}

// Which DataNode is tried, how often, and what is remembered.

TEST_F(WebRotation, OneLocationIsTriedThreeTimes)
{
    read("f");
    EXPECT_EQ("AAA", tried);
    EXPECT_EQ("A", down);
    expectFailed(1);
}

TEST_F(WebRotation, OneDeadPortIsTriedThreeTimesWithoutAWarning)
{
    read("d");
    EXPECT_EQ("AAA", tried);
    EXPECT_EQ("", down);
    expectFailed(0);
}

TEST_F(WebRotation, OfTwoLocationsAQuietFailureMovesOneOnAndALoggedOneTwo)
{
    read("ff");
    EXPECT_EQ("ABBAAB", tried);
    EXPECT_EQ("AB", down);
    expectFailed(3);
}

TEST_F(WebRotation, OfThreeLocationsTheThirdIsNotReachedWhenTheOthersFail)
{
    // Quiet on the first; logged on the second, and on by two to the first again.
    read("fff");
    EXPECT_EQ("ABABABABA", tried);
    EXPECT_EQ("B", down);
    expectFailed(4);
    read("ffs");
    EXPECT_EQ("ABABABABA", tried);
    expectFailed(4);
}

TEST_F(WebRotation, OfFourLocationsAllAreReached)
{
    read("ffff");
    EXPECT_EQ("ABDACDBCABDA", tried);
    EXPECT_EQ("ABCD", down);
    expectFailed(6);
    read("ffsf");
    EXPECT_EQ("ABDAC", tried);
    expectRead();
    EXPECT_TRUE(log.holds({kNoHead, kNoHead}));
}

TEST_F(WebRotation, DeadPortsMoveOneOnEach)
{
    read("dd");
    EXPECT_EQ("ABABAB", tried);
    expectFailed(0);
    read("ddd");
    EXPECT_EQ("ABCABCABC", tried);
    EXPECT_EQ("", down);
    expectFailed(0);
    read("dds");
    EXPECT_EQ("ABC", tried);
    expectRead();
    EXPECT_TRUE(log.holds({}));
}

TEST_F(WebRotation, OneFailureIsQuietAndMovesToTheNextLocation)
{
    for (const char *conducts : {"fs", "ds", "fss", "dss"}) {
        read(conducts);
        EXPECT_EQ("AB", tried) << conducts;
        EXPECT_EQ("", down) << conducts;
        expectRead();
        EXPECT_TRUE(log.holds({}));
    }
}

TEST_F(WebRotation, DeadPortLeavesTheQuietRetryAsItIs)
{
    read("dfs");
    EXPECT_EQ("ABC", tried);
    EXPECT_EQ("", down);
    expectRead();
    EXPECT_TRUE(log.takes({}));
    read("fds");
    EXPECT_EQ("ABC", tried);
    expectRead();
    EXPECT_TRUE(log.takes({}));
    read("fdf");
    EXPECT_EQ("ABCBCACAC", tried) << "quiet, dead, logged and on by two";
    EXPECT_EQ("AC", down);
}

TEST_F(WebRotation, FirstLocationThatServesAgainIsFoundBehindALoggedFailure)
{
    ScriptedWebFile recovering({300}, 2);
    recovering.web(0).nextConnections({ScriptedWebNode::ResetsAtOnce});
    recovering.web(1).nextConnections({ScriptedWebNode::ClosesAtOnce});
    const std::unique_ptr<HdfsFileReader> own = recovering.open();
    EXPECT_EQ(recovering.bytes(), readAt(own.get(), 0, 300).bytes);
    EXPECT_TRUE(log.holds({kNoHead}));
    EXPECT_EQ(1u, recovering.web(0).connectionCount());
    EXPECT_EQ(2u, recovering.web(1).connectionCount());
    EXPECT_EQ(1, own->blocks[0]->firstLocation->next->down) << "success does not clear it";
}

TEST_F(WebRotation, NextReadAndNextBlockStartWithTheFirstLocationAndAQuietFailureAgain)
{
    ScriptedWebFile two({300, 300}, 2);
    two.web(0).allConnections(ScriptedWebNode::ClosesAfterRequest);
    const std::unique_ptr<HdfsFileReader> own = two.open();
    for (std::size_t i = 1; i <= 3; ++i) {
        EXPECT_EQ(two.bytes(), readAt(own.get(), 0, 600).bytes);
        EXPECT_EQ(2 * i, two.web(0).connectionCount());
        EXPECT_EQ(2 * i, two.web(1).connectionCount());
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(WebRotation, NodeThatIsMarkedDownIsStillTriedFirst)
{
    read("fs");
    reader->blocks[0]->firstLocation->down = 1;
    EXPECT_EQ(file->bytes(), readAt(reader.get(), 0, 300).bytes);
    EXPECT_EQ(2u, file->web(0).connectionCount());
    EXPECT_EQ(1, reader->blocks[0]->firstLocation->down);
}

TEST_F(WebRotation, BlockThatFailsInItsMiddleIsStartedAgainFromItsFirstByte)
{
    ScriptedWebFile two({300, 300}, 2);
    two.web(0).peer().setSendFault(Fault::closeAt(webHead(300).size() + 150), 1);
    const std::unique_ptr<HdfsFileReader> own = two.open();
    EXPECT_EQ(two.bytes(), readAt(own.get(), 0, 600).bytes);
    EXPECT_TRUE(log.holds({}));
    ASSERT_EQ(2u, two.web(0).requests().size());
    ASSERT_EQ(1u, two.web(1).requests().size());
    EXPECT_EQ(300u, two.web(1).requests()[0].offset);
    EXPECT_EQ(300u, two.web(1).requests()[0].length);
}

TEST_F(WebRotation, RedirectsAndRefusalsGoToTheNextLocation)
{
    for (const char *line : {"HTTP/1.1 307 TEMPORARY_REDIRECT\r\n", "HTTP/1.1 404 Not Found\r\n"}) {
        ScriptedWebFile two({300}, 2);
        two.web(0).alter([line](const WebRequest &, WebAnswer *answer) { answer->head = headWithStatus(line); });
        const std::unique_ptr<HdfsFileReader> own = two.open();
        EXPECT_EQ(two.bytes(), readAt(own.get(), 0, 300).bytes);
        EXPECT_EQ(1u, two.web(0).connectionCount());
        EXPECT_TRUE(log.holds({}));
    }
}

TEST_F(WebRotation, WhatFailsIsReleasedAlsoWhenConnectionsAreKept)
{
    ScriptedWebFile kept({300}, 2);
    kept.connection.keepDataNodeConnection = true;
    kept.alter([](const WebRequest &, WebAnswer *answer) { answer->closesBehind = false; });
    const std::unique_ptr<HdfsFileReader> own = kept.open();
    EXPECT_EQ(kept.bytes(), readAt(own.get(), 0, 300).bytes);
    const OpenDescriptors before;
    kept.alter([](const WebRequest &, WebAnswer *answer) {
        answer->head = headWithStatus("HTTP/1.1 404 Not Found\r\n");
        answer->closesBehind = false;
    });
    EXPECT_EQ(kReadFailed, readAt(own.get(), 0, 300).result);
    EXPECT_TRUE(log.holds({kNoHead, kNoHead, kNoHead, kAllDown}));
    EXPECT_EQ(platform::kInvalidSocket, kept.connection.dataNodeSocket.handle);
    EXPECT_TRUE(kept.connection.dataNodeId.isEmpty());
    kept.web(0).peer().waitUntilOver(kept.web(0).connectionCount());
    kept.web(1).peer().waitUntilOver(kept.web(1).connectionCount());
    EXPECT_LE(before.opened(), 0);
}
