#include "io/WritePipeline.h"

#include "testing/HeapInUse.h"
#include "testing/LogCapture.h"
#include "testing/ScriptedDataNode.h"
#include "testing/ScriptedFile.h"
#include "testing/ScriptedNewFile.h"
#include "testing/ScriptedWriteNode.h"
#include "testing/SocketErrors.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>

using namespace hadoop::oracle;

namespace {

typedef std::vector<std::string> Lines;
typedef ScriptedWriteNode::Serving Serving;

const std::uint32_t kNoSuspect = 4711;

class WritePipeline : public ::testing::Test
{
protected:
    WritePipeline() : chunkSize(1024), syncBlock(false), bytesInBlocks(0), suspect(kNoSuspect), m_blocks(0)
    {
        setLocations({node.location("first")});
    }
    ~WritePipeline() override { connection.dataNodeSocket.close(); }

    void setLocations(const std::vector<DatanodeInfoProto> &locations)
    {
        given = givenBlock(m_blocks++, locations);
        node.expect(given);
    }

    PipelineResult write(const std::string &bytes)
    {
        const OwnedLocatedBlock block = located(given);
        const BlockWrite write = {bytes.data(),  static_cast<std::uint32_t>(bytes.size()),
                                  chunkSize,     syncBlock,
                                  bytesInBlocks, &checksumState};
        // All of it is written before it is sent.
        std::fill(std::begin(packets.bytes), std::end(packets.bytes), 0xA5);
        return runWritePipeline(&connection, *block, write, &packets, &suspect);
    }

    /// Writes a block of so many bytes and checks that just these have come.
    void expectWritten(std::size_t size)
    {
        const std::string bytes = patternBytes(size, static_cast<unsigned>(size) + 1);
        EXPECT_EQ(BlockWritten, write(bytes)) << size;
        EXPECT_TRUE(log.takes({}));
        EXPECT_EQ(0u, suspect);
        const WrittenBlock block = node.blocks().back();
        EXPECT_TRUE(block.isWhole) << size;
        EXPECT_TRUE(bytes == block.data) << size;
        EXPECT_EQ(bytesInBlocks, block.request.minbytesrcvd());
        EXPECT_EQ(bytesInBlocks + size, block.request.maxbytesrcvd());
        EXPECT_EQ(chunkSize, block.request.requestedchecksum().bytesperchecksum());
    }

    void expectFailed(const Lines &lines, std::size_t size = 100)
    {
        EXPECT_EQ(AttemptFailed, write(patternBytes(size)));
        EXPECT_TRUE(log.takes(lines));
        connection.dataNodeSocket.close();
        node.peer().waitUntilOver(node.connectionCount());
    }

    /// The set-up is answered with these bytes: the attempt must fail without a packet.
    void expectAnswerRefused(const std::string &answer, const Lines &lines)
    {
        Serving serving;
        serving.answer = answer;
        serving.closesBehind = Serving::Answer;
        node.serve(serving);
        expectFailed(lines);
        const std::string received = node.peer().received(node.connectionCount() - 1);
        EXPECT_EQ(3 + lengthDelimited(node.blocks().back().request).size(), received.size()) << "no packet is sent";
    }

    /// The acknowledgement of packet `seqno` has these bytes, and behind them the connection ends.
    void expectAckRefused(std::int64_t seqno, const std::string &bytes, const Lines &lines)
    {
        Serving serving;
        serving.sendsEverythingAtOnce = true;
        serving.ack = [seqno, bytes](std::int64_t asked) {
            return asked < seqno ? pipelineAck(asked, {SUCCESS}) : asked == seqno ? bytes : std::string();
        };
        node.serve(serving);
        expectFailed(lines);
    }

    std::size_t packetsOf(std::size_t block = 0) const { return node.blocks()[block].packets.size(); }

    LogCapture log;
    ScriptedWriteNode node;
    NameNodeConnection connection;
    LocatedBlockProto given;
    Crc32cState checksumState;
    PacketBuffer packets;
    std::uint32_t chunkSize;
    bool syncBlock;
    std::uint64_t bytesInBlocks;
    std::uint32_t suspect;

private:
    std::size_t m_blocks;
};

DatanodeInfoProto otherLocation(const std::string &name)
{
    DatanodeInfoProto location = someLocation("192.0.2.1", 9866, "uuid-" + name);
    location.mutable_id()->set_hostname(name + ".example");
    location.mutable_id()->set_infosecureport(9865);
    location.set_capacity(77);
    location.set_location("/rack");
    return location;
}

} // namespace

// What is sent. The scripted DataNode checks each byte: prefix, request, lengths, headers, checksums.

TEST_F(WritePipeline, BlockOfLessThanAChunkIsOnePacketAndTheEmptyLastOne)
{
    for (std::size_t size : {1u, 2u, 100u, 1023u}) {
        setLocations({node.location("first")});
        expectWritten(size);
        const WrittenBlock block = node.blocks().back();
        ASSERT_EQ(2u, block.packets.size());
        EXPECT_EQ(0, block.packets[0].seqno());
        EXPECT_EQ(1, block.packets[1].seqno());
        EXPECT_EQ(static_cast<std::int64_t>(size), block.packets[1].offsetinblock());
    }
}

TEST_F(WritePipeline, PacketHoldsFiveHundredChunks)
{
    expectWritten(512000);
    ASSERT_EQ(2u, packetsOf());
    EXPECT_EQ(512000, node.blocks()[0].packets[0].datalen());
    expectWritten(512001);
    ASSERT_EQ(3u, packetsOf(1));
    EXPECT_EQ(512000, node.blocks()[1].packets[0].datalen());
    EXPECT_EQ(1, node.blocks()[1].packets[1].datalen());
}

TEST_F(WritePipeline, AnyLengthIsCutIntoChunksAndPackets)
{
    for (std::uint32_t chunk : {1u, 3u, 16u, 512u, 1000u, 1024u, 4096u}) {
        chunkSize = chunk;
        const std::size_t sizes[] = {1,
                                     chunk,
                                     chunk + 1,
                                     2 * chunk,
                                     7 * chunk + chunk / 2,
                                     8 * chunk,
                                     499 * chunk + 1,
                                     500 * chunk - 1,
                                     500 * chunk,
                                     500 * chunk + 1,
                                     1000 * chunk,
                                     1001 * chunk};
        for (std::size_t size : sizes) {
            expectWritten(size);
            EXPECT_EQ((size + 500 * chunk - 1) / (500 * chunk) + 1, node.blocks().back().packets.size());
        }
    }
}

TEST_F(WritePipeline, ChunkMayBeLargerThanTheBlock)
{
    chunkSize = 0x7FFFFFFF;
    expectWritten(5000);
    chunkSize = 0xFFFFFFFF;
    expectWritten(5000);
    EXPECT_EQ(2u, packetsOf(1));
}

TEST_F(WritePipeline, EmptyBlockIsTheLastPacketAlone)
{
    expectWritten(0);
    ASSERT_EQ(1u, packetsOf());
    const PacketHeaderProto last = node.blocks()[0].packets[0];
    EXPECT_EQ(0, last.seqno());
    EXPECT_EQ(0, last.offsetinblock());
    EXPECT_TRUE(last.lastpacketinblock());
    EXPECT_TRUE(last.syncblock());
}

TEST_F(WritePipeline, SyncBlockIsInEachHeaderOnlyWhenItIsAskedFor)
{
    chunkSize = 2;
    expectWritten(2001);
    syncBlock = true;
    expectWritten(2001);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_FALSE(node.blocks()[0].packets[i].has_syncblock()) << i;
        EXPECT_TRUE(node.blocks()[1].packets[i].syncblock()) << i;
    }
    for (std::size_t block = 0; block < 2; ++block)
        EXPECT_TRUE(node.blocks()[block].packets[3].syncblock()) << "the last packet always";
}

TEST_F(WritePipeline, LengthsInTheRequestGoOnFromTheBlocksBefore)
{
    for (std::uint64_t before :
         {std::uint64_t(1), std::uint64_t(127), std::uint64_t(1) << 32, std::uint64_t(1) << 62}) {
        bytesInBlocks = before;
        expectWritten(3000);
    }
}

TEST_F(WritePipeline, OtherDataNodesAreTargetsInTheirOrder)
{
    setLocations({node.location("first"), otherLocation("z"), otherLocation("a"), otherLocation("m")});
    expectWritten(2500);
    const OpWriteBlockProto request = node.blocks()[0].request;
    ASSERT_EQ(3, request.targets_size());
    EXPECT_EQ(3u, request.pipelinesize());
    EXPECT_EQ("z.example", request.targets(0).id().hostname());
    EXPECT_EQ("m.example", request.targets(2).id().hostname());
}

TEST_F(WritePipeline, DataAreSentFromAnyAddress)
{
    const std::string bytes = patternBytes(9000);
    for (std::size_t start = 0; start < 9; ++start) {
        const std::string part = bytes.substr(start, 8192);
        const OwnedLocatedBlock block = located(given);
        const BlockWrite write = {bytes.data() + start, 8192, 1024, false, 0, &checksumState};
        EXPECT_EQ(BlockWritten, runWritePipeline(&connection, *block, write, &packets));
        EXPECT_TRUE(part == node.blocks().back().data);
    }
}

TEST_F(WritePipeline, RequestOfJustAThousandBytesFits)
{
    expectWritten(10);
    OpWriteBlockProto request = node.blocks()[0].request;
    std::string *identifier = request.mutable_header()->mutable_baseheader()->mutable_token()->mutable_identifier();
    while (request.ByteSizeLong() < 1000)
        *identifier += 'i';
    ASSERT_EQ(1000u, request.ByteSizeLong());
    given.mutable_blocktoken()->set_identifier(*identifier);
    node.expect(given);
    expectWritten(10);
    EXPECT_EQ(1000u, node.blocks()[1].request.ByteSizeLong());

    given.mutable_blocktoken()->set_identifier(*identifier + 'i');
    EXPECT_EQ(RequestNotEncoded, write(patternBytes(10)));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
}

TEST_F(WritePipeline, RequestThatDoesNotFitIsNotSent)
{
    std::vector<DatanodeInfoProto> locations(1, node.location("first"));
    for (int i = 1; i < 128; ++i)
        locations.push_back(otherLocation(std::to_string(i)));
    setLocations(locations);
    EXPECT_EQ(RequestNotEncoded, write(patternBytes(10)));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    connection.dataNodeSocket.close();
    node.peer().waitUntilOver(1);
    EXPECT_EQ("", node.peer().received(0));
}

// Connecting.

TEST_F(WritePipeline, DataNodeThatCannotBeReachedFailsTheAttempt)
{
    const RefusingPort refusing;
    given.mutable_locs(0)->mutable_id()->set_xferport(static_cast<std::uint32_t>(refusing.port()));
    expectFailed({"Cannot connect to datanode"});
    EXPECT_EQ(0u, suspect);
}

TEST_F(WritePipeline, BlockWithoutDataNodesFailsTheAttempt)
{
    given.clear_locs();
    expectFailed({"Cannot connect to datanode"});
}

TEST_F(WritePipeline, KeptSocketTakesTheNextBlock)
{
    connection.keepDataNodeConnection = true;
    Serving serving;
    serving.keepsConnection = true;
    node.serve(serving);
    for (std::size_t size : {3000u, 0u, 512001u, 1u}) {
        setLocations({node.location("first")});
        expectWritten(size);
    }
    EXPECT_EQ(1u, node.connectionCount());
}

// The answer to the request.

TEST_F(WritePipeline, AnswerLengthOfZeroIsErroneous)
{
    const Lines lines = {"TCPIP received failed: erroneous size"};
    expectAnswerRefused(std::string(4, '\0'), lines);
    expectAnswerRefused(std::string("\x80\x80\x80\x00", 4), lines);
}

TEST_F(WritePipeline, AnswerLengthThatDoesNotEndInFourBytesIsErroneous)
{
    expectAnswerRefused("\xFF\xFF\xFF\xFF\x0F", {"TCPIP received failed: erroneous size"});
    expectAnswerRefused("\x80\x80\x80\x80\x01", {"TCPIP received failed: erroneous size"});
}

TEST_F(WritePipeline, ConnectionThatEndsWithinTheAnswerIsLoggedWithTheSocketError)
{
    const std::string answer = pipelineAnswer();
    for (std::size_t byte = 0; byte < answer.size(); ++byte) {
        node.peer().setSendFault(Fault::closeAt(byte));
        expectFailed({"TCPIP received failed", "Error at socket(): " + socketErrorOf(0)});
        node.peer().setSendFault(Fault::resetAt(byte));
        expectFailed({"TCPIP received failed", "Error at socket(): " + resetError()});
    }
}

TEST_F(WritePipeline, ConnectionThatEndsBehindTheConnectIsLoggedWithTheSocketError)
{
    Serving serving;
    serving.closesBehind = Serving::Connect;
    node.serve(serving);
    expectFailed({"TCPIP received failed", "Error at socket(): " + socketErrorOf(0)});
    serving.closesBehind = Serving::Request;
    node.serve(serving);
    expectFailed({"TCPIP received failed", "Error at socket(): " + socketErrorOf(0)});
}

TEST_F(WritePipeline, AnswerThatDoesNotDecodeFailsTheAttempt)
{
    expectAnswerRefused(lengthDelimited(std::string("\x12\x00\x2A\x00", 4)),
                        {"Block Decoding failed: missing required field"});
    expectAnswerRefused(lengthDelimited(std::string("\x08\x00\x12\x7F", 4)), {"Block Decoding failed: *"});
    expectAnswerRefused(lengthDelimited(std::string(3, '\xFF')), {"Block Decoding failed: *"});
}

TEST_F(WritePipeline, AnyStatusButSuccessRefusesThePipeline)
{
    for (std::uint32_t status : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 12u, 13u, 99u}) {
        expectAnswerRefused(pipelineAnswer(status, "", "why"), {"Cannot create Pipeline"});
        EXPECT_EQ(0u, suspect);
    }
    // One that no schema knows, and one that is the largest.
    expectAnswerRefused(lengthDelimited(std::string("\x08\xE8\x07", 3)), {"Cannot create Pipeline"});
    expectAnswerRefused(lengthDelimited(std::string("\x08\xFF\xFF\xFF\xFF\x0F", 6)), {"Cannot create Pipeline"});
}

TEST_F(WritePipeline, AnswerMayHaveAnyFieldsOfNewerServers)
{
    Serving serving;
    BlockOpResponseProto answer;
    answer.set_status(SUCCESS);
    answer.set_firstbadlink("");
    answer.set_shortcircuitaccessversion(1);
    answer.mutable_checksumresponse()->set_bytespercrc(1024);
    answer.mutable_checksumresponse()->set_crcperblock(2);
    answer.mutable_checksumresponse()->set_blockchecksum("md5");
    google::protobuf::UnknownFieldSet *fields = answer.GetReflection()->MutableUnknownFields(&answer);
    fields->AddVarint(4000, 77);
    fields->AddFixed64(4001, 78);
    fields->AddLengthDelimited(4002, "of a newer server");
    serving.answer = lengthDelimited(answer);
    node.serve(serving);
    expectWritten(2000);
    for (std::size_t size : {100u, 20000u, 3000000u}) {
        answer.set_message(std::string(size, 'm'));
        serving.answer = lengthDelimited(answer);
        node.serve(serving);
        expectWritten(2000);
    }
}

TEST_F(WritePipeline, AnswerOfFewerBytesThanAreReceivedForItsLengthEndsWhereItEnds)
{
    // One byte cannot hold a status. The bytes behind it are there already.
    expectAnswerRefused(std::string("\x01\x08", 2) + pipelineAck(0, {SUCCESS}), {"Block Decoding failed: *"});
    // Two and three bytes; the four that are received first reach into the acknowledgements.
    const std::string answers[] = {std::string("\x02\x08\x00", 3), std::string("\x03\x08\x80\x00", 4)};
    for (const std::string &answer : answers) {
        Serving serving;
        serving.answer = answer;
        serving.acksAhead = 1;
        node.serve(serving);
        expectWritten(2000);
    }
}

TEST_F(WritePipeline, ShortestAnswerIsEnoughForTheFirstPacketToGoOut)
{
    // A DataNode that says no more than that it is well, and then waits for what comes.
    Serving serving;
    serving.answer = std::string("\x02\x08\x00", 3);
    node.serve(serving);
    expectWritten(2000);
}

TEST_F(WritePipeline, HugeAnswerTakesNoMemoryBeforeItComes)
{
    ScriptedPeer peer;
    std::atomic<std::size_t> most(0);
    const std::size_t before = heapInUse();
    peer.addScript([&](ScriptedConnection &link) {
        link.waitForMore();
        link.send("\xFF\xFF\xFF\x7F" + std::string(100000, 'x'));
        link.pause(20);
        most = heapInUse();
        link.close();
    });
    given.mutable_locs(0)->mutable_id()->set_xferport(static_cast<std::uint32_t>(peer.port()));
    EXPECT_EQ(AttemptFailed, write(patternBytes(10)));
    EXPECT_TRUE(log.takes({"TCPIP received failed", "Error at socket(): " + socketErrorOf(0)}));
    EXPECT_LT(most, before + (2 << 20));
}

// Who is to blame.

TEST_F(WritePipeline, RefusalNamesTheDataNodeThatCouldNotBeReached)
{
    setLocations({node.location("first"), otherLocation("second"), otherLocation("third")});
    given.mutable_locs(2)->mutable_id()->set_ipaddr("192.0.2.3");
    node.expect(given);
    const struct {
        std::string link;
        std::uint32_t position;
    } cases[] = {{"192.0.2.3:9866", 2},
                 {"192.0.2.1:9866", 1},
                 {"second.example:9866", 1},
                 {"third.example:9866", 2},
                 {"", 0},
                 {"192.0.2.3:986", 0},
                 {"192.0.2.3:98660", 0},
                 {"192.0.2.3", 0},
                 {"192.0.2.33:9866", 0},
                 {"hundred.example:9866", 0}};
    for (const auto &each : cases) {
        suspect = kNoSuspect;
        expectAnswerRefused(pipelineAnswer(ERROR, each.link, ""), {"Cannot create Pipeline"});
        EXPECT_EQ(each.position, suspect) << each.link;
    }
}

TEST_F(WritePipeline, LinkInASuccessfulAnswerIsNoBlame)
{
    setLocations({node.location("first"), otherLocation("second")});
    Serving serving;
    serving.answer = pipelineAnswer(SUCCESS, "192.0.2.1:9866", "");
    node.serve(serving);
    expectWritten(100);
}

TEST_F(WritePipeline, FirstReplyThatIsNoSuccessIsBlamed)
{
    setLocations({node.location("first"), otherLocation("second"), otherLocation("third")});
    const struct {
        std::vector<std::uint32_t> replies;
        std::uint32_t position;
    } cases[] = {{{0, 0, 1}, 2}, {{0, 1, 1}, 1}, {{1, 1, 1}, 0}, {{0, 0, 0, 1}, 0}, {{}, 0}, {{0, 2, 0, 7}, 1}};
    for (const auto &each : cases) {
        suspect = kNoSuspect;
        expectAckRefused(0, pipelineAck(0, each.replies), {"error ACK paquet"});
        EXPECT_EQ(each.position, suspect);
    }
}

TEST_F(WritePipeline, SuspectNeedNotBeAskedFor)
{
    Serving serving;
    serving.answer = pipelineAnswer(ERROR, "192.0.2.1:9866", "");
    node.serve(serving);
    const OwnedLocatedBlock block = located(given);
    const BlockWrite write = {"abc", 3, 1024, false, 0, &checksumState};
    EXPECT_EQ(AttemptFailed, runWritePipeline(&connection, *block, write, &packets));
    EXPECT_TRUE(log.takes({"Cannot create Pipeline"}));
}

// Acknowledgements.

TEST_F(WritePipeline, AckOfLengthZeroIsErroneous)
{
    expectAckRefused(0, std::string(1, '\0'), {"TCPIP received failed: erroneous size"});
    expectAckRefused(1, std::string(1, '\0'), {"TCPIP received failed: erroneous size"});
}

TEST_F(WritePipeline, AckOfMoreThan127BytesIsErroneous)
{
    for (const char *length : {"\x80\x01", "\xFF\x01", "\x80\x80\x80\x01"})
        expectAckRefused(0, length + std::string(300, 'a'), {"TCPIP received failed: erroneous size"});
}

TEST_F(WritePipeline, ReplyBeyond32BitsIsNoSuccess)
{
    // seqno 0; reply 2^32, a varint of five bytes.
    const std::string ack("\x08\x00\x10\x80\x80\x80\x80\x10", 8);
    expectAckRefused(0, lengthDelimited(ack), {"error ACK paquet"});
}

TEST_F(WritePipeline, AckOf127BytesIsTheLongest)
{
    PipelineAckProto ack;
    ack.add_reply(SUCCESS);
    ack.set_seqno(0);
    google::protobuf::UnknownFieldSet *fields = ack.GetReflection()->MutableUnknownFields(&ack);
    fields->AddLengthDelimited(4000, std::string(127 - ack.ByteSizeLong() - 4, 'u'));
    const std::string longest = lengthDelimited(ack);
    ASSERT_EQ(128u, longest.size());
    Serving serving;
    serving.ack = [longest](std::int64_t seqno) { return seqno == 0 ? longest : pipelineAck(seqno, {SUCCESS}); };
    node.serve(serving);
    expectWritten(100);
}

TEST_F(WritePipeline, ConnectionThatEndsInFrontOfAnAckIsLoggedWithTheSocketError)
{
    expectAckRefused(0, "", {"TCPIP received failed", "Error at socket(): " + socketErrorOf(0)});
    expectAckRefused(1, "", {"TCPIP received failed", "Error at socket(): " + socketErrorOf(0)});
}

TEST_F(WritePipeline, ConnectionThatEndsWithinAnAckIsLoggedWithoutTheSocketError)
{
    const std::string ack = pipelineAck(0, {SUCCESS});
    for (std::size_t size = 1; size < ack.size(); ++size)
        expectAckRefused(0, ack.substr(0, size), {"TCPIP received failed"});
}

TEST_F(WritePipeline, AckThatDoesNotDecodeFailsTheAttempt)
{
    expectAckRefused(0, lengthDelimited(std::string("\x10\x00", 2)), {"Block Decoding failed: missing required field"});
    expectAckRefused(0, lengthDelimited(std::string("\x08\x80", 2)), {"Block Decoding failed: *"});
    expectAckRefused(1, lengthDelimited(std::string(20, '\xFF')), {"Block Decoding failed: *"});
}

TEST_F(WritePipeline, AckOfAnotherPacketFailsTheAttempt)
{
    for (std::int64_t seqno : {std::int64_t(1), std::int64_t(-1), std::int64_t(2), std::int64_t(1) << 32})
        expectAckRefused(0, pipelineAck(seqno, {SUCCESS}), {"error ACK paquet"});
    for (std::int64_t seqno : {std::int64_t(0), std::int64_t(2), std::int64_t(-1)})
        expectAckRefused(1, pipelineAck(seqno, {SUCCESS}), {"error ACK paquet"});
}

TEST_F(WritePipeline, LastReplyOfAnAckCounts)
{
    expectAckRefused(0, pipelineAck(0, {1}), {"error ACK paquet"});
    expectAckRefused(0, pipelineAck(0, {0, 0, 1}), {"error ACK paquet"});
    expectAckRefused(1, pipelineAck(1, {0, 5}), {"error ACK paquet"});
    expectAckRefused(0, pipelineAck(0, {12}), {"error ACK paquet"});
    Serving serving;
    serving.ack = [](std::int64_t seqno) { return pipelineAck(seqno, {1, 2, 0}); };
    node.serve(serving);
    expectWritten(100);
}

TEST_F(WritePipeline, AckWithoutAReplyFailsTheAttempt)
{
    expectAckRefused(0, pipelineAck(0, {}), {"error ACK paquet"});
    expectAckRefused(1, pipelineAck(1, {}), {"error ACK paquet"});
}

TEST_F(WritePipeline, RepliesMayComePacked)
{
    // Field 1, then field 2 as one run of three varints.
    const auto packed = [](const std::string &seqno, const std::string &replies) {
        return lengthDelimited("\x08" + seqno + "\x12" + lengthDelimited(replies));
    };
    Serving serving;
    serving.ack = [packed](std::int64_t seqno) {
        return packed(std::string(1, static_cast<char>(2 * seqno)), std::string("\x01\x00", 2));
    };
    node.serve(serving);
    expectWritten(100);
    expectAckRefused(0, packed(std::string(1, '\0'), std::string("\x00\x01", 2)), {"error ACK paquet"});
}

TEST_F(WritePipeline, AckMayHaveAnyFieldsOfNewerServers)
{
    Serving serving;
    serving.ack = [](std::int64_t seqno) {
        PipelineAckProto ack;
        ack.set_seqno(seqno);
        ack.add_reply(SUCCESS);
        ack.add_flag(0xFFFFFFFFu);
        ack.set_downstreamacktimenanos(0xFFFFFFFFFFFFFFFFu);
        google::protobuf::UnknownFieldSet *fields = ack.GetReflection()->MutableUnknownFields(&ack);
        fields->AddVarint(4000, 77);
        fields->AddFixed32(4001, 78);
        fields->AddLengthDelimited(4002, "newer");
        return lengthDelimited(ack);
    };
    node.serve(serving);
    expectWritten(100);
}

TEST_F(WritePipeline, EndOfTheConnectionBehindTheLastAckDoesNotMatter)
{
    Serving serving;
    serving.sendsEverythingAtOnce = true;
    node.serve(serving);
    EXPECT_EQ(BlockWritten, write(patternBytes(100)));
    EXPECT_TRUE(log.takes({}));
}

// When acknowledgements are read.

TEST_F(WritePipeline, FiftyOnePacketsGoOutBeforeTheFirstAckMustBeThere)
{
    chunkSize = 16;
    Serving serving;
    serving.withholdsUntil = 51;
    serving.silence = 150;
    node.serve(serving);
    expectWritten(60 * 8000 - 5);
    EXPECT_EQ(61u, packetsOf());
}

TEST_F(WritePipeline, LastPacketDoesNotWaitForTheWindow)
{
    chunkSize = 16;
    Serving serving;
    serving.withholdsUntil = 1000;
    node.serve(serving);
    expectWritten(50 * 8000);
    EXPECT_EQ(51u, packetsOf()) << "all of them came without an acknowledgement";
}

TEST_F(WritePipeline, LastPacketOfAFiftyFirstIsHeldBackByTheWindow)
{
    chunkSize = 16;
    Serving serving;
    serving.withholdsUntil = 51;
    serving.silence = 150;
    node.serve(serving);
    expectWritten(51 * 8000);
    EXPECT_EQ(52u, packetsOf());
}

TEST_F(WritePipeline, AckOfTenBytesThatIsThereIsReadBetweenPackets)
{
    chunkSize = 16;
    const std::string wrong("\x09\x08\x54\x10\x00\x18\x80\x80\x80\x00", 10);
    Serving serving;
    serving.acksAhead = 1;
    serving.ack = [wrong](std::int64_t seqno) { return seqno == 0 ? wrong : pipelineAck(seqno, {SUCCESS}); };
    node.serve(serving);
    expectFailed({"error ACK paquet"}, 40 * 8000);
    EXPECT_EQ(1u, packetsOf());
}

TEST_F(WritePipeline, AckOfFewerBytesWaitsUntilItIsNeeded)
{
    chunkSize = 16;
    const std::string wrong("\x08\x08\x54\x10\x00\x18\x80\x80\x00", 9);
    Serving serving;
    serving.acksAhead = 1;
    serving.ack = [wrong](std::int64_t seqno) { return seqno == 0 ? wrong : std::string(); };
    node.serve(serving);
    expectFailed({"error ACK paquet"}, 40 * 8000);
    EXPECT_EQ(41u, packetsOf()) << "all of them had gone out";
    setLocations({node.location("first")});
    expectFailed({"error ACK paquet"}, 80 * 8000);
    EXPECT_EQ(51u, packetsOf(1)) << "the window is full";
}

TEST_F(WritePipeline, AcksThatAreThereBeforeTheirPacketsWaitForThem)
{
    chunkSize = 16;
    for (std::size_t ahead : {1u, 2u, 30u, 60u}) {
        setLocations({node.location("first")});
        Serving serving;
        serving.acksAhead = ahead;
        node.serve(serving);
        expectWritten(60 * 8000 - 1);
    }
}

TEST_F(WritePipeline, AckForAPacketThatWasNotSentYetIsNotReadBefore)
{
    chunkSize = 16;
    Serving serving;
    serving.acksAhead = 3;
    serving.ack = [](std::int64_t seqno) { return pipelineAck(seqno, {seqno == 2 ? 1u : 0u}); };
    node.serve(serving);
    expectFailed({"error ACK paquet"}, 40 * 8000);
    EXPECT_EQ(3u, packetsOf());
}

TEST_F(WritePipeline, AckForAPacketThatWasNotSentYetIsNotTakenForAnotherOne)
{
    Serving serving;
    serving.acksAhead = 2;
    serving.ack = [](std::int64_t seqno) { return pipelineAck(1 - seqno, {SUCCESS}); };
    node.serve(serving);
    expectFailed({"error ACK paquet"}, 100);
}

TEST_F(WritePipeline, AcksMayComeByteByByte)
{
    chunkSize = 16;
    for (std::size_t fragment = 1; fragment < 12; ++fragment) {
        node.peer().setFragmentSize(fragment);
        expectWritten(5 * 8000);
    }
}

// Sending.

TEST_F(WritePipeline, RequestThatCannotBeSentIsLoggedWithTheSocketError)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, ECONNRESET);
    expectFailed({"TCPIP send failed", "Error at socket(): " + socketErrorOf(ECONNRESET)});
}

TEST_F(WritePipeline, PacketThatCannotBeSentIsLoggedWithTheSocketError)
{
    // Of two packets each: prefix, header and checksums, then the data.
    chunkSize = 1;
    for (int ordinal = 1; ordinal <= 4; ++ordinal) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Send, ordinal, ECONNRESET);
        expectFailed({"TCPIP send failed", "Error at socket(): " + socketErrorOf(ECONNRESET)}, 510);
        EXPECT_TRUE(faults.hasFailed(SystemCall::Send));
    }
}

TEST_F(WritePipeline, LastPacketThatCannotBeSentIsLoggedWithoutTheSocketError)
{
    chunkSize = 1;
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 5, ECONNRESET);
    expectFailed({"TCPIP send failed"}, 510);
}

TEST_F(WritePipeline, WhatIsSentInPartIsNotContinued)
{
    for (std::size_t limit : {10u, 200u, 600u}) {
        SystemCallFaults faults;
        faults.limitSend(limit);
        expectFailed({"TCPIP send failed", "Error at socket(): *"}, 5000);
    }
}

TEST_F(WritePipeline, InterruptedCallsAreMadeAgain)
{
    for (SystemCall call : {SystemCall::Send, SystemCall::Receive, SystemCall::Connect}) {
        SystemCallFaults faults;
        faults.interruptEach(call);
        expectWritten(2000);
    }
}

TEST_F(WritePipeline, NoMemoryIsTakenForABlock)
{
    const std::string bytes = patternBytes(600000);
    const OwnedLocatedBlock block = located(given);
    const BlockWrite write = {bytes.data(), 600000, 1024, false, 0, &checksumState};
    SystemCallFaults faults;
    EXPECT_EQ(BlockWritten, runWritePipeline(&connection, *block, write, &packets));
    EXPECT_EQ(0, faults.count(SystemCall::Allocate)) << "what is sent stays where it is";
}
