// Block reads that go wrong: what is logged with which step, which DataNode is tried next, and what the caller gets.
#include "io/DataNodeBlockRead.h"

#include "testing/LogCapture.h"
#include "testing/ScriptedFile.h"
#include "testing/SocketErrors.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

using namespace hadoop::oracle;

namespace {

typedef std::vector<std::string> Lines;

const char kBlock0[] = "1073741825";
const std::string kAllDown = "ERROR HDFS: All the data nodes that contains block 1073741825 are down";

/// Sizes of what a DataNode sends with these settings, as they stand on the wire.
const std::uint32_t kChunk = 16;
const std::size_t kPacketData = 32;
const std::size_t kHeader = 25;
const std::size_t kPrefix = 6;
const std::size_t kChecksums = 8;
const std::size_t kPacket = kPrefix + kHeader + kChecksums + kPacketData;

ScriptedDataNode::Serving smallPackets()
{
    ScriptedDataNode::Serving serving;
    serving.bytesPerChecksum = kChunk;
    serving.packetData = kPacketData;
    return serving;
}

class FailingRead : public ::testing::Test
{
protected:
    FailingRead() : file({96}), answerSize(0)
    {
        file.dataNode().serve(smallPackets());
        BlockOpResponseProto answer;
        answer.set_status(SUCCESS);
        answer.mutable_readopchecksuminfo()->mutable_checksum()->set_type(CHECKSUM_CRC32C);
        answer.mutable_readopchecksuminfo()->mutable_checksum()->set_bytesperchecksum(kChunk);
        answer.mutable_readopchecksuminfo()->set_chunkoffset(0);
        answerSize = lengthDelimited(answer).size();
        reader = file.open();
    }

    /// Every connection fails at this byte: the read must fail with the given lines.
    void expectFailureAt(std::uint64_t byte, const Lines &lines, std::int64_t position = 0, std::uint32_t length = 96)
    {
        expectFailure(Fault::closeAt(byte), lines, position, length);
        // A reset may be there before the first packet's status is sent. That closes the socket without a word, and the
        // next receive, of a packet's prefix, fails.
        const bool isBehindAStatus = byte > answerSize + kPacket;
        const std::string anyStep = "Warning HDFS: TCPIP received failed (*";
        expectFailure(Fault::resetAt(byte), isBehindAStatus ? Lines({anyStep, anyStep, anyStep, kAllDown}) : lines,
                      position, length);
    }

    void expectFailure(const Fault &fault, const Lines &lines, std::int64_t position, std::uint32_t length)
    {
        const std::size_t before = file.connectionCount();
        file.dataNode().peer().setSendFault(fault);
        EXPECT_EQ(kReadFailed, readAt(reader.get(), position, length).result) << "byte " << fault.position;
        EXPECT_EQ(position, reader->position);
        EXPECT_TRUE(log.takes(lines)) << "byte " << fault.position;
        EXPECT_EQ(before + 3, file.connectionCount());
    }

    /// What a DataNode says is such that the read must fail with the given lines.
    void expectRefused(const std::function<void(const ReadRequest &, WireRead *)> &alter, const Lines &lines,
                       std::int64_t position = 0, std::uint32_t length = 96)
    {
        ScriptedDataNode::Serving serving = smallPackets();
        serving.alter = alter;
        file.dataNode().serve(serving);
        EXPECT_EQ(kReadFailed, readAt(reader.get(), position, length).result);
        EXPECT_EQ(position, reader->position);
        EXPECT_TRUE(log.takes(lines));
    }

    LogCapture log;
    ScriptedFile file;
    std::unique_ptr<HdfsFileReader> reader;
    std::size_t answerSize;
};

/// A failure of step 6 and beyond is logged at each of the three attempts.
Lines everyTime(const std::string &line)
{
    return {line, line, line, kAllDown};
}

/// Of three attempts with a failure of step 1 to 5 the first and the third are quiet.
Lines everyOtherTime(const std::string &line)
{
    return {line, kAllDown};
}

void refuseAnswer(WireRead *read, const std::string &answer)
{
    read->answer = answer;
    read->packets.clear();
    read->dataPackets = 0;
}

std::function<void(const ReadRequest &, WireRead *)> answers(const std::string &answer)
{
    return [answer](const ReadRequest &, WireRead *read) { refuseAnswer(read, answer); };
}

std::function<void(const ReadRequest &, WireRead *)> startsWith(const PacketHeaderProto &header)
{
    return [header](const ReadRequest &, WireRead *read) {
        read->packets[0] =
            dataPacket(header.SerializePartialAsString(), std::string(kChecksums, 'c'), std::string(kPacketData, 'd'));
    };
}

} // namespace

// Every row of the messages, with its step.

TEST_F(FailingRead, RequestThatCannotBeSentIsStepOne)
{
    SystemCallFaults faults;
    faults.failFrom(SystemCall::Send, 0, ECONNRESET);
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 96).result);
    EXPECT_TRUE(log.holds(everyOtherTime("Warning HDFS: TCPIP send failed (1)")));
    EXPECT_EQ(3, faults.count(SystemCall::Send));
}

TEST_F(FailingRead, RequestThatIsSentInPartIsStepOneAndIsNotContinued)
{
    SystemCallFaults faults;
    faults.limitSend(10);
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 96).result);
    EXPECT_TRUE(log.holds(everyOtherTime("Warning HDFS: TCPIP send failed (1)")));
    file.dataNode().peer().waitUntilOver(3);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(10u, file.dataNode().peer().received(i).size());
}

TEST_F(FailingRead, ConnectionThatEndsWithinTheAnswersFirstFourBytesIsStepTwo)
{
    for (std::uint64_t byte = 0; byte < 4; ++byte) {
        const std::size_t before = file.connectionCount();
        file.dataNode().peer().setSendFault(Fault::closeAt(byte));
        EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 96).result);
        EXPECT_TRUE(log.takes(
            {"Warning HDFS: TCPIP received failed (2)", "Warning HDFS: socket error: " + socketErrorOf(0), kAllDown}));
        file.dataNode().peer().setSendFault(Fault::resetAt(byte));
        EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 96).result);
        EXPECT_TRUE(log.takes(
            {"Warning HDFS: TCPIP received failed (2)", "Warning HDFS: socket error: " + resetError(), kAllDown}));
        EXPECT_EQ(before + 6, file.connectionCount());
    }
}

TEST_F(FailingRead, StepTwoNamesTheSystemsError)
{
    SystemCallFaults faults;
    faults.failFrom(SystemCall::Receive, 0, ETIMEDOUT);
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 96).result);
    EXPECT_TRUE(log.holds({"Warning HDFS: TCPIP received failed (2)",
                           "Warning HDFS: socket error: " + socketErrorOf(ETIMEDOUT), kAllDown}));
}

TEST_F(FailingRead, AnswerOfLengthZeroIsStepThree)
{
    expectRefused(answers(std::string(4, '\0')),
                  everyOtherTime("Warning HDFS: TCPIP received failed: erroneous size (3)"));
    expectRefused(answers(std::string("\x80\x80\x80\x00", 4)),
                  everyOtherTime("Warning HDFS: TCPIP received failed: erroneous size (3)"));
}

TEST_F(FailingRead, AnswerLengthThatDoesNotEndInFourBytesIsStepThree)
{
    expectRefused(answers("\x80\x80\x80\x80"),
                  everyOtherTime("Warning HDFS: TCPIP received failed: erroneous size (3)"));
    expectRefused(answers("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"),
                  everyOtherTime("Warning HDFS: TCPIP received failed: erroneous size (3)"));
    expectRefused(answers("\x80\x80\x80\x80\x01"),
                  everyOtherTime("Warning HDFS: TCPIP received failed: erroneous size (3)"));
}

TEST_F(FailingRead, ConnectionThatEndsWithinTheAnswerIsStepFour)
{
    for (std::uint64_t byte = 4; byte < answerSize; ++byte)
        expectFailureAt(byte, everyOtherTime("Warning HDFS: TCPIP received failed (4)"));
}

TEST_F(FailingRead, AnswerThatDoesNotDecodeIsStepFive)
{
    expectRefused(answers(lengthDelimited(std::string("\x08\x00\x22\x7F", 4))),
                  everyOtherTime("Warning HDFS: Block Decoding failed: parent stream too short (5)"));
    expectRefused(answers(lengthDelimited(std::string("\x0F\x00\x00\x00\x00", 5))),
                  everyOtherTime("Warning HDFS: Block Decoding failed: wrong wire type (5)"));
    BlockOpResponseProto withoutStatus;
    withoutStatus.set_message("no status");
    expectRefused(answers(lengthDelimited(withoutStatus)),
                  everyOtherTime("Warning HDFS: Block Decoding failed: missing required field (5)"));
}

TEST_F(FailingRead, AnswerOfOneByteIsStepFiveAndWaitsForNothingElse)
{
    // One byte cannot hold the required status; the three behind it belong to a packet.
    expectRefused(answers(std::string("\x01\x08\x00\x00", 4)),
                  everyOtherTime("Warning HDFS: Block Decoding failed: end-of-stream (5)"));
}

TEST_F(FailingRead, ChecksumsWithoutAChunkSizeAreStepFive)
{
    expectRefused(
        [](const ReadRequest &, WireRead *read) {
            BlockOpResponseProto answer;
            ASSERT_TRUE(answer.ParseFromString(read->answer.substr(1)));
            answer.mutable_readopchecksuminfo()->mutable_checksum()->set_bytesperchecksum(0);
            read->answer = lengthDelimited(answer);
        },
        everyOtherTime("Warning HDFS: Block Decoding failed: bytesPerChecksum is 0 (5)"));
}

TEST_F(FailingRead, RefusalShowsWhereThePacketsShouldBe)
{
    BlockOpResponseProto refusal;
    refusal.set_status(ERROR_ACCESS_TOKEN);
    refusal.set_message("Got access token error");
    const std::string line = std::string("Warning HDFS: TCPIP received failed (6) for block ") + kBlock0;
    for (int ends = 0; ends < 2; ++ends) {
        file.dataNode().peer().setSendFault(ends == 0 ? Fault::closeAt(lengthDelimited(refusal).size())
                                                      : Fault::resetAt(lengthDelimited(refusal).size()));
        expectRefused(
            [refusal](const ReadRequest &, WireRead *read) {
                refuseAnswer(read, lengthDelimited(refusal));
                read->packets.push_back("never sent");
            },
            everyTime(line));
    }
}

TEST_F(FailingRead, DeletedReplicaIsSteppedOverLikeAnyRefusal)
{
    ScriptedFile deleted({100});
    deleted.block(0)->mutable_b()->set_blockid(77);
    const std::unique_ptr<HdfsFileReader> unlucky = deleted.open();
    EXPECT_EQ(kReadFailed, readAt(unlucky.get(), 0, 100).result);
    EXPECT_TRUE(log.holds({"Warning HDFS: TCPIP received failed (6) for block 77",
                           "Warning HDFS: TCPIP received failed (6) for block 77",
                           "Warning HDFS: TCPIP received failed (6) for block 77",
                           "ERROR HDFS: All the data nodes that contains block 77 are down"}));
}

TEST_F(FailingRead, EachPlaceWithinAPacketHasItsStep)
{
    const std::string ofBlock = std::string(" for block ") + kBlock0;
    for (std::size_t packet = 0; packet < 3; ++packet) {
        const std::size_t start = answerSize + packet * kPacket;
        for (std::size_t byte = 0; byte < kPacket; ++byte) {
            std::string line;
            if (byte < kPrefix)
                line = "Warning HDFS: TCPIP received failed (6)" + ofBlock;
            else if (byte < kPrefix + kHeader)
                line = "Warning HDFS: TCPIP received failed (7)" + ofBlock;
            else if (byte < kPrefix + kHeader + kChecksums)
                line = "Warning HDFS: TCPIP received failed (9)" + ofBlock;
            else
                line = "Warning HDFS: TCPIP received failed (12)" + ofBlock;
            expectFailureAt(start + byte, everyTime(line));
        }
    }
}

TEST_F(FailingRead, FirstChunkOfAReadThatStartsWithinItIsStepTen)
{
    const std::size_t data = answerSize + kPacket - kPacketData;
    for (std::size_t byte = 0; byte < kChunk; ++byte)
        expectFailureAt(data + byte, everyTime("Warning HDFS: TCPIP received failed (10)"), 5, 91);
    expectFailureAt(data + kChunk,
                    everyTime(std::string("Warning HDFS: TCPIP received failed (12) for block ") + kBlock0), 5, 91);
}

TEST_F(FailingRead, WholeChunksOfAPacketThatHoldsMoreAreStepFourteenAndTheLastOneStepSixteen)
{
    const std::size_t data = answerSize + kPacket - kPacketData;
    for (std::size_t byte = 0; byte < kPacketData; ++byte) {
        expectFailureAt(data + byte,
                        everyTime(byte < kChunk ? "Warning HDFS: TCPIP received failed (14)"
                                                : "Warning HDFS: TCPIP received failed (16)"),
                        0, kChunk + 3);
    }
    const std::size_t dataOfOneChunk = data - 4; // one checksum less
    for (std::size_t byte = 0; byte < kChunk; ++byte)
        expectFailureAt(dataOfOneChunk + byte, everyTime("Warning HDFS: TCPIP received failed (16)"), 0, 3);
}

TEST_F(FailingRead, PacketHeaderThatDoesNotDecodeIsStepEight)
{
    PacketHeaderProto withoutOffset;
    withoutOffset.set_seqno(0);
    withoutOffset.set_lastpacketinblock(false);
    withoutOffset.set_datalen(kPacketData);
    expectRefused(startsWith(withoutOffset),
                  everyTime("Warning HDFS: Packet Decoding failed: missing required field (8)"));
    expectRefused([](const ReadRequest &,
                     WireRead *read) { read->packets[0] = dataPacket(std::string(30, '\xFF'), "checksums", "data"); },
                  everyTime("Warning HDFS: Packet Decoding failed: varint overflow (8)"));
    expectRefused(
        [](const ReadRequest &, WireRead *read) { read->packets[0] = dataPacket(std::string(), "checksums", "data"); },
        everyTime("Warning HDFS: Packet Decoding failed: missing required field (8)"));
    expectRefused([](const ReadRequest &,
                     WireRead *read) { read->packets[0] = dataPacket(std::string(65535, '\0'), "checksums", "data"); },
                  everyTime("Warning HDFS: Packet Decoding failed: zero tag (8)"));
}

TEST_F(FailingRead, PacketThatDoesNotFollowIsStepEight)
{
    struct {
        std::int64_t offset;
        std::int32_t dataLength;
        const char *reason;
    } const lies[] = {
        {0, 0, "no data"},
        {0, -1, "negative dataLen"},
        {0, std::numeric_limits<std::int32_t>::min(), "negative dataLen"},
        {-1, kPacketData, "offsetInBlock behind the wanted byte"},
        {std::numeric_limits<std::int64_t>::min(), kPacketData, "offsetInBlock behind the wanted byte"},
        {1, kPacketData, "offsetInBlock behind the wanted byte"},
        {std::numeric_limits<std::int64_t>::max(), kPacketData, "offsetInBlock behind the wanted byte"},
    };
    for (const auto &lie : lies) {
        expectRefused(startsWith(packetHeader(lie.offset, 0, lie.dataLength)),
                      everyTime(std::string("Warning HDFS: Packet Decoding failed: ") + lie.reason + " (8)"));
    }
    const char before[] = "Warning HDFS: Packet Decoding failed: offsetInBlock before the wanted chunk (8)";
    expectRefused(startsWith(packetHeader(32, 0, kPacketData)), everyTime(before), 48, 48);
    expectRefused(startsWith(packetHeader(0, 0, kPacketData)), everyTime(before), 48, 48);
    expectRefused(startsWith(packetHeader(48, 0, 2)), everyTime(before), 50, 46);
}

TEST_F(FailingRead, ChunkThatIsOutOfAllProportionIsStepEight)
{
    const std::uint32_t chunk = 16 * 1024 * 1024 + 1;
    expectRefused(
        [chunk](const ReadRequest &, WireRead *read) {
            BlockOpResponseProto answer;
            answer.set_status(SUCCESS);
            answer.mutable_readopchecksuminfo()->mutable_checksum()->set_type(CHECKSUM_CRC32C);
            answer.mutable_readopchecksuminfo()->mutable_checksum()->set_bytesperchecksum(chunk);
            answer.mutable_readopchecksuminfo()->set_chunkoffset(0);
            read->answer = lengthDelimited(answer);
            read->packets[0] =
                dataPacket(packetHeader(0, 0, static_cast<std::int32_t>(chunk)), "sums", std::string(chunk, 'd'));
        },
        everyTime("Warning HDFS: Packet Decoding failed: chunk too large (8)"));
}

TEST_F(FailingRead, LaterPacketMustStartWhereTheOneBeforeEnded)
{
    const std::int64_t offsets[] = {0, 31, 33, 64, -32};
    for (std::int64_t offset : offsets) {
        const char *reason = offset >= 0 && offset < 32 ? "offsetInBlock before the wanted chunk"
                                                        : "offsetInBlock behind the wanted byte";
        expectRefused(
            [offset](const ReadRequest &, WireRead *read) {
                read->packets[1] = dataPacket(packetHeader(offset, 1, kPacketData), std::string(kChecksums, 'c'),
                                              std::string(kPacketData, 'd'));
            },
            everyTime(std::string("Warning HDFS: Packet Decoding failed: ") + reason + " (8)"));
    }
}

TEST_F(FailingRead, RangeThatEndsEarlyIsStepEight)
{
    // The closing empty packet comes while data are owed.
    expectRefused([](const ReadRequest &, WireRead *read) { read->packets.erase(read->packets.begin() + 2); },
                  everyTime("Warning HDFS: Packet Decoding failed: no data (8)"));
}

// Which DataNode is tried, how often, and what is remembered.

TEST(FailOver, QuietFailureThenLoggedOneThenTheNextDataNode)
{
    LogCapture log;
    ScriptedFile file({1000}, 2);
    file.dataNode(0).allConnections(ScriptedDataNode::ClosesAtOnce);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 0, 1000);
    EXPECT_EQ(1000u, outcome.result);
    EXPECT_EQ(file.bytes(), outcome.bytes);
    EXPECT_TRUE(log.holds({"Warning HDFS: TCPIP received failed (2)", "Warning HDFS: socket error: *"}));
    EXPECT_EQ(2u, file.dataNode(0).connectionCount());
    EXPECT_EQ(1u, file.dataNode(1).connectionCount());
    EXPECT_EQ(1, reader->blocks[0]->firstLocation->down);
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->next->down);
}

TEST(FailOver, OneQuietFailureLeavesNoTrace)
{
    LogCapture log;
    ScriptedFile file({1000}, 2);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ScriptedDataNode::Conduct conducts[] = {ScriptedDataNode::ClosesAtOnce, ScriptedDataNode::ResetsAtOnce,
                                                  ScriptedDataNode::ClosesAfterRequest,
                                                  ScriptedDataNode::ResetsAfterRequest};
    std::size_t connections = 0;
    for (ScriptedDataNode::Conduct conduct : conducts) {
        file.dataNode(0).nextConnections({conduct});
        EXPECT_EQ(1000u, readAt(reader.get(), 0, 1000).result);
        EXPECT_TRUE(log.holds({}));
        EXPECT_EQ(connections += 2, file.dataNode(0).connectionCount());
    }
    EXPECT_EQ(0u, file.dataNode(1).connectionCount());
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
}

TEST(FailOver, QuietRetryIsThereAgainAfterALoggedFailure)
{
    LogCapture log;
    ScriptedFile file({1000}, 2);
    file.dataNode(0).allConnections(ScriptedDataNode::ClosesAfterRequest);
    file.dataNode(1).allConnections(ScriptedDataNode::ClosesAfterRequest);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 1000).result);
    // Six attempts: quiet and logged on the first, on the second, and on the first again.
    EXPECT_TRUE(log.holds({"Warning HDFS: TCPIP received failed (2)", "Warning HDFS: socket error: " + socketErrorOf(0),
                           "Warning HDFS: TCPIP received failed (2)", "Warning HDFS: socket error: " + socketErrorOf(0),
                           "Warning HDFS: TCPIP received failed (2)", "Warning HDFS: socket error: " + socketErrorOf(0),
                           kAllDown}));
    EXPECT_EQ(4u, file.dataNode(0).connectionCount());
    EXPECT_EQ(2u, file.dataNode(1).connectionCount());
    EXPECT_EQ(1, reader->blocks[0]->firstLocation->down);
    EXPECT_EQ(1, reader->blocks[0]->firstLocation->next->down);
}

TEST(FailOver, FailureWithinThePacketsIsNeverQuiet)
{
    LogCapture log;
    ScriptedFile file({1000}, 3);
    for (std::size_t node = 0; node < 3; ++node)
        file.dataNode(node).peer().setSendFault(Fault::closeAt(100));
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 1000).result);
    ASSERT_EQ(10u, log.lines().size());
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_EQ("Warning HDFS: TCPIP received failed (12) for block 1073741825", log.texts()[i]);
    for (std::size_t node = 0; node < 3; ++node)
        EXPECT_EQ(3u, file.dataNode(node).connectionCount()) << "nine attempts go round three times";
}

TEST(FailOver, RotationComesBackToTheFirstDataNodeAlsoWhenItIsMarkedDown)
{
    LogCapture log;
    ScriptedFile file({1000}, 2);
    file.dataNode(0).nextConnections({ScriptedDataNode::ClosesAfterRequest, ScriptedDataNode::ClosesAfterRequest});
    file.dataNode(1).allConnections(ScriptedDataNode::ClosesAfterRequest);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 0, 1000);
    EXPECT_EQ(1000u, outcome.result);
    EXPECT_EQ(file.bytes(), outcome.bytes);
    EXPECT_EQ(3u, file.dataNode(0).connectionCount());
    EXPECT_EQ(2u, file.dataNode(1).connectionCount());
    EXPECT_EQ(1, reader->blocks[0]->firstLocation->down) << "success does not clear it";
}

TEST(FailOver, NextReadStartsWithTheSameDataNodeAgain)
{
    LogCapture log;
    ScriptedFile file({1000}, 2);
    file.dataNode(0).allConnections(ScriptedDataNode::ClosesAfterRequest);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::size_t i = 1; i <= 3; ++i) {
        EXPECT_EQ(1000u, readAt(reader.get(), 0, 1000).result);
        EXPECT_EQ(2 * i, file.dataNode(0).connectionCount());
        EXPECT_EQ(i, file.dataNode(1).connectionCount());
        EXPECT_EQ(reader->blocks[0]->firstLocation, reader->blocks[0]->currentLocation);
    }
}

TEST(FailOver, DataNodeThatRefusesIsDeliberatelyTriedUntilTheAttemptsAreUsedUp)
{
    LogCapture log;
    ScriptedFile file({1000}, 2);
    const RefusingPort refusing;
    file.block(0)->mutable_locs(0)->mutable_id()->set_xferport(static_cast<std::uint32_t>(refusing.port()));
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const SystemCallFaults calls;
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 1000).result);
    EXPECT_TRUE(log.holds({kAllDown}));
    EXPECT_EQ(std::vector<std::string>(6, "127.0.0.1:" + std::to_string(refusing.port())), calls.connected());
    EXPECT_EQ(0u, file.connectionCount());
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->next->down);
}

TEST(FailOver, ConnectThatFailsOnceCostsAnAttemptWithoutAWord)
{
    LogCapture log;
    ScriptedFile file({1000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const SystemCall calls[] = {SystemCall::Resolve, SystemCall::Socket, SystemCall::Connect};
    for (SystemCall call : calls) {
        SystemCallFaults faults;
        faults.fail(call, 0, call == SystemCall::Resolve ? EAI_AGAIN : ECONNREFUSED);
        EXPECT_EQ(1000u, readAt(reader.get(), 0, 1000).result);
        EXPECT_TRUE(faults.hasFailed(call));
        EXPECT_TRUE(log.holds({}));
    }
}

TEST(FailOver, HostThatDoesNotResolveCostsAllAttempts)
{
    LogCapture log;
    ScriptedFile file({1000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    SystemCallFaults faults;
    faults.failFrom(SystemCall::Resolve, 0, EAI_NONAME);
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 1000).result);
    EXPECT_EQ(3, faults.count(SystemCall::Resolve));
    EXPECT_TRUE(log.holds({kAllDown}));
}

TEST(FailOver, BlockStartsAgainFromItsFirstWantedByte)
{
    LogCapture log;
    ScriptedFile file({96}, 2);
    ScriptedDataNode::Serving serving = smallPackets();
    // What the first DataNode sends before it breaks off is wrong: none of it may stay.
    serving.alter = [](const ReadRequest &, WireRead *read) {
        for (std::string &packet : read->packets) {
            if (packet.size() == kPacket)
                packet.replace(kPacket - kPacketData, kPacketData, kPacketData, 'W');
        }
    };
    file.dataNode(0).serve(serving);
    file.dataNode(0).peer().setSendFault(Fault::closeAt(200));
    file.dataNode(1).serve(smallPackets());
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome whole = readAt(reader.get(), 0, 96);
    EXPECT_EQ(96u, whole.result);
    EXPECT_EQ(file.bytes(), whole.bytes);
    // The second DataNode's first packet starts mid-chunk too and must be cut like a first one.
    const ReadOutcome midChunk = readAt(reader.get(), 7, 80);
    EXPECT_EQ(80u, midChunk.result);
    EXPECT_EQ(file.bytes().substr(7, 80), midChunk.bytes);
    ASSERT_EQ(2u, file.dataNode(1).requests().size());
    EXPECT_EQ(7u, file.dataNode(1).requests()[1].offset);
    EXPECT_EQ(80u, file.dataNode(1).requests()[1].length);
    EXPECT_TRUE(log.holds({"Warning HDFS: TCPIP received failed *", "Warning HDFS: TCPIP received failed *"}));
}

TEST(FailOver, LaterBlockFailsOverOnItsOwnAndEarlierBlocksStay)
{
    LogCapture log;
    ScriptedFile file({96, 96, 96}, 2);
    for (std::size_t node = 0; node < 2; ++node)
        file.dataNode(node).serve(smallPackets());
    // The first block is served by the first DataNode, whose second connection breaks.
    file.dataNode(0).peer().setSendFault(Fault::resetAt(150), 1);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 40, 230);
    EXPECT_EQ(230u, outcome.result);
    EXPECT_EQ(file.bytes().substr(40, 230), outcome.bytes);
    ASSERT_EQ(1u, file.dataNode(1).requests().size());
    EXPECT_EQ(ScriptedFile::blockId(1), file.dataNode(1).requests()[0].blockId);
    EXPECT_EQ(0u, file.dataNode(1).requests()[0].offset);
    EXPECT_EQ(1u, log.lines().size());
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
    EXPECT_EQ(1, reader->blocks[1]->firstLocation->down);
    EXPECT_EQ(0, reader->blocks[2]->firstLocation->down) << "the flag is the block's own";
}

TEST(FailOver, AttemptsAreCountedForEachBlock)
{
    LogCapture log;
    ScriptedFile file({100, 100, 100});
    file.dataNode().nextConnections({ScriptedDataNode::ClosesAfterRequest, ScriptedDataNode::ClosesAfterRequest,
                                     ScriptedDataNode::Serves, ScriptedDataNode::ClosesAfterRequest,
                                     ScriptedDataNode::ClosesAfterRequest});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(300u, readAt(reader.get(), 0, 300).result);
    EXPECT_EQ(7u, file.connectionCount());
    EXPECT_EQ(4u, log.lines().size());
}

TEST(FailOver, BlockThatNoDataNodeGivesFailsTheReadButLeavesWhatCameBefore)
{
    LogCapture log;
    ScriptedFile file({100, 100});
    file.dataNode().nextConnections({ScriptedDataNode::Serves});
    file.dataNode().allConnections(ScriptedDataNode::ClosesAfterRequest);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 30, 170);
    EXPECT_EQ(kReadFailed, outcome.result);
    EXPECT_EQ(file.bytes().substr(30, 70), outcome.bytes.substr(0, 70));
    EXPECT_EQ(30, reader->position);
    EXPECT_EQ(0, reader->blockIndex);
    EXPECT_TRUE(log.holds({"Warning HDFS: TCPIP received failed (2)", "Warning HDFS: socket error: " + socketErrorOf(0),
                           "ERROR HDFS: All the data nodes that contains block 1073741826 are down"}));
}

TEST(FailOver, LaterBlockWithoutLocationsIsStepEighteen)
{
    LogCapture log;
    ScriptedFile file({100, 100});
    file.block(1)->clear_locs();
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 30, 170);
    EXPECT_EQ(kReadNoLocation, outcome.result);
    EXPECT_EQ(0xFFFFFFFEu, outcome.result);
    EXPECT_EQ(30, reader->position);
    EXPECT_TRUE(log.holds({"ERROR HDFS: No data node that contains block 1073741826 (18)"}));
    EXPECT_EQ(1u, file.connectionCount());
    EXPECT_EQ(70u, readAt(reader.get(), 30, 70).result) << "what lies in front of it can be read";
}

TEST(FailOver, ReaderGoesOnAfterAFailedRead)
{
    LogCapture log;
    ScriptedFile file({1000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    file.dataNode().nextConnections({ScriptedDataNode::ClosesAfterRequest, ScriptedDataNode::ClosesAfterRequest,
                                     ScriptedDataNode::ClosesAfterRequest});
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 5, 100).result);
    EXPECT_EQ(0xFFFFFFFFu, kReadFailed);
    log.clear();
    const ReadOutcome outcome = readAt(reader.get(), 5, 100);
    EXPECT_EQ(100u, outcome.result);
    EXPECT_EQ(file.bytes().substr(5, 100), outcome.bytes);
    EXPECT_TRUE(log.holds({}));
}
