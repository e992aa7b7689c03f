// Copies whose source scripted DataNodes hold and whose destination others take.
#include "io/HdfsFileCopy.h"

#include "testing/FakeTime.h"
#include "testing/LogCapture.h"
#include "testing/NamespaceMessages.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedFile.h"
#include "testing/ScriptedNewFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace hadoop::oracle;

namespace {

const std::uint32_t kBlock = 4096;

GetFileInfoResponseProto statusOf(std::uint64_t length, std::uint64_t blockSize = kBlock)
{
    GetFileInfoResponseProto response = fileInfoOf(HdfsFileStatusProto::IS_FILE);
    response.mutable_fs()->set_length(length);
    response.mutable_fs()->set_blocksize(blockSize);
    response.mutable_fs()->set_block_replication(2);
    response.mutable_fs()->mutable_permission()->set_perm(0640);
    return response;
}

class Copying : public ::testing::Test
{
protected:
    /// A source of these blocks, and a NameNode that knows it.
    void makeSource(const std::vector<std::size_t> &blockSizes, std::uint64_t blockSize = kBlock)
    {
        source.reset(new ScriptedFile(blockSizes));
        target.nameNode.answer("getFileInfo", statusOf(source->bytes().size(), blockSize));
        target.nameNode.answer("getBlockLocations", source->response);
        DeleteResponseProto yes;
        yes.set_result(true);
        target.nameNode.answer("delete", yes);
    }

    std::int32_t copy(const QByteArray &from = "/from", const QByteArray &to = "/to")
    {
        return copyHdfsFile(&target.connection, from, to);
    }

    /// The destination has been deleted, and not with all that is below it.
    void expectDestinationDeleted()
    {
        const std::vector<DeleteRequestProto> deletes = target.requests<DeleteRequestProto>("delete");
        ASSERT_EQ(1u, deletes.size());
        EXPECT_EQ("/to", deletes[0].src());
        EXPECT_FALSE(deletes[0].recursive());
        EXPECT_EQ("delete", target.nameNode.calls().back().method);
    }

    FakeTime time;
    LogCapture log;
    ScriptedNewFile target;
    std::unique_ptr<ScriptedFile> source;
};

} // namespace

TEST_F(Copying, BytesArriveWhateverTheirNumber)
{
    const std::vector<std::vector<std::size_t>> files = {{1},         {kBlock - 1},     {kBlock},
                                                         {kBlock, 1}, {kBlock, kBlock}, {kBlock, kBlock, kBlock - 1}};
    for (const std::vector<std::size_t> &blocks : files) {
        ScriptedNewFile to;
        ScriptedFile from(blocks);
        to.nameNode.answer("getFileInfo", statusOf(from.bytes().size()));
        to.nameNode.answer("getBlockLocations", from.response);
        const OpenDescriptors descriptors;
        EXPECT_EQ(0, copyHdfsFile(&to.connection, "/from", "/to"));
        EXPECT_EQ(from.bytes(), to.content());
        EXPECT_EQ("getFileInfo getBlockLocations create" + repeated(" addBlock", blocks.size()) + " fsync complete",
                  to.callNames());
        EXPECT_EQ("/from", to.requests<GetFileInfoRequestProto>("getFileInfo").at(0).src());
        EXPECT_EQ("/from", to.requests<GetBlockLocationsRequestProto>("getBlockLocations").at(0).src());
        EXPECT_EQ("/to", to.requests<CreateRequestProto>("create").at(0).src());
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Copying, EmptySourceMakesAnEmptyDestination)
{
    makeSource({});
    EXPECT_EQ(0, copy());
    EXPECT_EQ("getFileInfo getBlockLocations create complete", target.callNames());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(Copying, DestinationTakesOverPermissionReplicationAndBlockSize)
{
    makeSource({100});
    EXPECT_EQ(0, copy());
    const CreateRequestProto create = target.requests<CreateRequestProto>("create").at(0);
    EXPECT_EQ(0640u, create.masked().perm());
    EXPECT_EQ(2u, create.replication());
    EXPECT_EQ(kBlock, create.blocksize());
}

TEST_F(Copying, PermissionIsTakenForASignedNumberOf16Bits)
{
    makeSource({100});
    GetFileInfoResponseProto status = statusOf(100);
    status.mutable_fs()->mutable_permission()->set_perm(0x81A4);
    target.nameNode.forget("getFileInfo");
    target.nameNode.answer("getFileInfo", status);
    EXPECT_EQ(0, copy());
    EXPECT_EQ(0xFFFF81A4u, target.requests<CreateRequestProto>("create").at(0).masked().perm());
}

TEST_F(Copying, NeedsALiveConnection)
{
    target.connection.nameNodeSocket.close();
    EXPECT_EQ(1, copy());
    EXPECT_TRUE(log.holds({"Not connected any more to NameNode"}));
}

TEST_F(Copying, NeedsTheSourcesStatus)
{
    target.nameNode.answerException("getFileInfo", "java.io.IOException", "no");
    EXPECT_EQ(2, copy());
    EXPECT_TRUE(log.holds({"ExceptionClassName=java.io.IOException\nerrorMsg=no", "Cannot get info on File '%s'"}));
    EXPECT_EQ("getFileInfo", target.callNames());
}

TEST_F(Copying, NeedsASource)
{
    target.nameNode.answer("getFileInfo", GetFileInfoResponseProto());
    EXPECT_EQ(3, copy());
    EXPECT_TRUE(log.holds({"File not found"}));
    EXPECT_EQ("getFileInfo", target.callNames());
}

TEST_F(Copying, NeedsMemoryForABlock)
{
    makeSource({100});
    {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, 1, ENOMEM); // behind the status record
        EXPECT_EQ(4, copy());
    }
    EXPECT_TRUE(log.holds({"Memory Allocation Error"}));
    EXPECT_EQ("getFileInfo", target.callNames());
}

TEST_F(Copying, NeedsASourceThatCanBeOpened)
{
    makeSource({100});
    target.nameNode.forget("getBlockLocations");
    target.nameNode.answerException("getBlockLocations", "java.io.FileNotFoundException", "gone");
    EXPECT_EQ(5, copy());
    EXPECT_TRUE(log.holds({"ExceptionClassName=java.io.FileNotFoundException\nerrorMsg=gone"}));
    EXPECT_EQ("getFileInfo getBlockLocations", target.callNames());
}

TEST_F(Copying, NeedsADestinationThatCanBeOpenedAndDeletesNothing)
{
    makeSource({100}, 1000);
    EXPECT_EQ(6, copy());
    EXPECT_TRUE(log.takes({"Block size 1000 is not a multiple of chunk size 1024."}));
    EXPECT_EQ("getFileInfo getBlockLocations", target.callNames());
}

TEST_F(Copying, BlocksOfFourGibibytesCannotBeWritten)
{
    makeSource({100}, 1ull << 32);
    SystemCallFaults faults;
    EXPECT_EQ(6, copy());
    EXPECT_EQ("getFileInfo getBlockLocations", target.callNames());
}

TEST_F(Copying, SourceIsNotCopiedOntoItself)
{
    makeSource({100});
    for (const char *destination : {"/from", "/from/", "/from//"}) {
        EXPECT_EQ(6, copy("/from", destination));
        EXPECT_TRUE(log.takes({"ERROR HDFS: source and destination of a copy are the same file"}));
    }
    EXPECT_EQ("getFileInfo getFileInfo getFileInfo", target.callNames());
}

TEST_F(Copying, FailedReadDeletesTheDestination)
{
    makeSource({kBlock, kBlock, 100});
    source->block(1)->clear_locs();
    target.nameNode.forget("getBlockLocations");
    target.nameNode.answer("getBlockLocations", source->response);
    EXPECT_EQ(7, copy());
    EXPECT_TRUE(log.holds({"ERROR HDFS: No data node that contains block 1073741826", "Error-read in copy HDFS."}));
    EXPECT_EQ("getFileInfo getBlockLocations create addBlock fsync complete delete", target.callNames());
    expectDestinationDeleted();
}

TEST_F(Copying, ReadThatFailsAtOnceLeavesNoDestinationEither)
{
    makeSource({100});
    source->dataNode().allConnections(ScriptedDataNode::ClosesAtOnce);
    EXPECT_EQ(7, copy());
    EXPECT_EQ("Error-read in copy HDFS.", log.texts().back());
    EXPECT_EQ("getFileInfo getBlockLocations delete", target.callNames());
    expectDestinationDeleted();
}

TEST_F(Copying, FailedWriteDeletesTheDestination)
{
    makeSource({kBlock, kBlock, 100});
    for (int i = 0; i < 5; ++i) {
        target.answerAddBlock([](ScriptedConnection &connection, const NameNodeCall &call) {
            connection.send(ScriptedNameNode::frame(
                ScriptedNameNode::exceptionHeader(call, "java.io.IOException", "full"), std::string()));
        });
    }
    const OpenDescriptors descriptors;
    EXPECT_EQ(8, copy());
    const std::string refused = "ExceptionClassName=java.io.IOException\nerrorMsg=full";
    EXPECT_TRUE(log.holds({refused, refused, refused, refused, refused, "Error-write in copy HDFS."}));
    EXPECT_EQ("getFileInfo getBlockLocations create" + repeated(" addBlock", 6) + " delete", target.callNames());
    expectDestinationDeleted();
}

TEST_F(Copying, LastWriteThatFailsIsOnlySeenInTheLog)
{
    makeSource({kBlock, 100});
    target.nameNode.forget("complete");
    target.nameNode.answerException("complete", "java.io.IOException", "no");
    EXPECT_EQ(0, copy());
    EXPECT_TRUE(log.holds({"ExceptionClassName=java.io.IOException\nerrorMsg=no"}));
    EXPECT_TRUE(target.requests<DeleteRequestProto>("delete").empty());
}
