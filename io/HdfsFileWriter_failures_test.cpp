// Files that cannot be written at once, or not at all: which DataNode is tried next, what is logged and what the caller
// gets.
#include "io/HdfsFileWriter.h"

#include "testing/FakeTime.h"
#include "testing/HeapInUse.h"
#include "testing/LogCapture.h"
#include "testing/ScriptedDataNode.h"
#include "testing/ScriptedFile.h"
#include "testing/ScriptedNewFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>

using namespace hadoop::oracle;

namespace {

typedef std::vector<std::string> Lines;
typedef ScriptedWriteNode::Serving Serving;

const std::uint32_t kBlock = 4096;
const char kNotConnected[] = "Not connected any more to NameNode";
const char kAbandoned[] = "create addBlock addBlock addBlock addBlock addBlock";
const Lines kRefusal = {"Cannot create Pipeline"};

Lines operator+(Lines first, const Lines &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Lines times(std::size_t count, const Lines &lines)
{
    Lines all;
    for (std::size_t i = 0; i < count; ++i)
        all = all + lines;
    return all;
}

std::string exceptionLine(const std::string &className, const std::string &message)
{
    return "ExceptionClassName=" + className + "\nerrorMsg=" + message;
}

Serving refusing()
{
    Serving serving;
    serving.answer = pipelineAnswer(ERROR, "", "refused");
    serving.closesBehind = Serving::Answer;
    return serving;
}

std::vector<std::string> excluded(const AddBlockRequestProto &request)
{
    std::vector<std::string> uuids;
    for (const DatanodeInfoProto &node : request.excludenodes())
        uuids.push_back(node.id().datanodeuuid());
    return uuids;
}

class FailingWrite : public ::testing::Test
{
protected:
    FakeTime time;
    LogCapture log;
};

} // namespace

// DataNodes that fail.

TEST_F(FailingWrite, BlockThatFailsIsWrittenAgainElsewhere)
{
    ScriptedNewFile file(4, 2);
    file.dataNode(0).serve(refusing());
    file.dataNode(1).serve(refusing());
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    const std::string bytes = patternBytes(kBlock + 10);
    EXPECT_EQ(0, closeWith(writer.get(), bytes));
    EXPECT_TRUE(bytes == file.content());
    const std::vector<AddBlockRequestProto> adds = file.addBlocks();
    ASSERT_EQ(6u, adds.size());
    typedef std::vector<std::string> Uuids;
    const Uuids first = {ScriptedNewFile::uuid(0)};
    const Uuids both = {ScriptedNewFile::uuid(0), ScriptedNewFile::uuid(1)};
    const Uuids expected[] = {Uuids(), first, both, Uuids(), first, both};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(expected[i], excluded(adds[i])) << "addBlock " << i;
        EXPECT_EQ(i >= 3, adds[i].has_previous());
    }
    EXPECT_EQ(ScriptedNewFile::blockId(2), adds[5].previous().blockid()) << "not one that failed";
    EXPECT_EQ("create" + repeated(" addBlock", 6) + " fsync complete", file.callNames()) << "nothing is given back";
    EXPECT_TRUE(log.takes(times(4, kRefusal)));
    EXPECT_TRUE(time.pauses().empty());
    // The lengths count what was written, not what was tried.
    EXPECT_EQ(kBlock, file.wholeBlocks().back().request.minbytesrcvd());
}

TEST_F(FailingWrite,
       ExcludedDataNodesHaveTheirPlaceInTheNetworkWhenTheirBlocksAreGivenBackAndElseNothingButTheirIdentity)
{
    for (const bool gives : {false, true}) {
        ScriptedNewFile file(2, 2);
        file.connection.abandonsFailedBlocks = gives;
        file.dataNode(0).serve(refusing());
        const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
        const DatanodeInfoProto sent = file.addBlocks().at(1).excludenodes(0);
        DatanodeInfoProto expected;
        *expected.mutable_id() = file.dataNode(0).location(ScriptedNewFile::uuid(0)).id();
        expected.mutable_id()->clear_infosecureport();
        if (gives)
            expected.set_location("/default-rack");
        EXPECT_EQ(expected.SerializeAsString(), sent.SerializeAsString());
    }
}

TEST_F(FailingWrite, FifthFailingAttemptIsTheLast)
{
    ScriptedNewFile file(7);
    file.serve(refusing());
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(7, closeWith(writer.get(), "bytes"));
    EXPECT_TRUE(log.takes(times(5, kRefusal) + Lines({"Maximum retry reached"})));
    EXPECT_EQ(kAbandoned, file.callNames());
    const std::vector<AddBlockRequestProto> adds = file.addBlocks();
    for (std::size_t i = 0; i < adds.size(); ++i) {
        ASSERT_EQ(i, excluded(adds[i]).size());
        for (std::size_t node = 0; node < i; ++node)
            EXPECT_EQ(ScriptedNewFile::uuid(node), excluded(adds[i])[node]) << "in the order of their failures";
    }
    EXPECT_EQ(5u, file.connectionCount());
}

TEST_F(FailingWrite, FifthAttemptMaySucceed)
{
    ScriptedNewFile file(5);
    for (std::size_t i = 0; i < 4; ++i)
        file.dataNode(i).serve(refusing());
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_EQ("bytes", file.content());
    EXPECT_TRUE(log.takes(times(4, kRefusal)));
}

TEST_F(FailingWrite, EveryKindOfFailedAttemptLeadsToAnother)
{
    Serving wrongAck;
    wrongAck.ack = [](std::int64_t) { return pipelineAck(77, {SUCCESS}); };
    Serving noAck;
    noAck.sendsEverythingAtOnce = true;
    noAck.ack = [](std::int64_t) { return std::string(); };
    Serving closes;
    closes.closesBehind = Serving::Connect;
    const std::vector<std::pair<Serving, Lines>> cases = {
        {refusing(), kRefusal},
        {wrongAck, {"error ACK paquet"}},
        {noAck, {"TCPIP received failed", "Error at socket(): *"}},
        {closes, {"TCPIP received failed", "Error at socket(): *"}},
    };
    for (const auto &each : cases) {
        ScriptedNewFile file(2);
        file.dataNode(0).serve(each.first);
        const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
        EXPECT_TRUE(log.takes(each.second));
        EXPECT_EQ("bytes", file.content());
    }
    ScriptedNewFile file(2);
    file.dataNode(0).peer().stopListening();
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_TRUE(log.takes({"Cannot connect to datanode"}));
    EXPECT_EQ("bytes", file.content());
}

TEST_F(FailingWrite, BlockWithoutDataNodesIsAFailedAttempt)
{
    ScriptedNewFile file;
    file.nameNode.forget("addBlock");
    AddBlockResponseProto nowhere;
    *nowhere.mutable_block() = givenBlock(0, {});
    file.nameNode.answer("addBlock", nowhere);
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(7, closeWith(writer.get(), "bytes"));
    EXPECT_TRUE(log.takes(times(5, {"Cannot connect to datanode"}) + Lines({"Maximum retry reached"})));
    EXPECT_EQ(0, file.addBlocks().back().excludenodes_size());
}

TEST_F(FailingWrite, LocationThatLeadsNowhereCostsEachAttempt)
{
    const DatanodeInfoProto nowhere[] = {
        someLocation("127.0.0.1", 0, "port-zero"), someLocation("127.0.0.1", 70000, "no-port"),
        someLocation("no.such.host.invalid", 9866, "no-host"), someLocation("", 9866, "no-name")};
    for (const DatanodeInfoProto &location : nowhere) {
        ScriptedNewFile file;
        file.nameNode.forget("addBlock");
        AddBlockResponseProto response;
        *response.mutable_block() = givenBlock(0, {location});
        file.nameNode.answer("addBlock", response);
        const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        EXPECT_EQ(7, closeWith(writer.get(), "bytes")) << location.id().datanodeuuid();
        EXPECT_TRUE(log.takes(times(5, {"Cannot connect to datanode"}) + Lines({"Maximum retry reached"})));
    }
}

TEST_F(FailingWrite, TenThousandLocationsDoNotFitIntoARequest)
{
    ScriptedNewFile file;
    file.nameNode.forget("addBlock");
    const std::vector<DatanodeInfoProto> locations(10000, file.dataNode().location("the-same"));
    AddBlockResponseProto response;
    *response.mutable_block() = givenBlock(0, locations);
    file.nameNode.answer("addBlock", response);
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(9, closeWith(writer.get(), "bytes"));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
}

TEST_F(FailingWrite, LengthThatTheNameNodeGivesANewBlockDoesNotMatter)
{
    ScriptedNewFile file;
    file.answerAddBlock([&](ScriptedConnection &connection, const NameNodeCall &call) {
        AddBlockResponseProto response;
        *response.mutable_block() = givenBlock(0, {file.dataNode().location(ScriptedNewFile::uuid(0))});
        file.dataNode().expect(response.block());
        response.mutable_block()->mutable_b()->set_numbytes(1u << 30);
        connection.send(ScriptedNameNode::frame(call, response));
    });
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_EQ(5u, file.completes().at(0).last().numbytes());
}

TEST_F(FailingWrite, FailedBlockIsGivenBackWhenThatIsAskedFor)
{
    ScriptedNewFile file(3);
    file.connection.abandonsFailedBlocks = true;
    file.dataNode(0).serve(refusing());
    file.dataNode(1).serve(refusing());
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_EQ("create addBlock abandonBlock addBlock abandonBlock addBlock fsync complete", file.callNames());
    const std::vector<AbandonBlockRequestProto> abandoned = file.requests<AbandonBlockRequestProto>("abandonBlock");
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(ScriptedNewFile::blockId(i), abandoned[i].b().blockid());
        EXPECT_EQ("/some/file", abandoned[i].src());
    }
    EXPECT_EQ("bytes", file.content());
}

TEST_F(FailingWrite, LastFailedBlockIsNotGivenBack)
{
    ScriptedNewFile file(5);
    file.connection.abandonsFailedBlocks = true;
    file.serve(refusing());
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(7, closeWith(writer.get(), "bytes"));
    EXPECT_EQ(4u, file.nameNode.calls("abandonBlock").size());
}

TEST_F(FailingWrite, DataNodeThatTheOthersBlameIsExcludedWhenBlocksAreGivenBack)
{
    for (bool gives : {false, true}) {
        ScriptedNewFile file(3, 3);
        file.connection.abandonsFailedBlocks = gives;
        Serving blaming;
        blaming.answer = pipelineAnswer(ERROR, "127.0.0.1:" + std::to_string(file.dataNode(1).port()), "");
        blaming.closesBehind = Serving::Answer;
        file.dataNode(0).serveNext({blaming});
        const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
        EXPECT_EQ(std::vector<std::string>(1, ScriptedNewFile::uuid(gives ? 1 : 0)), excluded(file.addBlocks().at(1)));
        EXPECT_EQ("bytes", file.content());
        log.clear();
    }
}

TEST_F(FailingWrite, ExclusionListThatDoesNotFitGivesNoBlock)
{
    ScriptedNewFile file;
    file.nameNode.forget("addBlock");
    // Two such names fit into a request, three do not.
    AddBlockResponseProto response;
    *response.mutable_block() = givenBlock(0, {file.dataNode().location(std::string(380, 'u'))});
    file.nameNode.answer("addBlock", response);
    file.dataNode().expect(response.block());
    file.serve(refusing());
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(8, closeWith(writer.get(), "bytes"));
    EXPECT_TRUE(log.takes(times(3, kRefusal) + Lines({"Encoding failed: stream full"})));
    EXPECT_EQ("create addBlock addBlock addBlock", file.callNames());
}

// The DataNode socket.

TEST_F(FailingWrite, SocketIsClosedBehindEachBlockUnlessItIsKept)
{
    for (bool keeps : {false, true}) {
        ScriptedNewFile file;
        file.connection.keepDataNodeConnection = keeps;
        Serving serving;
        serving.keepsConnection = keeps;
        file.serve(serving);
        const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(3 * kBlock)));
        EXPECT_EQ(keeps, file.connection.dataNodeSocket.handle != platform::kInvalidSocket);
        EXPECT_EQ(keeps ? 1u : 3u, file.connectionCount());
        EXPECT_EQ(0, writer->close(nullptr, 0));
        EXPECT_EQ(3 * kBlock, file.content().size());
    }
}

TEST_F(FailingWrite, SocketOfAFailedAttemptIsNotUsedAgain)
{
    ScriptedNewFile file;
    file.connection.keepDataNodeConnection = true;
    file.nameNode.forget("addBlock");
    file.answerAddBlock([&file](ScriptedConnection &link, const NameNodeCall &call) {
        // Whatever is excluded: the same DataNode once more.
        AddBlockResponseProto response;
        *response.mutable_block() = givenBlock(1, {file.dataNode().location("only")});
        file.dataNode().expect(response.block());
        link.send(ScriptedNameNode::frame(call, response));
    });
    file.dataNode().serveNext({refusing(), refusing()});
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_EQ(3u, file.connectionCount());
    EXPECT_TRUE(log.takes(times(2, kRefusal)));
}

// Codes.

TEST_F(FailingWrite, CreateThatFailsEndsTheFileWithItsCode)
{
    struct Case {
        std::int32_t code;
        std::function<void(ScriptedNewFile &)> arrange;
        Lines lines;
    };
    const Case cases[] = {
        {1, [](ScriptedNewFile &file) { file.connection.nameNodeSocket.close(); }, {kNotConnected}},
        {1,
         [](ScriptedNewFile &file) {
             file.connection.clientId.reset(static_cast<char *>(std::calloc(1, 200)));
             std::memset(file.connection.clientId.get(), 'c', 150);
         },
         {"Encoding failed: stream full"}},
        {4,
         [](ScriptedNewFile &file) {
             file.nameNode.forget("create");
             file.nameNode.answerException("create", "AccessControlException", "no");
         },
         {exceptionLine("AccessControlException", "no")}},
    };
    for (const Case &each : cases) {
        for (bool byWrite : {false, true}) {
            ScriptedNewFile file;
            const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
            each.arrange(file);
            if (byWrite)
                EXPECT_EQ(kWriteFailed, writeBytes(writer.get(), patternBytes(kBlock)));
            else
                EXPECT_EQ(each.code, closeWith(writer.get(), "x"));
            EXPECT_TRUE(log.takes(each.lines));
            const std::string calls = file.callNames();
            EXPECT_EQ(each.code, writer->close(nullptr, 0));
            EXPECT_EQ(kWriteFailed, writeBytes(writer.get(), "x"));
            EXPECT_EQ(each.code, writer->finish());
            EXPECT_EQ(calls, file.callNames()) << "nothing more is sent";
            EXPECT_EQ(0u, file.connectionCount());
            EXPECT_TRUE(log.takes({}));
        }
    }
}

TEST_F(FailingWrite, CreateOfALongPathIsNotEncoded)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer(
        HdfsFileWriter::create(&file.connection, QByteArray(1000, 'p'), 0644, 1, kBlock));
    EXPECT_EQ(2, closeWith(writer.get(), "x"));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
}

TEST_F(FailingWrite, CreateThatIsNotSentEndsTheFile)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, EPIPE);
    EXPECT_EQ(3, closeWith(writer.get(), "x"));
    EXPECT_TRUE(log.takes({"TCPIP send failed"}));
    EXPECT_EQ(1, faults.count(SystemCall::Send));
}

TEST_F(FailingWrite, NoBlockEndsTheFile)
{
    ScriptedNewFile file;
    file.nameNode.forget("addBlock");
    file.nameNode.answerException("addBlock", "LeaseExpiredException", "gone");
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(kWriteFailed, writeBytes(writer.get(), patternBytes(kBlock)));
    EXPECT_TRUE(log.takes(times(5, {exceptionLine("LeaseExpiredException", "gone")})));
    EXPECT_EQ(std::vector<int>({200, 400, 800, 1600}), time.pauses());
    EXPECT_EQ(8, writer->close(nullptr, 0));
    EXPECT_EQ(kAbandoned, file.callNames()) << "neither fsync nor complete";
}

TEST_F(FailingWrite, NameNodeThatIsBusyForAWhileIsWaitedFor)
{
    ScriptedNewFile file;
    file.nameNode.forget("addBlock");
    file.nameNode.answerException("addBlock", "NotReplicatedYetException", "wait");
    file.nameNode.answerException("addBlock", "NotReplicatedYetException", "wait");
    file.answerAddBlock([&file](ScriptedConnection &link, const NameNodeCall &call) { file.giveBlock(link, call); });
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "bytes"));
    EXPECT_EQ("bytes", file.content());
    EXPECT_EQ(600, time.passed());
    EXPECT_EQ(2u, log.lines().size());
}

TEST_F(FailingWrite, RequestThatDoesNotFitEndsTheFileAtOnce)
{
    ScriptedNewFile file(40, 40);
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(9, closeWith(writer.get(), "x"));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    EXPECT_EQ("create addBlock", file.callNames());
    EXPECT_EQ(platform::kInvalidSocket, file.connection.dataNodeSocket.handle);
}

TEST_F(FailingWrite, FsyncThatFailsEndsTheFile)
{
    ScriptedNewFile file;
    file.nameNode.forget("fsync");
    file.nameNode.answerException("fsync", "LeaseExpiredException", "gone");
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(1, closeWith(writer.get(), "x"));
    EXPECT_EQ("create addBlock fsync", file.callNames());
    EXPECT_TRUE(log.takes({exceptionLine("LeaseExpiredException", "gone")}));
    EXPECT_EQ(1, writer->close(nullptr, 0));
    EXPECT_EQ(1, writer->finish());
    EXPECT_EQ("create addBlock fsync", file.callNames());
}

TEST_F(FailingWrite, FsyncOnADeadConnectionIsNotStarted)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(kBlock)));
    file.connection.nameNodeSocket.close();
    EXPECT_EQ(2, writer->close(nullptr, 0));
    EXPECT_TRUE(log.takes({kNotConnected}));
}

TEST_F(FailingWrite, CompleteThatFailsEndsTheFile)
{
    ScriptedNewFile file;
    file.nameNode.forget("complete");
    file.nameNode.answerException("complete", "LeaseExpiredException", "gone");
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(1, closeWith(writer.get(), "x"));
    EXPECT_EQ("create addBlock fsync complete", file.callNames());
    EXPECT_EQ(1, writer->close(nullptr, 0));
    EXPECT_EQ("create addBlock fsync complete", file.callNames());
    log.clear();
}

TEST_F(FailingWrite, CompleteBehindALostConnectionIsNotStarted)
{
    ScriptedNewFile file;
    file.nameNode.forget("fsync");
    file.nameNode.respond("fsync", [&file](ScriptedConnection &link, const NameNodeCall &call) {
        link.send(ScriptedNameNode::frame(call, FsyncResponseProto()));
    });
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(kBlock)));
    SystemCallFaults faults;
    // The first look at the socket is fsync's.
    faults.fail(SystemCall::GetOption, 1, EBADF);
    const platform::SocketHandle handle = file.connection.nameNodeSocket.handle;
    EXPECT_EQ(4, writer->close(nullptr, 0));
    EXPECT_TRUE(log.takes({kNotConnected}));
    platform::closeSocket(handle); // a dead one is forgotten without being closed
}

TEST_F(FailingWrite, FileThatNeverIsCompleteEndsAfterThirtySeconds)
{
    ScriptedNewFile file;
    file.nameNode.forget("complete");
    CompleteResponseProto notYet;
    notYet.set_result(false);
    file.nameNode.answer("complete", notYet);
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(6, closeWith(writer.get(), "x"));
    EXPECT_TRUE(log.takes({"WARNING: HDFS File is not complete"}));
    EXPECT_GE(kCompletePatience, time.passed());
    EXPECT_EQ(6, writer->close(nullptr, 0));
    EXPECT_TRUE(log.takes({}));
}

TEST_F(FailingWrite, FileThatIsCompleteAfterAWhileIsClosed)
{
    ScriptedNewFile file;
    file.nameNode.forget("complete");
    CompleteResponseProto response;
    response.set_result(false);
    file.nameNode.answer("complete", response);
    file.nameNode.answer("complete", response);
    response.set_result(true);
    file.nameNode.answer("complete", response);
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, closeWith(writer.get(), "x"));
    EXPECT_EQ(std::vector<int>({50, 100}), time.pauses());
    EXPECT_EQ("x", file.content());
}

// After a failure.

TEST_F(FailingWrite, FailedWriteInTheMiddleEndsTheFile)
{
    ScriptedNewFile file(10);
    Serving broken = refusing();
    file.dataNode(0).serveNext({Serving()});
    for (std::size_t i = 0; i < 10; ++i)
        file.dataNode(i).serve(broken);
    file.dataNode(0).serveNext({Serving()});
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(0, writeBytes(writer.get(), patternBytes(kBlock + 10)));
    EXPECT_EQ(kWriteFailed, writeBytes(writer.get(), patternBytes(kBlock)));
    EXPECT_TRUE(log.takes(times(5, kRefusal) + Lines({"Maximum retry reached"})));
    const std::string calls = file.callNames();
    EXPECT_EQ("create" + repeated(" addBlock", 6), calls);
    EXPECT_EQ(kWriteFailed, writeBytes(writer.get(), "x"));
    EXPECT_EQ(kWriteFailed, writeBytes(writer.get(), patternBytes(3 * kBlock)));
    EXPECT_EQ(7, closeWith(writer.get(), "x"));
    EXPECT_EQ(7, writer->close(nullptr, 0));
    EXPECT_EQ(7, writer->finish());
    EXPECT_EQ(calls, file.callNames()) << "neither fsync nor complete";
    EXPECT_EQ(6u, file.connectionCount());
    EXPECT_TRUE(log.takes({}));
}

TEST_F(FailingWrite, NoMemoryForABlockEndsTheFile)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, 0, 0);
        EXPECT_EQ(kWriteNoMemory, writeBytes(writer.get(), "x"));
        EXPECT_TRUE(faults.hasFailed(SystemCall::Allocate));
    }
    EXPECT_TRUE(log.takes({"memory allocation error"}));
    EXPECT_EQ(kWriteFailed, writeBytes(writer.get(), "x"));
    EXPECT_EQ(1, writer->close(nullptr, 0));
    EXPECT_EQ("", file.callNames());
    EXPECT_TRUE(log.takes({}));
}

TEST_F(FailingWrite, BlocksThatAreNotGatheredNeedNoMemory)
{
    ScriptedNewFile file;
    const std::unique_ptr<HdfsFileWriter> writer = file.open(1 << 20);
    const std::string bytes = patternBytes(3 << 20);
    SystemCallFaults faults;
    EXPECT_EQ(0, writeBytes(writer.get(), bytes));
    EXPECT_EQ(0, writer->close(nullptr, 0));
    EXPECT_GT(40, faults.count(SystemCall::Allocate)) << "records of blocks and DataNodes";
    EXPECT_TRUE(bytes == file.content());
    const std::unique_ptr<HdfsFileWriter> second = file.open(1 << 20);
    faults.fail(SystemCall::Allocate, 3 * 2, 0);
    EXPECT_EQ(kWriteNoMemory, writeBytes(second.get(), bytes + "x")) << "behind three blocks on one DataNode each";
    EXPECT_TRUE(log.takes({"memory allocation error"}));
}

TEST_F(FailingWrite, FileThatHasEndedHoldsNoBlock)
{
    ScriptedNewFile file(5);
    std::vector<std::unique_ptr<HdfsFileWriter>> writers;
    const std::size_t before = heapInUse();
    for (int i = 0; i < 20; ++i) {
        file.serve(i % 2 == 0 ? Serving() : refusing());
        writers.push_back(file.open(1 << 20));
        EXPECT_EQ(0, writeBytes(writers.back().get(), "gathered"));
        EXPECT_EQ(i % 2 == 0 ? 0 : 7, writers.back()->close(nullptr, 0));
        log.clear();
    }
    EXPECT_GT(before + (4 << 20), heapInUse());
}
