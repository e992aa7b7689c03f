// Block reads from DataNodes that keep to the protocol.
#include "io/DataNodeBlockRead.h"

#include "testing/LogCapture.h"
#include "testing/ScriptedFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

using namespace hadoop::oracle;

namespace {

std::vector<std::uint64_t> offsetsOf(const std::vector<ReadRequest> &requests)
{
    std::vector<std::uint64_t> offsets;
    for (const ReadRequest &request : requests)
        offsets.push_back(request.offset);
    return offsets;
}

std::vector<std::uint64_t> lengthsOf(const std::vector<ReadRequest> &requests)
{
    std::vector<std::uint64_t> lengths;
    for (const ReadRequest &request : requests)
        lengths.push_back(request.length);
    return lengths;
}

/// The request for a range of the file's first block.
OpReadBlockProto requestMessage(ScriptedFile &file, std::uint64_t offset, std::uint64_t length)
{
    OpReadBlockProto request;
    BaseHeaderProto *base = request.mutable_header()->mutable_baseheader();
    *base->mutable_block() = file.block(0)->b();
    base->mutable_block()->clear_numbytes();
    *base->mutable_token() = file.block(0)->blocktoken();
    request.mutable_header()->set_clientname("Quor");
    request.set_offset(offset);
    request.set_len(length);
    return request;
}

class BlockRead : public ::testing::Test
{
protected:
    /// A range must come out right, in one connection with the DataNode and without a word in the log.
    void expectRange(ScriptedFile *file, HdfsFileReader *reader, std::size_t position, std::size_t length)
    {
        const ReadOutcome outcome =
            readAt(reader, static_cast<std::int64_t>(position), static_cast<std::uint32_t>(length));
        const std::string expected = file->bytes().substr(position, length);
        ASSERT_EQ(expected.size(), outcome.result) << "position " << position << ", length " << length;
        ASSERT_EQ(expected, outcome.bytes.substr(0, expected.size()))
            << "position " << position << ", length " << length;
        ASSERT_EQ(static_cast<std::int64_t>(position + expected.size()), reader->position);
        ASSERT_TRUE(log.holds({}));
    }

    /// All of the file, served as given.
    void expectServed(const ScriptedDataNode::Serving &serving, std::size_t size = 1000)
    {
        ScriptedFile file({size});
        file.dataNode().serve(serving);
        const std::unique_ptr<HdfsFileReader> reader = file.open();
        expectRange(&file, reader.get(), 0, size);
        expectRange(&file, reader.get(), 333, 500);
        EXPECT_EQ(2u, file.connectionCount());
    }

    LogCapture log;
};

} // namespace

TEST_F(BlockRead, WholeBlockComesWithOneRequest)
{
    ScriptedFile file({200 * 1000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 200 * 1000);
    EXPECT_EQ(1u, file.connectionCount());
    ASSERT_EQ(1u, file.dataNode().requests().size());
    EXPECT_EQ(0u, file.dataNode().requests()[0].offset);
    EXPECT_EQ(200 * 1000u, file.dataNode().requests()[0].length);
}

TEST_F(BlockRead, RequestIsExactlyVersionOpCodeAndMessage)
{
    ScriptedFile file({100});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 10, 20);
    file.dataNode().peer().waitUntilOver(1);

    EXPECT_EQ(std::string("\x00\x1C\x51", 3) + lengthDelimited(requestMessage(file, 10, 20)) +
                  std::string("\x02\x08\x00", 3),
              file.dataNode().peer().received(0));
}

TEST_F(BlockRead, RequestGoesOutInOneSend)
{
    ScriptedFile file({100});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const SystemCallFaults calls;
    expectRange(&file, reader.get(), 0, 100);
    EXPECT_EQ(2, calls.count(SystemCall::Send)) << "the request and the status";
}

TEST_F(BlockRead, ReadThatStartsMidChunkSkipsToTheRequestedByte)
{
    ScriptedFile file({2000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 700, 1300);
    expectRange(&file, reader.get(), 511, 1);
    expectRange(&file, reader.get(), 511, 2);
    expectRange(&file, reader.get(), 1999, 1);
}

TEST_F(BlockRead, EveryRangeOfABlockComesOutRight)
{
    const std::size_t kSize = 45;
    ScriptedFile file({kSize});
    ScriptedDataNode::Serving serving;
    serving.bytesPerChecksum = 8;
    serving.packetData = 16;
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::size_t position = 0; position < kSize; ++position) {
        for (std::size_t length = 1; length <= kSize - position; ++length)
            ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), position, length));
    }
    EXPECT_EQ(kSize * (kSize + 1) / 2, file.connectionCount());
}

TEST_F(BlockRead, RangesAroundPacketAndChunkBoundariesComeOutRight)
{
    const std::size_t kSize = 3 * 65536 + 100;
    ScriptedFile file({kSize});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const std::size_t places[] = {0, 1, 511, 512, 513, 65535, 65536, 65537, 131072, 196607, 196608, 196609, kSize - 1};
    for (std::size_t start : places) {
        for (std::size_t end : places) {
            if (end > start) {
                ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), start, end - start));
            }
        }
        ASSERT_NO_FATAL_FAILURE(expectRange(&file, reader.get(), start, kSize - start));
    }
}

TEST_F(BlockRead, MoreThanIsLeftOfTheFileIsCutToWhatIsLeft)
{
    ScriptedFile file({1000, 500});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 1200, 100000);
    EXPECT_EQ(300u, outcome.result);
    EXPECT_EQ(file.bytes().substr(1200), outcome.bytes.substr(0, 300));
    EXPECT_EQ(std::vector<std::uint64_t>({300}), lengthsOf(file.dataNode().requests()));
    EXPECT_EQ(1500, reader->position);
}

TEST_F(BlockRead, GoesOnBlockByBlockFromTheirFirstBytes)
{
    ScriptedFile file({1000, 700, 512, 3000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 600, 2000);
    const std::vector<ReadRequest> requests = file.dataNode().requests();
    ASSERT_EQ(4u, requests.size());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(ScriptedFile::blockId(i), requests[i].blockId);
        EXPECT_EQ(i, requests[i].connection) << "each block has a connection of its own";
    }
    EXPECT_EQ(std::vector<std::uint64_t>({600, 0, 0, 0}), offsetsOf(requests));
    EXPECT_EQ(std::vector<std::uint64_t>({400, 700, 512, 388}), lengthsOf(requests));
    EXPECT_EQ(3, reader->blockIndex);
}

TEST_F(BlockRead, EmptyBlocksInBetweenAreNotAskedFor)
{
    ScriptedFile file({100, 0, 0, 100});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 200);
    ASSERT_EQ(2u, file.dataNode().requests().size());
    EXPECT_EQ(ScriptedFile::blockId(3), file.dataNode().requests()[1].blockId);
}

TEST_F(BlockRead, EachBlockComesFromItsOwnDataNode)
{
    ScriptedFile file({300, 300}, 2);
    file.block(0)->mutable_locs()->DeleteSubrange(1, 1);
    file.block(1)->mutable_locs()->DeleteSubrange(0, 1);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 600);
    EXPECT_EQ(1u, file.dataNode(0).requests().size());
    EXPECT_EQ(1u, file.dataNode(1).requests().size());
}

TEST_F(BlockRead, SequentialReadsGiveTheWholeFile)
{
    ScriptedFile file({5000, 5000, 1});
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

TEST_F(BlockRead, ClosesItsConnectionAndLeavesTheClosingPacketUnread)
{
    ScriptedFile file({100});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 100);
    EXPECT_EQ(platform::kInvalidSocket, file.connection.dataNodeSocket.handle);
    file.dataNode().peer().waitUntilOver(1);
}

TEST_F(BlockRead, WholeChunksAreReceivedStraightIntoTheCallersBuffer)
{
    ScriptedFile file({8 * 65536});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const SystemCallFaults calls;
    expectRange(&file, reader.get(), 0, 8 * 65536);
    EXPECT_GE(calls.longestReceive(), 65536u - 2048)
        << "of a packet no more than what came with its checksums is copied";
}

TEST_F(BlockRead, ChecksumTypeNoneCarriesNoChecksumBytes)
{
    ScriptedDataNode::Serving serving;
    serving.checksumType = 0;
    serving.packetData = 300;
    serving.bytesPerChecksum = 100;
    expectServed(serving);
}

TEST_F(BlockRead, ChecksumTypeNoneNeedsNoChunkSize)
{
    ScriptedDataNode::Serving serving;
    serving.checksumType = 0;
    serving.statesChunkSizeWithoutChecksums = false;
    serving.packetData = 1000;
    serving.bytesPerChecksum = 1000;
    expectServed(serving);
}

TEST_F(BlockRead, AnyOtherChecksumTypeHasFourBytesForEachChunk)
{
    ScriptedDataNode::Serving serving;
    serving.checksumType = 1;
    expectServed(serving);
}

TEST_F(BlockRead, ChunksMayHaveAnySize)
{
    const std::uint32_t sizes[] = {1, 7, 512, 513, 999, 1000, 1001, 4096};
    for (std::uint32_t size : sizes) {
        ScriptedDataNode::Serving serving;
        serving.bytesPerChecksum = size;
        serving.packetData = 300;
        expectServed(serving);
    }
}

TEST_F(BlockRead, FieldsOfNewerServersAreSkipped)
{
    ScriptedDataNode::Serving serving;
    serving.speaksLikeANewerServer = true;
    serving.packetData = 512;
    expectServed(serving);
}

TEST_F(BlockRead, ClosingPacketMayBeMissing)
{
    ScriptedDataNode::Serving serving;
    serving.endsWithEmptyPacket = false;
    expectServed(serving);
}

TEST_F(BlockRead, PacketsMayComeInCrumbs)
{
    ScriptedFile file({1500});
    file.dataNode().peer().setFragmentSize(1);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1500);
    expectRange(&file, reader.get(), 100, 1000);
}

TEST_F(BlockRead, ReceivesMayBeShort)
{
    ScriptedFile file({1500});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    SystemCallFaults calls;
    calls.limitReceive(1);
    expectRange(&file, reader.get(), 0, 1500);
    calls.limitReceive(7);
    expectRange(&file, reader.get(), 100, 1000);
}

TEST_F(BlockRead, SystemCallsMayBeInterrupted)
{
    ScriptedFile file({1500});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const SystemCall interrupted[] = {SystemCall::Receive, SystemCall::Send, SystemCall::Connect};
    for (SystemCall call : interrupted) {
        SystemCallFaults calls;
        calls.interruptEach(call);
        expectRange(&file, reader.get(), 100, 1400);
    }
    EXPECT_EQ(3u, file.connectionCount());
}

TEST_F(BlockRead, PacketsMayVaryInSize)
{
    ScriptedFile file({5000});
    const std::string bytes = file.bytes();
    ScriptedDataNode::Serving serving;
    serving.alter = [bytes](const ReadRequest &, WireRead *read) {
        const std::size_t sizes[] = {512, 1024, 512, 2048, 512, 392};
        read->packets.clear();
        std::size_t at = 0;
        for (std::size_t size : sizes) {
            PacketHeaderProto header = packetHeader(static_cast<std::int64_t>(at), 0, static_cast<std::int32_t>(size));
            if (size == 1024)
                header.set_syncblock(true);
            const std::string data = bytes.substr(at, size);
            read->packets.push_back(dataPacket(header, chunkChecksums(data, 512), data));
            at += size;
        }
        read->dataPackets = read->packets.size();
    };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 5000);
    file.dataNode().peer().waitUntilOver(1);
    EXPECT_EQ(6u, file.dataNode().statuses().size());
}

TEST_F(BlockRead, SequenceNumberLastPacketFlagAndPacketLengthAreNotLookedAt)
{
    ScriptedFile file({1500});
    ScriptedDataNode::Serving serving;
    serving.packetData = 512;
    const std::string bytes = file.bytes();
    serving.alter = [bytes](const ReadRequest &, WireRead *read) {
        for (std::size_t i = 0; i < 3; ++i) {
            const std::string data = bytes.substr(i * 512, 512);
            read->packets[i] =
                dataPacket(packetHeader(static_cast<std::int64_t>(i) * 512, -5, static_cast<int>(data.size()), i == 0),
                           chunkChecksums(data, 512), data);
            read->packets[i].replace(0, 4, "\xFF\xFF\xFF\xFF");
        }
    };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1500);
}

TEST_F(BlockRead, PacketThatHoldsMoreThanWasAskedForIsReadAsFarAsNeeded)
{
    ScriptedFile file({4 * 65536});
    const std::string bytes = file.bytes();
    ScriptedDataNode::Serving serving;
    serving.alter = [bytes](const ReadRequest &request, WireRead *read) {
        const std::size_t start = request.offset / 512 * 512;
        const std::string data = bytes.substr(start);
        read->packets = {dataPacket(packetHeader(static_cast<std::int64_t>(start), 0, static_cast<int>(data.size())),
                                    chunkChecksums(data, 512), data)};
        read->dataPackets = 1;
    };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1);
    expectRange(&file, reader.get(), 0, 512);
    expectRange(&file, reader.get(), 1000, 5000);
    expectRange(&file, reader.get(), 65000, 3 * 65536);
}

TEST_F(BlockRead, AnswerOfTwoBytesIsFollowedByItsPackets)
{
    ScriptedFile file({1000});
    ScriptedDataNode::Serving serving;
    serving.checksumType = 0;
    serving.packetData = 512;
    serving.alter = [](const ReadRequest &, WireRead *read) { read->answer = std::string("\x02\x08\x00", 3); };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
    // Without a chunk size each packet is one chunk.
    expectRange(&file, reader.get(), 600, 400);
}

TEST_F(BlockRead, AnswerOfThreeBytesIsFollowedByItsPackets)
{
    ScriptedFile file({1000});
    ScriptedDataNode::Serving serving;
    serving.checksumType = 0;
    serving.alter = [](const ReadRequest &, WireRead *read) { read->answer = std::string("\x03\x08\x80\x00", 4); };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
}

TEST_F(BlockRead, AnswerLengthMayTakeFourBytes)
{
    ScriptedFile file({1000});
    ScriptedDataNode::Serving serving;
    serving.alter = [](const ReadRequest &, WireRead *read) {
        BlockOpResponseProto answer;
        ASSERT_TRUE(answer.ParseFromString(read->answer.substr(1)));
        answer.set_message(std::string((2 << 20) + 5, 'm'));
        read->answer = lengthDelimited(answer);
        ASSERT_EQ('\x01', read->answer[3] & 0xFF) << "the length ends with the fourth byte";
    };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
}

TEST_F(BlockRead, AnswerStatusIsNotLookedAt)
{
    ScriptedFile file({1000});
    ScriptedDataNode::Serving serving;
    serving.alter = [](const ReadRequest &, WireRead *read) {
        BlockOpResponseProto answer;
        ASSERT_TRUE(answer.ParseFromString(read->answer.substr(1)));
        answer.set_status(STATUS_OF_A_NEWER_SERVER);
        answer.set_firstbadlink("");
        read->answer = lengthDelimited(answer);
    };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
}

TEST_F(BlockRead, PacketHeaderMayTakeAllItsLengthCanSay)
{
    ScriptedFile file({1000});
    const std::string bytes = file.bytes();
    ScriptedDataNode::Serving serving;
    serving.alter = [bytes](const ReadRequest &, WireRead *read) {
        PacketHeaderProto header = packetHeader(0, 0, 1000);
        header.GetReflection()->MutableUnknownFields(&header)->AddLengthDelimited(4001, std::string(65504, 'x'));
        ASSERT_EQ(65535u, header.ByteSizeLong());
        read->packets[0] = dataPacket(header, chunkChecksums(bytes, 512), bytes);
    };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
}

TEST_F(BlockRead, ReceivedDataAreNotCheckedAgainstTheirChecksums)
{
    ScriptedFile file({1000});
    ScriptedDataNode::Serving serving;
    const std::string bytes = file.bytes();
    serving.alter = [bytes](const ReadRequest &, WireRead *read) {
        read->packets[0] = dataPacket(packetHeader(0, 0, 1000), std::string(8, 'x'), bytes);
    };
    file.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
    expectRange(&file, reader.get(), 100, 700);
}

TEST_F(BlockRead, CurrentLocationIsTriedFirst)
{
    ScriptedFile file({1000}, 3);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    reader->blocks[0]->currentLocation = reader->blocks[0]->firstLocation->next;
    expectRange(&file, reader.get(), 0, 1000);
    EXPECT_EQ(0u, file.dataNode(0).connectionCount());
    EXPECT_EQ(1u, file.dataNode(1).connectionCount());
    EXPECT_EQ(reader->blocks[0]->firstLocation->next, reader->blocks[0]->currentLocation);
}

TEST_F(BlockRead, ConnectsToTheHostNameAndNotToTheAddress)
{
    ScriptedFile file({1000});
    file.block(0)->mutable_locs(0)->mutable_id()->set_ipaddr("192.0.2.1");
    file.block(0)->mutable_locs(0)->mutable_id()->set_hostname("localhost");
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectRange(&file, reader.get(), 0, 1000);
}

TEST_F(BlockRead, PreferredAddressOfTheNameNodeIsTriedFirstForDataNodesToo)
{
    ScriptedFile file({1000});
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const RefusingPort refusing;
    SystemCallFaults calls;
    calls.resolveTo({{"127.0.0.1", refusing.port()}, {"127.0.0.1", refusing.port()}, {"127.0.0.1", 0}});
    file.connection.preferredAddressIndex = 2;
    expectRange(&file, reader.get(), 0, 1000);
    EXPECT_EQ(1u, calls.connected().size());
    EXPECT_EQ(2u, file.connection.preferredAddressIndex);

    file.connection.preferredAddressIndex = 7;
    expectRange(&file, reader.get(), 0, 1000);
    EXPECT_EQ(1u + 3u, calls.connected().size());
    EXPECT_EQ(7u, file.connection.preferredAddressIndex) << "only the NameNode's connect sets it";
}

TEST_F(BlockRead, LargeRequestIsRefusedBeforeAnythingIsSent)
{
    ScriptedFile file({1000});
    file.block(0)->mutable_blocktoken()->set_identifier(std::string(1000, 't'));
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 10, 100);
    EXPECT_EQ(kReadFailed, outcome.result);
    EXPECT_EQ(10, reader->position);
    EXPECT_EQ(0u, file.connectionCount());
    EXPECT_TRUE(log.holds({"ERROR HDFS: Encoding failed: stream full"}));
}

TEST_F(BlockRead, RequestMayFillItsThousandBytes)
{
    ScriptedFile file({100});
    std::size_t size = 700;
    while (requestMessage(file, 0, 100).ByteSizeLong() < 1000)
        file.setTokenIdentifier(0, std::string(++size, 't'));
    ASSERT_EQ(1000u, requestMessage(file, 0, 100).ByteSizeLong());
    const std::unique_ptr<HdfsFileReader> fits = file.open();
    expectRange(&file, fits.get(), 0, 100);

    file.setTokenIdentifier(0, std::string(++size, 't'));
    const std::unique_ptr<HdfsFileReader> tooLong = file.open();
    EXPECT_EQ(kReadFailed, readAt(tooLong.get(), 0, 100).result);
    EXPECT_EQ(1u, file.connectionCount());
    EXPECT_TRUE(log.holds({"ERROR HDFS: Encoding failed: stream full"}));
}
