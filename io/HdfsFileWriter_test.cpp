// A writer whose NameNode and DataNodes do what they should.
#include "io/HdfsFileWriter.h"

#include "testing/FakeTime.h"
#include "testing/LogCapture.h"
#include "testing/ScriptedDataNode.h"
#include "testing/ScriptedNewFile.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace hadoop::oracle;

namespace {

const std::uint32_t kBlock = 4096;

/// The NameNode's side of a file of so many blocks.
std::string callsFor(std::size_t blocks)
{
    return "create" + repeated(" addBlock", blocks) + (blocks > 0 ? " fsync complete" : " complete");
}

class Writing : public ::testing::Test
{
protected:
    FakeTime time;
    LogCapture log;
};

} // namespace

// Creation.

TEST_F(Writing, NothingIsSentBeforeABlockIsFull)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    ASSERT_TRUE(writer);
    EXPECT_EQ(1024u, writer->chunkSize());
    EXPECT_EQ(0, writer->syncBlock());
    EXPECT_EQ(0u, writer->totalWritten());
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(kBlock - 1)));
    EXPECT_EQ("", file.callNames());
    EXPECT_EQ(0u, file.connectionCount());
    EXPECT_EQ(kBlock - 1, writer->totalWritten());
    EXPECT_TRUE(log.takes({}));
}

TEST_F(Writing, CreateHasWhatTheWriterWasMadeWith)
{
    ScriptedNewFile file(3, 3);
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "a few bytes"));
    const CreateRequestProto create = file.requests<CreateRequestProto>("create").at(0);
    EXPECT_EQ("/some/file", create.src());
    EXPECT_EQ(0644u, create.masked().perm());
    EXPECT_EQ(3u, create.replication());
    EXPECT_EQ(kBlock, create.blocksize());
    EXPECT_EQ("a few bytes", file.content());
}

TEST_F(Writing, WriterNeedsALiveConnection)
{
    ScriptedNewFile file;
    file.connection.nameNodeSocket.close();
    EXPECT_FALSE(file.open(kBlock));
    EXPECT_TRUE(log.takes({"Not connected any more to NameNode"}));
}

TEST_F(Writing, BlockSizeIsAMultipleOfTheFirstChunkSize)
{
    ScriptedNewFile file;
    const std::vector<std::pair<std::int64_t, std::string>> unfit = {{1000, "1000"},
                                                                     {1, "1"},
                                                                     {1023, "1023"},
                                                                     {1025, "1025"},
                                                                     {-1, "-1"},
                                                                     {-1000, "-1000"},
                                                                     {0, "0"},
                                                                     {4294967296LL, "0"},
                                                                     {4294967296LL + 1000, "1000"},
                                                                     {3LL << 32, "0"}};
    for (const auto &each : unfit) {
        EXPECT_FALSE(file.open(each.first)) << each.first;
        EXPECT_TRUE(log.takes({"Block size " + each.second + " is not a multiple of chunk size 1024."}));
    }
    EXPECT_EQ("", file.callNames());
}

TEST_F(Writing, LowThirtyTwoBitsOfTheBlockSizeCount)
{
    ScriptedNewFile file;
    const std::vector<std::pair<std::int64_t, std::uint32_t>> sizes = {{1024, 1024},
                                                                       {(5LL << 30), 1u << 30},
                                                                       {3LL << 30, 3u << 30},
                                                                       {-1024, 0xFFFFFC00u},
                                                                       {4294966272LL, 0xFFFFFC00u}};
    for (const auto &each : sizes) {
        const std::unique_ptr<HdfsFileWriter> writer = file.open(each.first);
        ASSERT_TRUE(writer) << each.first;
        EXPECT_EQ(0, closeWith(writer.get(), "x"));
        EXPECT_EQ(each.second, file.requests<CreateRequestProto>("create").back().blocksize());
    }
    EXPECT_TRUE(log.takes({}));
}

// Chunk size and syncBlock.

TEST_F(Writing, ChunkSizeIsSetEvenIfItDoesNotDivideTheBlockSize)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_FALSE(writer->setChunkSize(512));
    EXPECT_EQ(512u, writer->chunkSize());
    EXPECT_FALSE(writer->setChunkSize(kBlock));
    EXPECT_TRUE(log.takes({}));
    EXPECT_TRUE(writer->setChunkSize(3000));
    EXPECT_EQ(3000u, writer->chunkSize());
    EXPECT_TRUE(log.takes({"Block size 4096 is not a multiple of chunk size 3000."}));
    const std::string bytes = patternBytes(2 * kBlock + 100);
    EXPECT_EQ(0, closeWith(writer.get(), bytes));
    EXPECT_TRUE(bytes == file.content());
    for (const WrittenBlock &block : file.wholeBlocks())
        EXPECT_EQ(3000u, block.request.requestedchecksum().bytesperchecksum());
}

TEST_F(Writing, ChunkSizeOfZeroIsRefused)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_TRUE(writer->setChunkSize(0));
    EXPECT_EQ(1024u, writer->chunkSize());
    EXPECT_TRUE(log.takes({"Block size 4096 is not a multiple of chunk size 0."}));
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_EQ("bytes", file.content());
}

TEST_F(Writing, ExtremeChunkSizesAreSigned)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_TRUE(writer->setChunkSize(0x80000000u));
    EXPECT_FALSE(writer->setChunkSize(0xFFFFFFFFu));
    EXPECT_EQ(0xFFFFFFFFu, writer->chunkSize());
    EXPECT_TRUE(log.takes({"Block size 4096 is not a multiple of chunk size -2147483648."}));
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_EQ("bytes", file.content());
    const std::unique_ptr<HdfsFileWriter> negative = file.open(std::int64_t(1) << 31);
    EXPECT_FALSE(negative->setChunkSize(0xFFFFFFFFu)) << "the one division whose result does not fit";
}

TEST_F(Writing, EveryChunkSizeWritesTheSameFile)
{
    const std::string bytes = patternBytes(3 * kBlock + 777);
    for (std::uint32_t chunk : {1u, 7u, 512u, 1024u, 4096u, 5000u}) {
        ScriptedNewFile file;
        const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        writer->setChunkSize(chunk);
        EXPECT_EQ(0, writeBytes(writer.get(), bytes));
        EXPECT_EQ(0, closeWith(writer.get(), ""));
        EXPECT_TRUE(bytes == file.content()) << chunk;
        log.clear();
    }
}

TEST_F(Writing, SyncBlockHoldsForTheBlocksThatFollow)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(kBlock)));
    writer->setSyncBlock(200);
    EXPECT_EQ(200, writer->syncBlock());
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(kBlock)));
    const std::vector<WrittenBlock> blocks = file.wholeBlocks();
    ASSERT_EQ(2u, blocks.size());
    EXPECT_FALSE(blocks[0].packets[0].has_syncblock());
    EXPECT_TRUE(blocks[1].packets[0].syncblock());
}

// Lengths.

TEST_F(Writing, FileSmallerThanABlockIsSentByClose)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), "first "));
    EXPECT_EQ(0, writeBytes(writer.get(), "second "));
    EXPECT_EQ(0u, file.connectionCount());
    EXPECT_EQ(0, closeWith(writer.get(), "third"));
    EXPECT_EQ(callsFor(1), file.callNames());
    EXPECT_EQ("first second third", file.content());
    EXPECT_EQ(18u, writer->totalWritten());
    EXPECT_EQ(1u, file.connectionCount());
    EXPECT_TRUE(log.takes({}));
}

TEST_F(Writing, WritesThatMakeJustABlockSendItAtOnce)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    const std::string bytes = patternBytes(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), bytes.substr(0, 1000)));
    EXPECT_EQ(0, writeBytes(writer.get(), bytes.substr(1000)));
    EXPECT_EQ("create addBlock", file.callNames());
    EXPECT_TRUE(bytes == file.wholeBlocks().at(0).data);
    EXPECT_EQ(0, closeWith(writer.get(), ""));
    EXPECT_EQ(callsFor(1), file.callNames()) << "nothing was left";
    EXPECT_TRUE(bytes == file.content());
}

TEST_F(Writing, AnyLengthInCallsOfAnyLength)
{
    const std::size_t lengths[] = {0,
                                   1,
                                   1023,
                                   1024,
                                   1025,
                                   kBlock - 1,
                                   kBlock,
                                   kBlock + 1,
                                   2 * kBlock - 1,
                                   2 * kBlock,
                                   2 * kBlock + 1,
                                   5 * kBlock,
                                   5 * kBlock + 3};
    const std::size_t calls[] = {1, 7, 1000, 1024, 4095, 4096, 4097, 8192, 10000, 30000};
    for (std::size_t length : lengths) {
        const std::string bytes = patternBytes(length, static_cast<unsigned>(length));
        for (std::size_t call : calls) {
            if (call == 1 && length > kBlock + 1)
                continue;
            ScriptedNewFile file;
            const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
            for (std::size_t at = 0; at < length; at += call)
                ASSERT_EQ(0, writeBytes(writer.get(), bytes.substr(at, call)));
            ASSERT_EQ(0, writer->close(nullptr, 0));
            EXPECT_EQ(callsFor((length + kBlock - 1) / kBlock), file.callNames()) << length << " by " << call;
            EXPECT_TRUE(bytes == file.content()) << length << " by " << call;
            EXPECT_EQ(length, writer->totalWritten());
        }
    }
    EXPECT_TRUE(log.takes({}));
}

TEST_F(Writing, AnyLengthInCloseBehindAnyLengthInWrites)
{
    const std::size_t lengths[] = {0, 1, 1024, kBlock - 1, kBlock, kBlock + 1, 2 * kBlock, 2 * kBlock + 5};
    for (std::size_t first : lengths) {
        for (std::size_t second : lengths) {
            const std::string bytes = patternBytes(first + second, static_cast<unsigned>(first));
            ScriptedNewFile file;
            const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
            ASSERT_EQ(0, writeBytes(writer.get(), bytes.substr(0, first)));
            ASSERT_EQ(0, closeWith(writer.get(), bytes.substr(first)));
            EXPECT_TRUE(bytes == file.content()) << first << " + " << second;
            // New data that go beyond what is gathered and end with a block are followed by an empty one.
            const std::size_t gathered = first % kBlock;
            const std::size_t taken = gathered > 0 ? std::min<std::size_t>(second, kBlock - gathered) : 0;
            const bool hasEmptyBlock = second > taken && (second - taken) % kBlock == 0;
            const std::size_t blocks = (first + second + kBlock - 1) / kBlock + (hasEmptyBlock ? 1 : 0);
            EXPECT_EQ(callsFor(blocks), file.callNames()) << first << " + " << second;
            if (hasEmptyBlock) {
                EXPECT_EQ(1u, file.wholeBlocks().back().packets.size());
            }
        }
    }
    EXPECT_TRUE(log.takes({}));
}

TEST_F(Writing, EmptyBlockBehindAFullOneIsTheLastOfTheFile)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), patternBytes(2 * kBlock)));
    const std::vector<WrittenBlock> blocks = file.wholeBlocks();
    ASSERT_EQ(3u, blocks.size());
    EXPECT_EQ(0u, blocks[2].data.size());
    EXPECT_EQ(2 * kBlock, blocks[2].request.minbytesrcvd());
    EXPECT_EQ(2 * kBlock, blocks[2].request.maxbytesrcvd());
    const CompleteRequestProto complete = file.completes().at(0);
    EXPECT_EQ(ScriptedNewFile::blockId(2), complete.last().blockid());
    EXPECT_TRUE(complete.last().has_numbytes());
    EXPECT_EQ(0u, complete.last().numbytes());
}

TEST_F(Writing, BlocksNameTheOneBeforeThemAndCountOn)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(3 * kBlock + 100)));
    EXPECT_EQ(0, closeWith(writer.get(), ""));
    const std::vector<AddBlockRequestProto> adds = file.addBlocks();
    const std::vector<WrittenBlock> blocks = file.wholeBlocks();
    ASSERT_EQ(4u, adds.size());
    ASSERT_EQ(4u, blocks.size());
    EXPECT_FALSE(adds[0].has_previous());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(i * kBlock, blocks[i].request.minbytesrcvd());
        EXPECT_EQ(std::min<std::size_t>((i + 1) * kBlock, 3 * kBlock + 100), blocks[i].request.maxbytesrcvd());
        EXPECT_EQ(0, adds[i].excludenodes_size());
        if (i > 0) {
            EXPECT_EQ(ScriptedNewFile::blockId(i - 1), adds[i].previous().blockid());
            EXPECT_EQ(kBlock, adds[i].previous().numbytes());
        }
    }
    EXPECT_EQ(100u, file.completes().at(0).last().numbytes());
}

TEST_F(Writing, LargeBlockGoesThroughTheWindow)
{
    ScriptedNewFile file(3, 3);
    const std::uint32_t blockSize = 4 << 20;
    const std::string bytes = patternBytes(2 * blockSize + 12345);
    const std::unique_ptr<HdfsFileWriter> writer = file.open(blockSize);
    writer->setChunkSize(64); // 32,000 bytes in a packet
    for (std::size_t at = 0; at < bytes.size(); at += 1000000)
        ASSERT_EQ(0, writeBytes(writer.get(), bytes.substr(at, 1000000)));
    EXPECT_EQ(0, closeWith(writer.get(), ""));
    EXPECT_TRUE(bytes == file.content());
    EXPECT_TRUE(log.takes({}));
}

// Nothing at all.

TEST_F(Writing, CloseWithoutBytesCreatesTheFile)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writer->write(nullptr, 0));
    EXPECT_EQ("", file.callNames());
    EXPECT_EQ(0, writer->close(nullptr, 0));
    EXPECT_EQ("create complete", file.callNames());
    EXPECT_FALSE(file.completes().at(0).has_last());
    EXPECT_EQ(0u, file.connectionCount());
    EXPECT_EQ(0, writer->finish());
    EXPECT_EQ("create complete", file.callNames());
}

TEST_F(Writing, DroppingAnUntouchedWriterSendsNothing)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writer->write("", 0));
    EXPECT_EQ(0, writer->finish());
    EXPECT_EQ("", file.callNames());
    EXPECT_TRUE(log.takes({}));
}

TEST_F(Writing, DroppingAWriterCompletesItsFile)
{
    ScriptedNewFile file;
    std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), "gathered"));
    EXPECT_EQ(0, writer->finish());
    EXPECT_EQ(callsFor(1), file.callNames());
    EXPECT_EQ("gathered", file.content());
    EXPECT_EQ(0, writer->finish());
    EXPECT_EQ(callsFor(1), file.callNames()) << "once";

    ScriptedNewFile second;
    writer = second.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(kBlock)));
    EXPECT_EQ(0, writer->finish());
    EXPECT_EQ(callsFor(1), second.callNames());
    writer.reset();
}

TEST_F(Writing, DestructorSendsNothing)
{
    ScriptedNewFile file;
    std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(kBlock + 5)));
    writer.reset();
    EXPECT_EQ("create addBlock", file.callNames());
}

TEST_F(Writing, ClosedFileStaysAsItIs)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_EQ(0, writer->close(nullptr, 0));
    EXPECT_EQ(8, closeWith(writer.get(), "more"));
    EXPECT_EQ(kWriteFailed, writeBytes(writer.get(), "more"));
    EXPECT_EQ(0, writer->close(nullptr, 0));
    EXPECT_EQ(callsFor(1), file.callNames());
    EXPECT_EQ("bytes", file.content());
}
