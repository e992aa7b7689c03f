// Block reads through WebHDFS, from DataNodes that serve what they are asked for.
#include "io/WebHdfsBlockRead.h"

#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedWebFile.h"
#include "testing/SocketOptions.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

typedef std::vector<std::uint64_t> Numbers;

Numbers offsetsOf(const std::vector<WebRequest> &requests)
{
    Numbers offsets;
    for (const WebRequest &request : requests)
        offsets.push_back(request.offset);
    return offsets;
}

Numbers lengthsOf(const std::vector<WebRequest> &requests)
{
    Numbers lengths;
    for (const WebRequest &request : requests)
        lengths.push_back(request.length);
    return lengths;
}

Numbers connectionsOf(const std::vector<WebRequest> &requests)
{
    Numbers connections;
    for (const WebRequest &request : requests)
        connections.push_back(request.connection);
    return connections;
}

/// Another request is taken on the same connection, as a web server does that keeps it.
void staysOpen(const WebRequest &, WebAnswer *answer)
{
    answer->closesBehind = false;
}

class WebRead : public ::testing::Test
{
protected:
    /// A range must come out right, without a word in the log.
    void expectRange(ScriptedWebFile *file, HdfsFileReader *reader, std::size_t position, std::size_t length)
    {
        const ReadOutcome outcome =
            readAt(reader, static_cast<std::int64_t>(position), static_cast<std::uint32_t>(length));
        const std::string expected = file->bytes().substr(position, length);
        ASSERT_EQ(expected.size(), outcome.result) << "position " << position << ", length " << length;
        ASSERT_EQ(expected, outcome.bytes.substr(0, expected.size()))
            << "position " << position << ", length " << length;
        ASSERT_EQ(static_cast<std::int64_t>(position + expected.size()), reader->position);
        ASSERT_TRUE(log.takes(warnings));
    }

    /// All of a file of `size` bytes, behind a head of `headSize` bytes, in one connection.
    void expectServedBehindHead(std::size_t headSize, std::size_t size)
    {
        ScriptedWebFile file({size});
        file.alter([headSize](const WebRequest &, WebAnswer *answer) { answer->head = webHeadOfSize(headSize); });
        const std::unique_ptr<HdfsFileReader> reader = file.open();
        expectRange(&file, reader.get(), 0, size);
        EXPECT_EQ(1u, file.webConnectionCount()) << "head of " << headSize << " bytes, body of " << size;
    }

    LogCapture log;
    std::vector<std::string> warnings; ///< what a range says that comes out right
};

} // namespace

// Requests.

TEST_F(WebRead, RequestIsExactlyThisText)
{
    ScriptedWebFile file({100});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 10, 20);
    file.web().peer().waitUntilOver(1);
    EXPECT_EQ("GET /webhdfs/v1/some/file?op=OPEN&user.name=tester&namenoderpcaddress=127.0.0.1:" +
                  std::to_string(file.nameNode.port()) +
                  "&length=20&offset=10 HTTP/1.1\r\nUser-Agent: Marrowby\r\nAccept: */*\r\n\r\n",
              file.web().peer().received(0));
}

TEST_F(WebRead, GoesToTheWebPortOnly)
{
    ScriptedWebFile file({1000, 1000}, 2);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 2000);
    EXPECT_EQ(2u, file.webConnectionCount());
    EXPECT_EQ(0u, file.connectionCount());
}

TEST_F(WebRead, WithoutTheFlagGoesToTheDataPortOnly)
{
    ScriptedWebFile file({1000});
    file.connection.useWebHdfs = false;
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
    EXPECT_EQ(0u, file.webConnectionCount());
    EXPECT_EQ(1u, file.connectionCount());
}

TEST_F(WebRead, TransportMayChangeFromReadToRead)
{
    ScriptedWebFile file({1000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::size_t position = 0; position < 10; ++position) {
        file.connection.useWebHdfs = position % 2 == 0;
        expectRange(&file, reader.get(), position, 900);
    }
    EXPECT_EQ(5u, file.webConnectionCount());
    EXPECT_EQ(5u, file.connectionCount());
}

TEST_F(WebRead, WholeBlockComesWithOneRequestInOneSendAndAFirstReceiveOf180Bytes)
{
    ScriptedWebFile file({100});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::size_t length : {1, 14, 15}) {
        const SystemCallFaults calls;
        expectRange(&file, reader.get(), 0, length);
        EXPECT_EQ(1, calls.count(SystemCall::Send));
        // Where a receive does not wait for all 180 bytes, another one finds that a shorter answer has ended.
        const int looksForTheEnd = waitsForAll() || length == 15 ? 0 : 1;
        EXPECT_EQ(1 + looksForTheEnd, calls.count(SystemCall::Receive))
            << "a body of " << length << " bytes comes with the head";
        EXPECT_EQ(180u, calls.longestReceive());
    }
    const SystemCallFaults calls;
    expectRange(&file, reader.get(), 0, 100);
    EXPECT_EQ(1, calls.count(SystemCall::Send));
    EXPECT_EQ(2, calls.count(SystemCall::Receive));
    EXPECT_EQ(4u, file.web().requests().size());
}

TEST_F(WebRead, BodyIsReceivedStraightIntoTheCallersBuffer)
{
    ScriptedWebFile file({1 << 20});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const SystemCallFaults calls;
    expectRange(&file, reader.get(), 0, 1 << 20);
    EXPECT_EQ((1u << 20) - (180 - webHead(1 << 20).size()), calls.longestReceive());
}

TEST_F(WebRead, PathAndUserGoOutAsTheyAre)
{
    const QByteArray names[] = {"/a b", "/one;two=\"three\"<four>\\|^`{}[]", "/line\r\nbreak: \r\n\r\n in it",
                                "no slash", ""};
    ScriptedWebFile file({1000});
    for (const QByteArray &name : names) {
        file.setUser("tester");
        const std::unique_ptr<HdfsFileReader> reader = file.openAs(name);
        ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), 3, 900)) << name.constData();
        file.setUser(name);
        ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), 0, 200)) << name.constData();
    }
    EXPECT_EQ(2 * sizeof names / sizeof *names, file.webConnectionCount());
}

TEST_F(WebRead, PathThatMayBeTakenForAnotherGoesOutAsItIsWithAWarning)
{
    const QByteArray names[] = {"/100%",
                                "/a%41%20%2F%00b",
                                "/%s%n%d%x%1%2%lld%*c",
                                "/question?mark",
                                "/a?op=CREATE&x=y",
                                "/sharp#c",
                                "/\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\x98"};
    ScriptedWebFile file({1000});
    for (const QByteArray &name : names) {
        const std::unique_ptr<HdfsFileReader> reader = file.openAs(name);
        warnings = {"Warning WebHDFS: data nodes may take this name for another one: " + name.toStdString()};
        ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), 3, 900)) << name.constData();
    }
}

TEST_F(WebRead, UserWhoMayBeTakenForAnotherGoesOutAsHeIsWithAWarning)
{
    ScriptedWebFile file({1000});
    for (const char *user : {"a&offset=5", "a%41", "J\xC3\xBCrgen", "a?b", "a#b", "a+b"}) {
        file.setUser(user);
        const std::unique_ptr<HdfsFileReader> reader = file.openAs("/file");
        warnings = {"Warning WebHDFS: data nodes may take this name for another one: /file"};
        ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), 0, 200)) << user;
        warnings.clear(); // once is enough
        ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), 200, 200)) << user;
    }
}

TEST_F(WebRead, LongPathsAndUsersAreNotCut)
{
    ScriptedWebFile file({1000});
    for (int length : {255, 256, 1000, 1024, 4096, 8000, 70000, 1000000}) {
        const std::unique_ptr<HdfsFileReader> reader = file.openAs(QByteArray(length, 'p'));
        file.setUser(QByteArray(length, 'u'));
        ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), 0, 1000)) << length;
    }
}

TEST_F(WebRead, OffsetsAndLengthsBeyondFourGigabytesAreNamed)
{
    const std::uint64_t kBlock = std::uint64_t(5) << 40;
    ScriptedWebFile file({1, 1});
    file.response.mutable_locations()->set_filelength(kBlock + (std::uint64_t(6) << 30));
    file.block(1)->set_offset(kBlock);
    file.allConnections(ScriptedWebNode::ClosesAfterRequest);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    char byte;
    reader->position = static_cast<std::int64_t>(kBlock + 7);
    EXPECT_EQ(kReadFailed, reader->read(&byte, 0xFFFFFFF0u, nullptr));
    reader->position = static_cast<std::int64_t>(kBlock - 9);
    EXPECT_EQ(kReadFailed, reader->read(&byte, 0x80000001u, nullptr));
    EXPECT_EQ(Numbers({kBlock + 7, kBlock + 7, kBlock + 7, kBlock - 9, kBlock - 9, kBlock - 9}),
              offsetsOf(file.web().requests()));
    EXPECT_EQ(Numbers({0xFFFFFFF0u, 0xFFFFFFF0u, 0xFFFFFFF0u, 9, 9, 9}), lengthsOf(file.web().requests()));
}

// Ranges.

TEST_F(WebRead, EveryRangeOfABlockComesOutRight)
{
    const std::size_t kSize = 45;
    ScriptedWebFile file({kSize});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::size_t position = 0; position < kSize; ++position) {
        for (std::size_t length = 1; length <= kSize - position; ++length)
            ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), position, length));
    }
    EXPECT_EQ(kSize * (kSize + 1) / 2, file.webConnectionCount());
}

TEST_F(WebRead, MoreThanIsLeftOfTheFileIsCutToWhatIsLeft)
{
    ScriptedWebFile file({1000, 500});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 1200, 100000);
    EXPECT_EQ(300u, outcome.result);
    EXPECT_EQ(file.bytes().substr(1200), outcome.bytes.substr(0, 300));
    EXPECT_EQ(Numbers({300}), lengthsOf(file.web().requests()));
    EXPECT_EQ(1500, reader->position);
    EXPECT_EQ(0u, readAt(reader.get(), 1500, 1).result);
    EXPECT_EQ(1u, file.webConnectionCount());
}

TEST_F(WebRead, OverTwoBlocksMakesTwoRequestsThatFollowEachOther)
{
    ScriptedWebFile file({1000, 700});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 600, 1000);
    EXPECT_EQ(Numbers({600, 1000}), offsetsOf(file.web().requests()));
    EXPECT_EQ(Numbers({400, 600}), lengthsOf(file.web().requests()));
    EXPECT_EQ(Numbers({0, 1}), connectionsOf(file.web().requests())) << "each block has a connection of its own";
    EXPECT_EQ(1, reader->blockIndex);
}

TEST_F(WebRead, OverThreeBlocksMakesThreeRequestsThatFollowEachOther)
{
    ScriptedWebFile file({1000, 7, 3000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 999, 2000);
    EXPECT_EQ(Numbers({999, 1000, 1007}), offsetsOf(file.web().requests()));
    EXPECT_EQ(Numbers({1, 7, 1992}), lengthsOf(file.web().requests()));
    EXPECT_EQ(2, reader->blockIndex);
    std::int32_t cursor = 2;
    std::string buffer(1005, '\0');
    reader->position = 0;
    EXPECT_EQ(1005u, reader->read(&buffer[0], 1005, &cursor));
    EXPECT_EQ(file.bytes().substr(0, 1005), buffer);
    EXPECT_EQ(1, cursor);
}

TEST_F(WebRead, EmptyBlocksInBetweenAreNotAskedFor)
{
    ScriptedWebFile file({100, 0, 0, 100});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 200);
    EXPECT_EQ(Numbers({0, 100}), offsetsOf(file.web().requests()));
}

TEST_F(WebRead, EachBlockComesFromItsOwnDataNode)
{
    ScriptedWebFile file({300, 300}, 2);
    file.block(0)->mutable_locs()->DeleteSubrange(1, 1);
    file.block(1)->mutable_locs()->DeleteSubrange(0, 1);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 600);
    EXPECT_EQ(Numbers({0}), offsetsOf(file.web(0).requests()));
    EXPECT_EQ(Numbers({300}), offsetsOf(file.web(1).requests()));
}

TEST_F(WebRead, SequentialReadsGiveTheWholeFile)
{
    ScriptedWebFile file({5000, 5000, 1});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    std::string gathered;
    char buffer[777];
    for (;;) {
        const std::uint32_t count = reader->read(buffer, sizeof buffer, nullptr);
        if (count == 0)
            break;
        ASSERT_LE(count, sizeof buffer);
        gathered.append(buffer, count);
    }
    EXPECT_EQ(file.bytes(), gathered);
    EXPECT_TRUE(log.holds({}));
}

// Heads.

TEST_F(WebRead, HeadThatEndsFromByte154OnIsTaken)
{
    for (std::size_t head = 154; head <= 180; ++head) {
        for (std::size_t size : {1u, 5u, 10u, 25u, 26u, 27u, 300u}) {
            if (head + size >= 164) {
                ASSERT_NO_FATAL_FAILURE(expectServedBehindHead(head, size));
            }
        }
    }
}

TEST_F(WebRead, AnswerOf164BytesInAllIsTaken)
{
    expectServedBehindHead(163, 1);
    expectServedBehindHead(154, 10);
}

TEST_F(WebRead, HeadsOfRealDataNodesAreTaken)
{
    for (std::size_t size : {1, 9, 10, 99, 100, 999, 1000, 99999, 100000, 1234567}) {
        ScriptedWebFile file({size});
        const std::unique_ptr<HdfsFileReader> reader = file.open();
        EXPECT_EQ(163 + std::to_string(size).size(), webHead(size).size());
        expectRange(&file, reader.get(), 0, size);
        EXPECT_EQ(1u, file.webConnectionCount());
    }
}

TEST_F(WebRead, OfTheHeadOnlyTheStatusCodeIsLookedAt)
{
    const std::string heads[] = {"HTTP/1.1 200 OK\r\n",
                                 "HTTP/1.0 200 \r\n",
                                 "HTTP/2.7 2009 Odd\r\n",
                                 "FTP-/xyz 200\r\n",
                                 "         200\n",
                                 "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n",
                                 "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n",
                                 "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n",
                                 "HTTP/1.1 200 OK\r\nLocation: http://127.0.0.1:1/elsewhere\r\n"};
    for (const std::string &head : heads) {
        ScriptedWebFile file({500});
        file.alter([head](const WebRequest &, WebAnswer *answer) {
            answer->head = head + std::string(170 - head.size() - 4, 'x') + "\r\n\r\n";
        });
        const std::unique_ptr<HdfsFileReader> reader = file.open();
        expectRange(&file, reader.get(), 0, 500);
        EXPECT_EQ(1u, file.webConnectionCount()) << head;
    }
}

TEST_F(WebRead, BlankLinesBeforeByte150AndInTheBodyAreNotTheHeadsEnd)
{
    ScriptedWebFile file({500});
    file.alter([](const WebRequest &, WebAnswer *answer) {
        answer->head.replace(20, 8, "\r\n\r\n\r\n\r\n");
        // Up to byte 152 there is none that starts at byte 150.
        answer->head.replace(146, 4, "\r\n\r\n");
    });
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 500);

    file.alter([](const WebRequest &, WebAnswer *answer) { answer->body.replace(0, 8, "\r\n\r\n\r\n\r\n"); });
    const ReadOutcome outcome = readAt(reader.get(), 0, 500);
    EXPECT_EQ(500u, outcome.result);
    EXPECT_EQ("\r\n\r\n\r\n\r\n" + file.bytes().substr(8), outcome.bytes);
}

TEST_F(WebRead, ZeroBytesInHeadAndBodyAreBytesLikeAnyOther)
{
    ScriptedWebFile file({500});
    file.alter([](const WebRequest &, WebAnswer *answer) {
        answer->head.replace(30, 100, 100, '\0');
        answer->body.assign(500, '\0');
    });
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 0, 500);
    EXPECT_EQ(500u, outcome.result);
    EXPECT_EQ(std::string(500, '\0'), outcome.bytes);
}

// Bodies.

TEST_F(WebRead, BodyThatIsLongerThanWantedIsNotWrittenBehindTheBuffer)
{
    // readAt would notice bytes behind the buffer.
    for (std::size_t excess : {1u, 5u, 16u, 25u, 26u, 1000u, 1000000u}) {
        for (std::size_t head : {154, 165, 179, 180}) {
            ScriptedWebFile file({2000});
            file.alter([=](const WebRequest &, WebAnswer *answer) {
                answer->head = webHeadOfSize(head);
                answer->body += std::string(excess, '!');
            });
            const std::unique_ptr<HdfsFileReader> reader = file.open();
            for (std::size_t length : {1u, 2u, 10u, 15u, 25u, 26u, 500u}) {
                if (head + length + excess >= 164) {
                    ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), 7, length)) << head << " + " << excess;
                }
            }
        }
    }
}

TEST_F(WebRead, BodyThatIsLongerThanItsBlockDoesNotReachIntoTheNext)
{
    ScriptedWebFile file({10, 10, 10});
    file.alter([](const WebRequest &, WebAnswer *answer) { answer->body += std::string(30, '!'); });
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 30);
    expectRange(&file, reader.get(), 5, 10);
}

TEST_F(WebRead, AnswerShorterThan180BytesIsCompleteOnlyWhenTheDataNodeCloses)
{
    for (std::size_t length : {1, 10, 14, 15}) {
        const bool needsTheEnd = webHead(length).size() + length < 180;
        std::atomic<bool> hasClosed(false);
        ScriptedPeer web;
        ScriptedWebFile file({100});
        const std::string bytes = file.bytes();
        web.addScript([&](ScriptedConnection &connection) {
            connection.waitForMore();
            connection.send(webHead(length) + bytes.substr(0, length));
            if (needsTheEnd)
                connection.pause(50);
            else
                connection.stall();
            hasClosed = true;
            connection.close();
        });
        file.setWebPort(0, web.port());
        const std::unique_ptr<HdfsFileReader> reader = file.open();
        expectRange(&file, reader.get(), 0, length);
        EXPECT_EQ(needsTheEnd, hasClosed);
        EXPECT_EQ(1u, web.connectionCount());
    }
}

TEST_F(WebRead, AnswersMayComeInCrumbs)
{
    ScriptedWebFile file({1500});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::size_t fragment : {1, 2, 3, 7, 179, 180, 181}) {
        file.web().peer().setFragmentSize(fragment);
        expectRange(&file, reader.get(), 0, 1500);
        expectRange(&file, reader.get(), 100, 4);
    }
    EXPECT_EQ(14u, file.webConnectionCount());
}

TEST_F(WebRead, ReceivesOfTheBodyMayBeShort)
{
    ScriptedWebFile file({1500});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    SystemCallFaults calls;
    for (std::size_t limit : {164u, 165u, 170u, 180u}) {
        calls.limitReceive(limit);
        if (limit >= webHead(1500).size())
            expectRange(&file, reader.get(), 0, 1500);
        expectRange(&file, reader.get(), 100, 1);
    }
}

TEST_F(WebRead, SystemCallsMayBeInterrupted)
{
    ScriptedWebFile file({1500});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const SystemCall interrupted[] = {SystemCall::Receive, SystemCall::Send, SystemCall::Connect};
    for (SystemCall call : interrupted) {
        SystemCallFaults calls;
        calls.interruptEach(call);
        expectRange(&file, reader.get(), 100, 1400);
    }
    EXPECT_EQ(3u, file.webConnectionCount());
}

// The connection to the DataNode.

TEST_F(WebRead, ConnectionIsClosedBehindEachReadWhenItIsNotKept)
{
    ScriptedWebFile file({100, 100});
    file.alter(staysOpen);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::size_t i = 1; i <= 3; ++i) {
        expectRange(&file, reader.get(), 0, 100);
        EXPECT_EQ(platform::kInvalidSocket, file.connection.dataNodeSocket.handle);
        file.web().peer().waitUntilOver(i);
    }
    EXPECT_EQ(Numbers({0, 1, 2}), connectionsOf(file.web().requests()));
}

TEST_F(WebRead, KeptConnectionServesReadsAndBlocksOfTheSameDataNode)
{
    ScriptedWebFile file({1000, 700, 300});
    file.connection.keepDataNodeConnection = true;
    file.alter(staysOpen);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 2000);
    expectRange(&file, reader.get(), 900, 200);
    expectRange(&file, reader.get(), 0, 15);
    expectRange(&file, reader.get(), 1985, 15);
    EXPECT_EQ(1u, file.webConnectionCount());
    EXPECT_EQ(Numbers({0, 1000, 1700, 900, 1000, 0, 1985}), offsetsOf(file.web().requests()));
    EXPECT_NE(platform::kInvalidSocket, file.connection.dataNodeSocket.handle);
    EXPECT_EQ(ScriptedFile::uuid(0).c_str(), file.connection.dataNodeId);
}

TEST_F(WebRead, KeptConnectionServesSeveralReadersInTurns)
{
    ScriptedWebFile file({1000, 700});
    file.connection.keepDataNodeConnection = true;
    file.alter(staysOpen);
    const std::unique_ptr<HdfsFileReader> one = file.open();
    const std::unique_ptr<HdfsFileReader> two = file.open();
    for (std::size_t i = 0; i < 10; ++i) {
        expectRange(&file, one.get(), i * 100, 500);
        expectRange(&file, two.get(), 1100 - i * 100, 500);
    }
    EXPECT_EQ(1u, file.webConnectionCount());
}

TEST_F(WebRead, KeptConnectionIsReplacedForAnotherDataNode)
{
    ScriptedWebFile file({300, 300}, 2);
    file.block(0)->mutable_locs()->DeleteSubrange(1, 1);
    file.block(1)->mutable_locs()->DeleteSubrange(0, 1);
    file.connection.keepDataNodeConnection = true;
    file.alter(staysOpen);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 600);
    file.web(0).peer().waitUntilOver(1);
    expectRange(&file, reader.get(), 400, 100);
    expectRange(&file, reader.get(), 0, 100);
    EXPECT_EQ(Numbers({0, 1}), connectionsOf(file.web(0).requests()));
    EXPECT_EQ(Numbers({0, 0}), connectionsOf(file.web(1).requests()));
}

TEST_F(WebRead, KeptConnectionThatTheDataNodeHasClosedCostsAQuietAttempt)
{
    ScriptedWebFile file({1000});
    file.connection.keepDataNodeConnection = true;
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::size_t i = 0; i < 5; ++i)
        expectRange(&file, reader.get(), i, 800);
    EXPECT_EQ(5u, file.webConnectionCount());
    EXPECT_EQ(5u, file.web().requests().size());
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
}

TEST_F(WebRead, KeptConnectionToTheDataPortCostsAQuietAttempt)
{
    ScriptedPeer dataPort;
    dataPort.addScript([](ScriptedConnection &connection) {
        connection.receive(2);
        connection.closeAtOnce();
    });
    ScriptedWebFile file({1000});
    file.connection.keepDataNodeConnection = true;
    ASSERT_EQ(0, file.connection.dataNodeSocket.connectTo("127.0.0.1", dataPort.port(), 0));
    file.connection.dataNodeId = QByteArray::fromStdString(ScriptedFile::uuid(0));
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
    EXPECT_EQ(1u, file.webConnectionCount());
    EXPECT_EQ(1u, dataPort.connectionCount());
}

TEST_F(WebRead, NoDescriptorStaysOpen)
{
    ScriptedWebFile file({1000, 700}, 2);
    file.alter(staysOpen);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const OpenDescriptors before;
    const bool keeps[] = {false, true, false};
    for (bool keep : keeps) {
        file.connection.keepDataNodeConnection = keep;
        for (std::size_t i = 0; i < 10; ++i)
            expectRange(&file, reader.get(), i * 50, 1000);
    }
    EXPECT_EQ(platform::kInvalidSocket, file.connection.dataNodeSocket.handle);
    file.web(0).peer().waitUntilOver(file.web(0).connectionCount());
    EXPECT_EQ(0, before.opened());
}
