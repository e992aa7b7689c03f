// Opening a file and what a reader makes of the block list that it gets.
#include "io/HdfsFileReader.h"

#include "testing/HeapInUse.h"
#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

using namespace hadoop::oracle;

namespace {

const char kMethod[] = "getBlockLocations";

class Reader : public ::testing::Test
{
protected:
    Reader() : file({100, 100, 50}) {}

    /// Opens with the NameNode answering as queued.
    std::unique_ptr<HdfsFileReader> openAsQueued(const QByteArray &path = "/some/file")
    {
        return std::unique_ptr<HdfsFileReader>(HdfsFileReader::open(&file.connection, path));
    }

    void expectReadable(HdfsFileReader *reader, std::size_t position, std::size_t length)
    {
        const ReadOutcome outcome =
            readAt(reader, static_cast<std::int64_t>(position), static_cast<std::uint32_t>(length));
        EXPECT_EQ(length, outcome.result);
        EXPECT_EQ(file.bytes().substr(position, length), outcome.bytes);
    }

    LogCapture log;
    ScriptedFile file;
};

} // namespace

TEST_F(Reader, AsksOnceForTheWholeFile)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    ASSERT_EQ(1u, file.nameNode.calls().size());
    const NameNodeCall call = file.nameNode.calls()[0];
    EXPECT_EQ(kMethod, call.method);
    EXPECT_EQ("/some/file", call.as<GetBlockLocationsRequestProto>().src());
    EXPECT_EQ(0u, call.as<GetBlockLocationsRequestProto>().offset());
    EXPECT_EQ(0x7FFFFFFFFFFFFFFFull, call.as<GetBlockLocationsRequestProto>().length());
    expectReadable(reader.get(), 0, 250);
    expectReadable(reader.get(), 150, 100);
    EXPECT_EQ(1u, file.nameNode.calls().size()) << "reads never ask again";
    EXPECT_EQ(0u, file.nameNode.calls()[0].connection);
}

TEST_F(Reader, StartsAtTheBeginningWithTheBlocksInTheirOrder)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(3, reader->blockCount);
    EXPECT_EQ(0, reader->blockIndex);
    EXPECT_EQ(0, reader->position);
    EXPECT_EQ(250u, reader->fileLength);
    EXPECT_EQ("/some/file", reader->path);
    EXPECT_EQ(&file.connection, reader->connection);
    const std::int64_t offsets[] = {0, 100, 200};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(ScriptedFile::blockId(i), reader->blocks[i]->blockId);
        EXPECT_EQ(offsets[i], reader->blocks[i]->offset);
        EXPECT_EQ(1u, reader->blocks[i]->locationCount);
    }
    EXPECT_EQ(250, reader->blocks[3]->offset) << "the sentinel";
    EXPECT_EQ(0u, reader->blocks[3]->locationCount);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, PathIsAnyBytes)
{
    file.nameNode.answer(kMethod, file.response);
    const QByteArray path("/\xC3\xA4\xE2\x82\xAC/with blank");
    const std::unique_ptr<HdfsFileReader> reader = openAsQueued(path);
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(path.toStdString(), file.nameNode.calls()[0].as<GetBlockLocationsRequestProto>().src());
    EXPECT_EQ(path, reader->path);
}

TEST_F(Reader, FileOfNoBytesHasOnlyTheSentinel)
{
    ScriptedFile empty(std::vector<std::size_t>{});
    const std::unique_ptr<HdfsFileReader> reader = empty.open();
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(0, reader->blockCount);
    EXPECT_EQ(0u, reader->fileLength);
    ASSERT_NE(nullptr, reader->blocks);
    EXPECT_EQ(0, reader->blocks[0]->offset);
    const std::int64_t positions[] = {0, 1, -1, std::numeric_limits<std::int64_t>::max()};
    for (std::int64_t position : positions) {
        EXPECT_EQ(0u, readAt(reader.get(), position, 100).result);
        EXPECT_EQ(position, reader->position);
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, ResponseWithoutLocationsIsAnEmptyFile)
{
    file.response.clear_locations();
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(log.holds({"WARNING: Empty File"}));
    EXPECT_EQ(nullptr, reader->blocks);
    EXPECT_EQ(0, reader->blockCount);
    EXPECT_EQ(0u, reader->fileLength);
    EXPECT_EQ(0u, readAt(reader.get(), 0, 100).result);
    reader->freeBlockList();
}

TEST_F(Reader, EmptyResponseFrameIsAnEmptyFile)
{
    file.nameNode.answerEmptyFrame(kMethod);
    const std::unique_ptr<HdfsFileReader> reader = openAsQueued();
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(log.holds({"WARNING: Empty File"}));
    EXPECT_EQ(0u, readAt(reader.get(), 0, 100).result);
}

TEST_F(Reader, FileUnderConstructionIsReadAsItIs)
{
    file.response.mutable_locations()->set_underconstruction(true);
    file.response.mutable_locations()->set_islastblockcomplete(false);
    *file.response.mutable_locations()->mutable_lastblock() = *file.block(2);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(log.takes({"WARNING: HDFS File under construction"}));
    EXPECT_EQ(3, reader->blockCount) << "the last block comes among the others";
    expectReadable(reader.get(), 0, 250);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, FieldsOfNewerServersAreSkipped)
{
    LocatedBlocksProto *locations = file.response.mutable_locations();
    locations->mutable_ecpolicy()->set_id(1);
    locations->mutable_fileencryptioninfo()->set_suite(AES_CTR_NOPADDING);
    locations->mutable_fileencryptioninfo()->set_cryptoprotocolversion(ENCRYPTION_ZONES);
    locations->mutable_fileencryptioninfo()->set_key("key");
    locations->mutable_fileencryptioninfo()->set_iv("iv");
    locations->mutable_fileencryptioninfo()->set_keyname("name");
    locations->mutable_fileencryptioninfo()->set_ezkeyversionname("version");
    file.block(1)->add_iscached(true);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    ASSERT_TRUE(reader != nullptr);
    expectReadable(reader.get(), 0, 250);
    EXPECT_TRUE(log.holds({}));
}

// Opening that fails.

TEST_F(Reader, IsNotOpenedWithoutAConnection)
{
    NameNodeConnection none;
    EXPECT_EQ(nullptr, HdfsFileReader::open(&none, "/some/file"));
    EXPECT_TRUE(log.takes({"Not connected any more to NameNode"}));
    file.connection.disconnect();
    EXPECT_EQ(nullptr, HdfsFileReader::open(&file.connection, "/some/file"));
    EXPECT_TRUE(log.takes({"Not connected any more to NameNode"}));
}

TEST_F(Reader, PathThatDoesNotFitTheRequestIsRefusedBeforeAnythingIsSent)
{
    file.nameNode.answer(kMethod, file.response);
    EXPECT_TRUE(openAsQueued(QByteArray(600, 'p')) == nullptr);
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    EXPECT_TRUE(file.nameNode.calls().empty());
    const std::unique_ptr<HdfsFileReader> reader = openAsQueued();
    EXPECT_TRUE(reader != nullptr);
    ASSERT_EQ(1u, file.nameNode.calls().size());
    EXPECT_EQ(1, file.nameNode.calls()[0].callId) << "the refused call has taken a number";
}

TEST_F(Reader, RequestMayFillItsFiveHundredBytes)
{
    file.nameNode.answer(kMethod, file.response);
    GetBlockLocationsRequestProto request;
    request.set_offset(0);
    request.set_length(0x7FFFFFFFFFFFFFFFull);
    std::string path;
    do {
        path += 'p';
        request.set_src(path);
    } while (request.ByteSizeLong() < 500);
    ASSERT_EQ(500u, request.ByteSizeLong());
    EXPECT_TRUE(openAsQueued(QByteArray::fromStdString(path)) != nullptr);
    EXPECT_TRUE(openAsQueued(QByteArray::fromStdString(path + "p")) == nullptr);
    EXPECT_TRUE(log.holds({"Encoding failed: stream full"}));
}

TEST_F(Reader, ExceptionOfTheNameNodeGivesNone)
{
    file.nameNode.answerException(kMethod, "java.io.FileNotFoundException", "File does not exist: /some/file");
    file.nameNode.answer(kMethod, file.response);
    EXPECT_TRUE(openAsQueued() == nullptr);
    EXPECT_TRUE(log.takes({"ExceptionClassName=java.io.FileNotFoundException\n"
                           "errorMsg=File does not exist: /some/file"}));
    EXPECT_TRUE(openAsQueued() != nullptr) << "the connection stays usable";
}

TEST_F(Reader, ConnectionThatEndsInsteadOfAnAnswerGivesNone)
{
    file.nameNode.answerClose(kMethod);
    EXPECT_TRUE(openAsQueued() == nullptr);
    EXPECT_TRUE(log.holds({"TCPIP received failed"}));
}

TEST_F(Reader, ResponseIsAwaitedAlsoWhenTheRequestCouldNotBeSent)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, EPIPE);
    faults.fail(SystemCall::Receive, 0, ECONNRESET);
    EXPECT_TRUE(openAsQueued() == nullptr);
    EXPECT_TRUE(faults.hasFailed(SystemCall::Receive));
    EXPECT_TRUE(log.holds({"TCPIP send failed", "TCPIP received failed"}));
}

TEST_F(Reader, CallThatCannotBeStartedGivesAReaderOfNoBytes)
{
    file.connection.clientId.reset(::strdup(std::string(200, 'c').c_str()));
    const std::unique_ptr<HdfsFileReader> reader = openAsQueued();
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    EXPECT_EQ(nullptr, reader->blocks);
    EXPECT_EQ(0, reader->blockCount);
    EXPECT_EQ(0u, reader->fileLength);
    EXPECT_EQ(0u, readAt(reader.get(), 0, 10).result);
    EXPECT_TRUE(file.nameNode.calls().empty());
}

// Block lists that cannot be right.

TEST_F(Reader, ListThatBreaksOffIsUsedAsFarAsItWasUnderstood)
{
    file.block(2)->mutable_b()->clear_blockid();
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(log.takes({"WARNING: Block Decoding failed: missing required field"}));
    EXPECT_EQ(2, reader->blockCount);
    EXPECT_EQ(250u, reader->fileLength);
    expectReadable(reader.get(), 0, 100);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, BlockThatStartsBeforeTheOneInFrontOfItEndsTheList)
{
    file.block(1)->set_offset(150);
    file.block(2)->set_offset(149);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(log.holds({"WARNING: Block Decoding failed: block offset out of order"}));
    EXPECT_EQ(2, reader->blockCount);
}

TEST_F(Reader, OverlappingBlocksAreReadUpToWhereTheNextOneStarts)
{
    file.block(1)->set_offset(60);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 10, 80);
    EXPECT_EQ(80u, outcome.result);
    EXPECT_EQ(file.bytes().substr(10, 50) + file.bytes().substr(100, 30), outcome.bytes);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, OffsetBehindTheFilesLengthIsNeverReached)
{
    file.response.mutable_locations()->set_filelength(90);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectReadable(reader.get(), 0, 90);
    const ReadOutcome outcome = readAt(reader.get(), 10, 1000);
    EXPECT_EQ(80u, outcome.result);
    EXPECT_EQ(0u, readAt(reader.get(), 90, 1).result);
    EXPECT_EQ(0u, readAt(reader.get(), 100, 1).result);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, PositionInFrontOfTheFirstBlockHasNoDataNode)
{
    for (int i = 0; i < 3; ++i)
        file.block(static_cast<std::size_t>(i))->set_offset(1000 + static_cast<std::uint64_t>(i));
    file.response.mutable_locations()->set_filelength(1003);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(kReadNoLocation, readAt(reader.get(), 0, 10).result);
    EXPECT_EQ(0, reader->position);
    EXPECT_TRUE(log.holds({"ERROR HDFS: No data node that contains block 1073741825"}));
    EXPECT_EQ(0u, file.connectionCount());
}

TEST_F(Reader, LengthThatNoBlockCoversHasNoDataNode)
{
    file.response.mutable_locations()->clear_blocks();
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(kReadNoLocation, readAt(reader.get(), 0, 10).result);
    EXPECT_TRUE(log.holds({"ERROR HDFS: No data node that contains block 0"}));
}

TEST_F(Reader, LengthBeyondWhatAnOffsetCanBeIsNotRead)
{
    const std::uint64_t lengths[] = {0x8000000000000000ull, 0x8000000000000005ull, 0xFFFFFFFFFFFFFFFFull};
    for (std::uint64_t length : lengths) {
        file.response.mutable_locations()->set_filelength(length);
        const std::unique_ptr<HdfsFileReader> reader = file.open();
        EXPECT_EQ(length, reader->fileLength);
        expectReadable(reader.get(), 0, 100);
        expectReadable(reader.get(), 50, 100);
        EXPECT_EQ(kReadNoLocation, readAt(reader.get(), 200, 10).result) << "the last block has no end";
        EXPECT_EQ(kReadNoLocation, readAt(reader.get(), std::numeric_limits<std::int64_t>::max(), 10).result);
        EXPECT_TRUE(log.takes({"ERROR HDFS: No data node that contains block 1073741827",
                               "ERROR HDFS: No data node that contains block 1073741827"}));
    }
}

TEST_F(Reader, LastBlockLongerThanTheDataNodeHasItFails)
{
    file.response.mutable_locations()->set_filelength(300);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectReadable(reader.get(), 200, 50);
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 200, 100).result);
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 260, 10).result);
}

TEST_F(Reader, TenThousandLocationsAreTriedThreeTimesEach)
{
    for (std::uint32_t i = 0; i < 9999; ++i)
        *file.block(0)->add_locs() = someLocation("127.0.0.1", 1, "uuid");
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(10000u, reader->blocks[0]->locationCount);
    expectReadable(reader.get(), 0, 100);
    SystemCallFaults faults;
    faults.failFrom(SystemCall::Resolve, 0, EAI_AGAIN);
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 100).result);
    EXPECT_EQ(30000, faults.count(SystemCall::Resolve));
    EXPECT_TRUE(log.holds({"ERROR HDFS: All the data nodes that contains block 1073741825 are down"}));
}

TEST_F(Reader, EmptyHostNameIsADataNodeThatCannotBeReached)
{
    file.block(0)->mutable_locs(0)->mutable_id()->set_hostname("");
    file.block(0)->mutable_locs(0)->mutable_id()->set_xferport(0);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 100).result);
    EXPECT_TRUE(log.holds({"ERROR HDFS: All the data nodes that contains block 1073741825 are down"}));
}

// Positions, cursors, results.

TEST_F(Reader, PositionAtOrPastTheEndGivesNothing)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const std::int64_t positions[] = {250, 251,  std::numeric_limits<std::int64_t>::max(),
                                      -1,  -250, std::numeric_limits<std::int64_t>::min()};
    for (std::int64_t position : positions) {
        std::int32_t cursor = 77;
        char byte = 'u';
        reader->position = position;
        EXPECT_EQ(0u, reader->read(&byte, 1, &cursor));
        EXPECT_EQ('u', byte);
        EXPECT_EQ(77, cursor);
        EXPECT_EQ(position, reader->position);
    }
    EXPECT_EQ(0u, file.connectionCount());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, LengthZeroGivesNothingAndMovesTheHint)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(0u, readAt(reader.get(), 120, 0).result);
    EXPECT_EQ(120, reader->position);
    EXPECT_EQ(1, reader->blockIndex);
    EXPECT_EQ(0u, file.connectionCount());
}

TEST_F(Reader, LargestLengthIsCutToTheFile)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    std::string buffer(250, '\0');
    EXPECT_EQ(250u, reader->read(&buffer[0], 0xFFFFFFFFu, nullptr));
    EXPECT_EQ(file.bytes(), buffer);
}

TEST_F(Reader, EveryPositionIsReadFromTheBlockThatHoldsIt)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const std::size_t positions[] = {0, 249, 99, 100, 101, 199, 200, 1, 201, 98};
    for (std::size_t position : positions) {
        expectReadable(reader.get(), position, 1);
        EXPECT_EQ(static_cast<std::int32_t>(position / 100), reader->blockIndex);
    }
}

TEST_F(Reader, OwnIndexIsTheLastBlockThatWasRead)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    expectReadable(reader.get(), 0, 250);
    EXPECT_EQ(2, reader->blockIndex);
    expectReadable(reader.get(), 0, 100);
    EXPECT_EQ(0, reader->blockIndex) << "a read up to a block's end has not touched the next";
}

TEST_F(Reader, CallersCursorIsUsedInsteadOfItsOwn)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    std::int32_t cursor = 1;
    char buffer[250];
    reader->position = 20;
    EXPECT_EQ(150u, reader->read(buffer, 150, &cursor));
    EXPECT_EQ(1, cursor);
    EXPECT_EQ(0, reader->blockIndex);
    EXPECT_EQ(80u, reader->read(buffer, 100, &cursor));
    EXPECT_EQ(2, cursor);
    EXPECT_EQ(0, reader->blockIndex);
}

TEST_F(Reader, CursorMayHoldAnyNumber)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const std::int32_t cursors[] = {
        0, 2, 3, 4, 1000000, std::numeric_limits<std::int32_t>::max(), -1, std::numeric_limits<std::int32_t>::min()};
    for (std::int32_t start : cursors) {
        std::int32_t cursor = start;
        char byte = 0;
        reader->position = 150;
        EXPECT_EQ(1u, reader->read(&byte, 1, &cursor)) << "cursor " << start;
        EXPECT_EQ(file.bytes()[150], byte);
        EXPECT_EQ(1, cursor);
        reader->blockIndex = start;
        expectReadable(reader.get(), 210, 5);
        EXPECT_EQ(2, reader->blockIndex);
    }
}

TEST_F(Reader, FailedReadLeavesTheCursorAtTheBlockOfThePosition)
{
    file.block(2)->clear_locs();
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    std::int32_t cursor = 0;
    char buffer[250];
    reader->position = 120;
    EXPECT_EQ(kReadNoLocation, reader->read(buffer, 130, &cursor));
    EXPECT_EQ(1, cursor);
    EXPECT_EQ(120, reader->position);
    reader->position = 220;
    EXPECT_EQ(kReadNoLocation, reader->read(buffer, 30, &cursor));
    EXPECT_EQ(2, cursor);
    EXPECT_EQ(220, reader->position);
    EXPECT_TRUE(log.holds({"ERROR HDFS: No data node that contains block 1073741827 (18)",
                           "ERROR HDFS: No data node that contains block 1073741827"}));
}

TEST_F(Reader, BlockWithoutLocationsFailsOnlyWhenItIsRead)
{
    file.block(0)->clear_locs();
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(kReadNoLocation, readAt(reader.get(), 0, 10).result);
    EXPECT_EQ(0, reader->position);
    EXPECT_EQ(kReadNoLocation, readAt(reader.get(), 99, 1).result);
    EXPECT_TRUE(log.takes({"ERROR HDFS: No data node that contains block 1073741825",
                           "ERROR HDFS: No data node that contains block 1073741825"}));
    expectReadable(reader.get(), 100, 150);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, FreedBlockListCannotBeReadAndIsFreedOnce)
{
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    reader->freeBlockList();
    EXPECT_EQ(nullptr, reader->blocks);
    EXPECT_EQ(3, reader->blockCount);
    EXPECT_EQ(250u, reader->fileLength);
    EXPECT_EQ(kReadNoLocation, readAt(reader.get(), 120, 10).result);
    EXPECT_EQ(0u, readAt(reader.get(), 250, 10).result);
    EXPECT_TRUE(log.holds({"ERROR HDFS: No data node that contains block 0"}));
    reader->freeBlockList();
}

TEST_F(Reader, SeveralReadersShareAConnection)
{
    const std::unique_ptr<HdfsFileReader> first = file.open();
    const std::unique_ptr<HdfsFileReader> second = file.open();
    for (std::size_t position = 0; position < 250; position += 50) {
        expectReadable(first.get(), position, 50);
        expectReadable(second.get(), 200 - position, 50);
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Reader, NoDataNodeSocketStaysOpenAfterAnyKindOfRead)
{
    file.block(2)->clear_locs();
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const std::uint32_t lengths[] = {100, 200, 250};
    for (std::uint32_t length : lengths) {
        readAt(reader.get(), 0, length);
        EXPECT_EQ(platform::kInvalidSocket, file.connection.dataNodeSocket.handle);
    }
    file.dataNode().allConnections(ScriptedDataNode::ClosesAtOnce);
    EXPECT_EQ(kReadFailed, readAt(reader.get(), 0, 100).result);
    EXPECT_EQ(platform::kInvalidSocket, file.connection.dataNodeSocket.handle);
}

// Large lists and failing calls.

TEST_F(Reader, ListOfAHundredThousandBlocksComesInOneCallAndStaysUnderSixtyMebibytes)
{
    const std::int32_t kBlocks = 100000;
    LocatedBlocksProto *locations = file.response.mutable_locations();
    const LocatedBlockProto model = *file.block(0);
    locations->clear_blocks();
    for (std::int32_t i = 0; i < kBlocks; ++i) {
        LocatedBlockProto *block = locations->add_blocks();
        *block = model;
        block->set_offset(static_cast<std::uint64_t>(i) << 27);
        block->mutable_b()->set_blockid(ScriptedFile::blockId(static_cast<std::size_t>(i)));
        // Names as long as real ones: an address, a full host name, a UUID.
        block->clear_locs();
        for (int node = 0; node < 3; ++node) {
            DatanodeInfoProto *location = block->add_locs();
            *location = someLocation("datanode-" + std::to_string(node) + ".cluster.example.org", 9866,
                                     "6f0c3a52-6d2b-4c5e-9a39-2f6f3a1d5b7" + std::to_string(node));
            location->mutable_id()->set_ipaddr("192.168.100.10" + std::to_string(node));
        }
    }
    locations->set_filelength(static_cast<std::uint64_t>(kBlocks) << 27);
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    ASSERT_EQ(kBlocks, reader->blockCount);
    EXPECT_EQ(1u, file.nameNode.calls().size());

    const std::size_t kHeapOverhead = sizeof(std::size_t); // of each allocation
    std::size_t taken = usableSize(reader->blocks) + kHeapOverhead;
    for (std::int32_t i = 0; i <= kBlocks; ++i) {
        taken += usableSize(reader->blocks[i]) + kHeapOverhead;
        for (DataNodeLocation *location = reader->blocks[i]->firstLocation; location; location = location->next)
            taken += usableSize(location) + kHeapOverhead;
    }
    EXPECT_LT(taken, 60u << 20) << taken / kBlocks << " bytes for each block";
    EXPECT_LT(file.connection.responseBuffer.capacity(), 64 * 1024) << "the response itself is given back";

    // The first and the last block, from the other end of the list.
    EXPECT_EQ(kBlocks - 1, findBlock(reader->blocks, kBlocks, 0, (static_cast<std::int64_t>(kBlocks) << 27) - 1));
    EXPECT_EQ(0, findBlock(reader->blocks, kBlocks, kBlocks - 1, 0));
}

TEST(ReaderObjects, AreSmallBesidesTheBlockList)
{
    EXPECT_LT(sizeof(HdfsFileReader) + sizeof(NameNodeConnection), 64u * 1024);
}

TEST_F(Reader, AnyAllocationMayFailWhileItIsOpened)
{
    file.nameNode.answer(kMethod, file.response);
    for (int ordinal = 0;; ++ordinal) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, ordinal, ENOMEM);
        const std::unique_ptr<HdfsFileReader> reader = openAsQueued();
        if (!faults.hasFailed(SystemCall::Allocate)) {
            ASSERT_TRUE(reader != nullptr);
            EXPECT_EQ(3, reader->blockCount);
            EXPECT_TRUE(log.holds({}));
            EXPECT_GE(ordinal, 8) << "three blocks with a location each, sentinel, array";
            break;
        }
        if (reader) {
            EXPECT_TRUE(log.takes({"WARNING: Block Decoding failed: out of memory"}));
            EXPECT_LT(reader->blockCount, 3);
        }
        log.clear();
    }
}

TEST_F(Reader, NoMemoryForTheListGivesNone)
{
    file.nameNode.answer(kMethod, file.response);
    for (int ordinal = 6; ordinal < 8; ++ordinal) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, ordinal, ENOMEM);
        EXPECT_TRUE(openAsQueued() == nullptr) << "six allocations for the blocks, then sentinel and array";
    }
}

TEST_F(Reader, ResponseMayBreakOffAtAnyByte)
{
    std::size_t size = 0;
    {
        ScriptedFile whole({100, 100, 50});
        const std::unique_ptr<HdfsFileReader> reader = whole.open();
        whole.connection.disconnect();
        whole.nameNode.peer().waitUntilOver(1);
        size = whole.nameNode.peer().sent(0).size();
    }
    ScriptedNameNode nameNode;
    nameNode.answer(kMethod, file.response);
    ASSERT_TRUE(file.open() != nullptr) << "its own connection is there before the descriptors are counted";
    const OpenDescriptors before;
    std::size_t connections = 0;
    for (std::size_t byte = 0; byte <= size; ++byte) {
        const Fault faults[] = {Fault::closeAt(byte), Fault::resetAt(byte)};
        for (const Fault &fault : faults) {
            nameNode.peer().setSendFault(fault);
            NameNodeConnection connection;
            ASSERT_EQ(0, connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0,
                                            false, false, 0, 0));
            ++connections;
            const std::unique_ptr<HdfsFileReader> reader(HdfsFileReader::open(&connection, "/some/file"));
            EXPECT_EQ(byte >= size, reader != nullptr) << "byte " << byte;
            EXPECT_TRUE(log.takes(byte < size ? std::vector<std::string>{"TCPIP received failed"}
                                              : std::vector<std::string>{}));
        }
    }
    nameNode.peer().waitUntilOver(connections);
    EXPECT_EQ(0, before.opened());
}

TEST_F(Reader, AnyChangedByteOfTheResponseGivesAReaderOrNone)
{
    file.block(1)->clear_locs();
    const std::string message = lengthDelimited(file.response);
    for (std::size_t at = 0; at < message.size(); ++at) {
        const unsigned char masks[] = {0x01, 0x04, 0x80, 0xFF};
        for (unsigned char mask : masks) {
            std::string changed = message;
            changed[at] = static_cast<char>(changed[at] ^ mask);
            file.nameNode.forget(kMethod);
            file.nameNode.respond(kMethod, [changed](ScriptedConnection &connection, const NameNodeCall &call) {
                connection.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), changed));
            });
            const std::unique_ptr<HdfsFileReader> reader = openAsQueued();
            if (!reader)
                continue;
            // Wherever its hosts may be now, nobody is there.
            SystemCallFaults faults;
            faults.failFrom(SystemCall::Resolve, 0, EAI_NONAME);
            const std::int64_t positions[] = {0, 99, 100, 249};
            for (std::int64_t position : positions) {
                const std::uint32_t result = readAt(reader.get(), position, 10).result;
                ASSERT_TRUE(result == 0 || result == kReadFailed || result == kReadNoLocation)
                    << "byte " << at << ", result " << result;
            }
        }
    }
}
