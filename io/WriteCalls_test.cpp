#include "io/WriteCalls.h"

#include "platform/Pause.h"
#include "testing/FakeTime.h"
#include "testing/LogCapture.h"
#include "testing/NamespaceMessages.h"
#include "testing/ScriptedFile.h"
#include "testing/ScriptedNameNode.h"
#include "testing/ScriptedNewFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numeric>

using namespace hadoop::oracle;

namespace {

typedef std::vector<std::string> Lines;

const char kPath[] = "/some/f\xC3\xBCr Dateien";
const char kNotConnected[] = "Not connected any more to NameNode";
const char kException[] = "org.apache.hadoop.ipc.SomeException";
const char kExceptionLine[] = "ExceptionClassName=org.apache.hadoop.ipc.SomeException\nerrorMsg=because";

class WriteCalls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false,
                                        false, 0, 0));
        given = givenBlock(3, {someLocation("first.example", 9866, "first"), someLocation("192.0.2.2", 1, "second")});
        given.mutable_locs(0)->set_location("/dc1/rack-\xC3\xBC");
        block = located(given);
        block->numBytes = 4711;
    }

    NewFile file(const QByteArray &path = kPath) const { return NewFile{path, 0640, 3, 128 << 20}; }

    /// DataNodes as the exclusion list has them.
    OwnedLocatedBlock nodes(std::size_t count, const std::string &host = "192.0.2.9")
    {
        std::vector<DatanodeInfoProto> locations;
        for (std::size_t i = 0; i < count; ++i)
            locations.push_back(someLocation(host, 9866, "uuid-" + std::to_string(i)));
        return located(givenBlock(0, locations));
    }

    void fillClientId()
    {
        // A client identifier that fills the header.
        connection.clientId.reset(static_cast<char *>(std::calloc(1, 200)));
        std::memset(connection.clientId.get(), 'c', 150);
    }

    void answerAddBlock()
    {
        AddBlockResponseProto response;
        *response.mutable_block() = given;
        nameNode.answer("addBlock", response);
    }

    void answerComplete(bool result)
    {
        CompleteResponseProto response;
        response.set_result(result);
        nameNode.answer("complete", response);
    }

    void answerException(const std::string &method) { nameNode.answerException(method, kException, "because"); }

    OwnedLocatedBlock addBlock(const LocatedBlock *previous = nullptr, const DataNodeLocation *excluded = nullptr)
    {
        return OwnedLocatedBlock(callAddBlock(&connection, kPath, previous, excluded));
    }

    void expectException() { EXPECT_TRUE(log.takes({kExceptionLine})); }

    template <class Message> Message request(const std::string &method)
    {
        const std::vector<NameNodeCall> calls = nameNode.calls(method);
        EXPECT_FALSE(calls.empty());
        return calls.empty() ? Message() : calls.back().as<Message>();
    }

    FakeTime time;
    LogCapture log;
    ScriptedNameNode nameNode;
    NameNodeConnection connection;
    LocatedBlockProto given;
    OwnedLocatedBlock block;
};

void expectBlock(const LocatedBlockProto &given, std::uint64_t length, const ExtendedBlockProto &named)
{
    EXPECT_EQ(given.b().poolid(), named.poolid());
    EXPECT_EQ(given.b().blockid(), named.blockid());
    EXPECT_EQ(given.b().generationstamp(), named.generationstamp());
    EXPECT_TRUE(named.has_numbytes());
    EXPECT_EQ(length, named.numbytes());
}

std::string hostNames(const DataNodeLocation *node)
{
    std::string names;
    for (; node; node = node->next)
        names += std::string(node->hostName().data, node->hostName().size) + " ";
    return names;
}

} // namespace

// create

TEST_F(WriteCalls, CreateAsksForAnOverwritingFileWithItsParents)
{
    CreateResponseProto response;
    *response.mutable_fs() = fileStatus("");
    addNewerFields(response.mutable_fs());
    nameNode.answer("create", response);
    EXPECT_EQ(0, callCreate(&connection, file()));
    CreateRequestProto expected;
    expected.set_src(kPath);
    expected.mutable_masked()->set_perm(0640);
    expected.set_clientname("Quor");
    expected.set_createflag(3);
    expected.set_createparent(true);
    expected.set_replication(3);
    expected.set_blocksize(128 << 20);
    EXPECT_EQ(expected.SerializeAsString(), nameNode.calls()[0].request);
    EXPECT_TRUE(log.takes({}));
}

TEST_F(WriteCalls, CreateSendsTheExtremesOfItsNumbers)
{
    nameNode.answer("create", CreateResponseProto());
    EXPECT_EQ(0, callCreate(&connection, NewFile{"", 0xFFFFFFFFu, 0xFFFF, 0xFFFFFC00u}));
    const CreateRequestProto sent = request<CreateRequestProto>("create");
    EXPECT_EQ("", sent.src());
    EXPECT_EQ(0xFFFFFFFFu, sent.masked().perm());
    EXPECT_EQ(0xFFFFu, sent.replication());
    EXPECT_EQ(0xFFFFFC00u, sent.blocksize());
    EXPECT_EQ(0, callCreate(&connection, NewFile{"/f", 0, 0, 0}));
    EXPECT_EQ(0u, request<CreateRequestProto>("create").blocksize());
}

TEST_F(WriteCalls, CreateIsDoneWhateverTheAnswerHolds)
{
    nameNode.answerEmptyFrame("create");
    EXPECT_EQ(0, callCreate(&connection, file()));
    nameNode.forget("create");
    nameNode.respond("create", [](ScriptedConnection &link, const NameNodeCall &call) {
        link.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), "\x7F\xFF\xFF"));
    });
    EXPECT_EQ(0, callCreate(&connection, file()));
    EXPECT_TRUE(log.takes({}));
}

TEST_F(WriteCalls, CreateOnADeadConnectionIsNotStarted)
{
    connection.nameNodeSocket.close();
    EXPECT_EQ(1, callCreate(&connection, file()));
    EXPECT_TRUE(log.takes({kNotConnected}));
}

TEST_F(WriteCalls, CreateWithoutHeadersIsNotStarted)
{
    fillClientId();
    EXPECT_EQ(1, callCreate(&connection, file()));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
}

TEST_F(WriteCalls, CreateOfALongPathIsNotEncoded)
{
    EXPECT_EQ(2, callCreate(&connection, file(QByteArray(1000, 'p'))));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    EXPECT_TRUE(nameNode.calls().empty());
}

TEST_F(WriteCalls, CreateThatIsNotSentIsNotAwaited)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, EPIPE);
    EXPECT_EQ(3, callCreate(&connection, file()));
    EXPECT_TRUE(log.takes({"TCPIP send failed"}));
    EXPECT_EQ(0, faults.count(SystemCall::Receive));
}

TEST_F(WriteCalls, CreateThatIsRefusedOrNotAnsweredFails)
{
    answerException("create");
    EXPECT_EQ(4, callCreate(&connection, file()));
    expectException();
    nameNode.forget("create");
    nameNode.answerClose("create");
    EXPECT_EQ(4, callCreate(&connection, file()));
    EXPECT_TRUE(log.takes({"TCPIP received failed"}));
}

// addBlock

TEST_F(WriteCalls, AddBlockGivesTheBlockAsTheNameNodeDescribesIt)
{
    answerAddBlock();
    const OwnedLocatedBlock added = addBlock();
    ASSERT_TRUE(added);
    EXPECT_EQ(given.b().blockid(), added->blockId);
    EXPECT_EQ(given.b().generationstamp(), added->generationStamp);
    EXPECT_EQ(2u, added->locationCount);
    EXPECT_EQ("first.example 192.0.2.2 ", hostNames(added->firstLocation));
    EXPECT_EQ(given.blocktoken().identifier(),
              std::string(added->tokenIdentifier().data, added->tokenIdentifier().size));
    AddBlockRequestProto expected;
    expected.set_src(kPath);
    expected.set_clientname("Quor");
    EXPECT_EQ(expected.SerializeAsString(), nameNode.calls()[0].request);
    EXPECT_TRUE(log.takes({}));
    EXPECT_TRUE(time.pauses().empty());
}

TEST_F(WriteCalls, AddBlockNamesTheBlockBeforeWithItsLength)
{
    answerAddBlock();
    ASSERT_TRUE(addBlock(block.get()));
    expectBlock(given, 4711, request<AddBlockRequestProto>("addBlock").previous());
    block->numBytes = 0;
    ASSERT_TRUE(addBlock(block.get()));
    expectBlock(given, 0, request<AddBlockRequestProto>("addBlock").previous());
}

TEST_F(WriteCalls, AddBlockExcludesDataNodesByTheirIdentity)
{
    answerAddBlock();
    ASSERT_TRUE(addBlock(nullptr, block->firstLocation));
    AddBlockRequestProto expected;
    expected.set_src(kPath);
    expected.set_clientname("Quor");
    *expected.mutable_excludenodes() = given.locs();
    for (DatanodeInfoProto &node : *expected.mutable_excludenodes())
        node.clear_location();
    EXPECT_EQ(expected.SerializeAsString(), nameNode.calls()[0].request);
}

TEST_F(WriteCalls, AddBlockBehindAGivenUpBlockExcludesDataNodesByTheirPlaceInTheNetworkToo)
{
    connection.abandonsFailedBlocks = true;
    answerAddBlock();
    ASSERT_TRUE(addBlock(nullptr, block->firstLocation));
    AddBlockRequestProto expected;
    expected.set_src(kPath);
    expected.set_clientname("Quor");
    *expected.mutable_excludenodes() = given.locs(); // the second one has no place
    EXPECT_EQ(expected.SerializeAsString(), nameNode.calls()[0].request);
    ASSERT_TRUE(addBlock(block.get(), block->firstLocation->next));
    const AddBlockRequestProto both = request<AddBlockRequestProto>("addBlock");
    EXPECT_TRUE(both.has_previous());
    ASSERT_EQ(1, both.excludenodes_size());
    EXPECT_EQ("second", both.excludenodes(0).id().datanodeuuid());
}

TEST_F(WriteCalls, AddBlockIsSentAgainAsItWasAfterPausesThatDouble)
{
    for (int failures = 1; failures <= 4; ++failures) {
        nameNode.forget("addBlock");
        for (int i = 0; i < failures; ++i)
            answerException("addBlock");
        answerAddBlock();
        const std::size_t before = nameNode.calls().size();
        EXPECT_TRUE(addBlock(block.get(), block->firstLocation));
        const std::vector<NameNodeCall> calls = nameNode.calls();
        ASSERT_EQ(before + static_cast<std::size_t>(failures) + 1, calls.size());
        for (std::size_t i = before; i < calls.size(); ++i) {
            EXPECT_EQ(calls[before].callId, calls[i].callId);
            EXPECT_EQ(calls[before].request, calls[i].request);
            EXPECT_EQ(calls[before].frameSize, calls[i].frameSize);
        }
        EXPECT_EQ(static_cast<std::size_t>(failures), log.lines().size());
        log.clear();
    }
    EXPECT_EQ(std::vector<int>({200, 200, 400, 200, 400, 800, 200, 400, 800, 1600}), time.pauses());
}

TEST_F(WriteCalls, AddBlockGivesUpAfterTheFifthException)
{
    answerException("addBlock");
    EXPECT_FALSE(addBlock());
    EXPECT_EQ(5u, nameNode.calls("addBlock").size());
    EXPECT_EQ(std::vector<int>({200, 400, 800, 1600}), time.pauses());
    EXPECT_TRUE(log.takes(Lines(5, kExceptionLine)));
    EXPECT_EQ(1, connection.nextCallId) << "a single call id was used";
}

TEST_F(WriteCalls, AddBlockThatIsNotSentAwaitsItsAnswerAllTheSame)
{
    SystemCallFaults faults;
    faults.failFrom(SystemCall::Send, 0, ECONNRESET);
    EXPECT_FALSE(addBlock());
    Lines lines;
    for (int i = 0; i < 5; ++i) {
        lines.push_back("TCPIP send failed");
        lines.push_back("TCPIP received failed");
    }
    EXPECT_TRUE(log.takes(lines));
    EXPECT_EQ(5, faults.count(SystemCall::Send));
    EXPECT_EQ(std::vector<int>({200, 400, 800, 1600}), time.pauses());
}

TEST_F(WriteCalls, AddBlockWhoseConnectionEndsIsTriedFiveTimes)
{
    nameNode.answerClose("addBlock");
    EXPECT_FALSE(addBlock());
    EXPECT_EQ(3000, time.passed());
    for (const std::string &line : log.texts())
        EXPECT_TRUE(line == "TCPIP received failed" || line == "TCPIP send failed") << line;
    log.clear();
}

TEST_F(WriteCalls, AddBlockAnswerThatDoesNotDecodeGivesNoBlockAndIsNotAskedForAgain)
{
    nameNode.answerEmptyFrame("addBlock");
    EXPECT_FALSE(addBlock());
    const std::string answers[] = {"", "\x0A", "\x0A\x7F", "\xFF\xFF\xFF", std::string("\x0A\x00", 2)};
    for (const std::string &answer : answers) {
        nameNode.forget("addBlock");
        nameNode.respond("addBlock", [answer](ScriptedConnection &link, const NameNodeCall &call) {
            link.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), lengthDelimited(answer)));
        });
        EXPECT_FALSE(addBlock());
    }
    EXPECT_EQ(6u, nameNode.calls("addBlock").size());
    EXPECT_TRUE(time.pauses().empty());
}

TEST_F(WriteCalls, AddBlockAnswerCutShortAnywhereGivesNoBlock)
{
    AddBlockResponseProto response;
    *response.mutable_block() = given;
    const std::string whole = response.SerializeAsString();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string part = whole.substr(0, size);
        nameNode.forget("addBlock");
        nameNode.respond("addBlock", [part](ScriptedConnection &link, const NameNodeCall &call) {
            link.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), lengthDelimited(part)));
        });
        EXPECT_FALSE(addBlock()) << size;
    }
}

TEST_F(WriteCalls, AddBlockAnswerWithoutMemoryGivesNoBlock)
{
    answerAddBlock();
    for (int ordinal = 0;; ++ordinal) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, ordinal, 0);
        const OwnedLocatedBlock added = addBlock();
        EXPECT_NE(faults.hasFailed(SystemCall::Allocate), static_cast<bool>(added));
        if (added)
            break;
        ASSERT_LT(ordinal, 20);
    }
}

TEST_F(WriteCalls, AddBlockOnADeadConnectionIsNotStarted)
{
    connection.nameNodeSocket.close();
    EXPECT_FALSE(addBlock());
    EXPECT_TRUE(log.takes({kNotConnected}));
    EXPECT_TRUE(time.pauses().empty());
}

TEST_F(WriteCalls, AddBlockWithoutHeadersIsNotStarted)
{
    fillClientId();
    EXPECT_FALSE(addBlock());
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
}

TEST_F(WriteCalls, AddBlockExcludesAsManyDataNodesAsFitIntoTheRequest)
{
    answerAddBlock();
    std::size_t fitting = 0;
    for (std::size_t count = 1; count < 40; ++count) {
        const OwnedLocatedBlock many = nodes(count);
        AddBlockRequestProto expected;
        expected.set_src(kPath);
        expected.set_clientname("Quor");
        for (std::size_t i = 0; i < count; ++i)
            *expected.add_excludenodes()->mutable_id() =
                someLocation("192.0.2.9", 9866, "uuid-" + std::to_string(i)).id();
        const bool fits = expected.ByteSizeLong() <= 1000;
        EXPECT_EQ(fits, static_cast<bool>(addBlock(nullptr, many->firstLocation))) << count;
        EXPECT_TRUE(log.takes(fits ? Lines() : Lines({"Encoding failed: stream full"})));
        if (fits) {
            EXPECT_EQ(expected.SerializeAsString(), nameNode.calls().back().request);
            ++fitting;
        }
    }
    EXPECT_LT(5u, fitting);
    EXPECT_EQ(fitting, nameNode.calls().size());
}

TEST_F(WriteCalls, AddBlockWithTenThousandExcludedDataNodesIsNotEncoded)
{
    const OwnedLocatedBlock many = nodes(10000);
    ASSERT_EQ(10000u, many->locationCount);
    EXPECT_FALSE(addBlock(block.get(), many->firstLocation));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    const OwnedLocatedBlock longNames = nodes(10, std::string(100000, 'h'));
    EXPECT_FALSE(addBlock(nullptr, longNames->firstLocation));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    EXPECT_TRUE(nameNode.calls().empty());
    EXPECT_TRUE(time.pauses().empty());
}

// abandonBlock

TEST_F(WriteCalls, AbandonBlockNamesTheBlockWithoutALength)
{
    nameNode.answer("abandonBlock", AbandonBlockResponseProto());
    callAbandonBlock(&connection, kPath, *block);
    AbandonBlockRequestProto expected;
    expected.mutable_b()->set_poolid(given.b().poolid());
    expected.mutable_b()->set_blockid(given.b().blockid());
    expected.mutable_b()->set_generationstamp(given.b().generationstamp());
    expected.set_src(kPath);
    expected.set_holder("Quor");
    EXPECT_EQ(expected.SerializeAsString(), nameNode.calls()[0].request);
    EXPECT_TRUE(log.takes({}));
}

TEST_F(WriteCalls, AbandonBlockThatFailsIsLoggedAndNothingElse)
{
    answerException("abandonBlock");
    callAbandonBlock(&connection, kPath, *block);
    expectException();
    EXPECT_EQ(1u, nameNode.calls().size());
    callAbandonBlock(&connection, QByteArray(1000, 'p'), *block);
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    connection.nameNodeSocket.close();
    callAbandonBlock(&connection, kPath, *block);
    EXPECT_TRUE(log.takes({kNotConnected}));
}

// fsync

TEST_F(WriteCalls, FsyncNamesTheFileAndNoLength)
{
    nameNode.answer("fsync", FsyncResponseProto());
    EXPECT_EQ(0, callFsync(&connection, kPath));
    FsyncRequestProto expected;
    expected.set_src(kPath);
    expected.set_client("Quor");
    EXPECT_EQ(expected.SerializeAsString(), nameNode.calls()[0].request);
    nameNode.forget("fsync");
    nameNode.answerEmptyFrame("fsync");
    EXPECT_EQ(0, callFsync(&connection, kPath));
    EXPECT_TRUE(log.takes({}));
}

TEST_F(WriteCalls, FsyncHasACodeForEachFailure)
{
    answerException("fsync");
    EXPECT_EQ(1, callFsync(&connection, kPath));
    expectException();
    EXPECT_EQ(3, callFsync(&connection, QByteArray(1000, 'p')));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    nameNode.forget("fsync");
    nameNode.answerClose("fsync");
    EXPECT_EQ(1, callFsync(&connection, kPath));
    EXPECT_TRUE(log.takes({"TCPIP received failed"}));
    fillClientId();
    EXPECT_EQ(2, callFsync(&connection, kPath));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    connection.nameNodeSocket.close();
    EXPECT_EQ(2, callFsync(&connection, kPath));
    EXPECT_TRUE(log.takes({kNotConnected}));
}

TEST_F(WriteCalls, FsyncThatIsNotSentAwaitsItsAnswerAllTheSame)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, ECONNRESET);
    EXPECT_EQ(1, callFsync(&connection, kPath));
    EXPECT_TRUE(log.takes({"TCPIP send failed", "TCPIP received failed"}));
}

// complete

TEST_F(WriteCalls, CompleteNamesTheLastBlockWithItsLength)
{
    answerComplete(true);
    EXPECT_EQ(0, callComplete(&connection, kPath, block.get()));
    CompleteRequestProto expected;
    expected.set_src(kPath);
    expected.set_clientname("Quor");
    *expected.mutable_last() = given.b();
    expected.mutable_last()->set_numbytes(4711);
    EXPECT_EQ(expected.SerializeAsString(), nameNode.calls()[0].request);
    EXPECT_TRUE(time.pauses().empty());
    EXPECT_TRUE(log.takes({}));
}

TEST_F(WriteCalls, CompleteOfAFileWithoutBlocksNamesNone)
{
    answerComplete(true);
    EXPECT_EQ(0, callComplete(&connection, kPath, nullptr));
    EXPECT_FALSE(request<CompleteRequestProto>("complete").has_last());
}

TEST_F(WriteCalls, CompleteThatIsNotYetIsAskedForAgain)
{
    for (int times : {1, 3}) {
        nameNode.forget("complete");
        for (int i = 0; i < times; ++i)
            answerComplete(false);
        answerComplete(true);
        const std::size_t before = nameNode.calls().size();
        EXPECT_EQ(0, callComplete(&connection, kPath, block.get()));
        const std::vector<NameNodeCall> calls = nameNode.calls();
        ASSERT_EQ(before + static_cast<std::size_t>(times) + 1, calls.size());
        for (std::size_t i = before; i < calls.size(); ++i)
            EXPECT_EQ(calls[before].request, calls[i].request);
        EXPECT_NE(calls[before].callId, calls[before + 1].callId)
            << "a call of its own: the NameNode remembers answers";
    }
    EXPECT_EQ(std::vector<int>({50, 50, 100, 200}), time.pauses());
    EXPECT_TRUE(log.takes({}));
}

TEST_F(WriteCalls, CompleteThatNeverIsFailsWithinThirtySeconds)
{
    answerComplete(false);
    EXPECT_EQ(6, callComplete(&connection, kPath, block.get()));
    EXPECT_TRUE(log.takes({"WARNING: HDFS File is not complete"}));
    std::vector<int> pauses = {50, 100, 200, 400, 800};
    while (std::accumulate(pauses.begin(), pauses.end(), 0) + 1000 <= kCompletePatience)
        pauses.push_back(1000);
    EXPECT_EQ(pauses, time.pauses());
    EXPECT_EQ(pauses.size() + 1, nameNode.calls().size());
    EXPECT_LT(28000, time.passed()) << "nearly all of the time is used";
    EXPECT_GE(kCompletePatience, time.passed());
}

TEST_F(WriteCalls, CompleteCountsTheTimeThatTheCallsTake)
{
    time.passAtEachLook(700);
    answerComplete(false);
    EXPECT_EQ(6, callComplete(&connection, kPath, block.get()));
    const std::int64_t calls = static_cast<std::int64_t>(nameNode.calls().size());
    EXPECT_GE(kCompletePatience, time.passed() + 700 * (calls - 1));
    EXPECT_LT(10, calls);
    EXPECT_GT(22, calls);
    EXPECT_TRUE(log.takes({"WARNING: HDFS File is not complete"}));
}

TEST_F(WriteCalls, CompleteWhoseAnswerSaysNothingIsTakenForAYes)
{
    nameNode.answerEmptyFrame("complete");
    EXPECT_EQ(0, callComplete(&connection, kPath, block.get()));
    const std::string answers[] = {"", "\x08", "\xFF\xFF\xFF", std::string("\x10\x00", 2), "\x0A\x7F"};
    for (const std::string &answer : answers) {
        nameNode.forget("complete");
        nameNode.respond("complete", [answer](ScriptedConnection &link, const NameNodeCall &call) {
            link.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), lengthDelimited(answer)));
        });
        EXPECT_EQ(0, callComplete(&connection, kPath, block.get()));
    }
    EXPECT_TRUE(time.pauses().empty());
    EXPECT_TRUE(log.takes({}));
}

TEST_F(WriteCalls, CompleteHasACodeForEachFailure)
{
    answerException("complete");
    EXPECT_EQ(1, callComplete(&connection, kPath, block.get()));
    expectException();
    EXPECT_EQ(5, callComplete(&connection, QByteArray(1000, 'p'), block.get()));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    {
        SystemCallFaults faults;
        faults.fail(SystemCall::Send, 0, EPIPE);
        faults.fail(SystemCall::Receive, 0, ECONNRESET);
        EXPECT_EQ(1, callComplete(&connection, kPath, block.get()));
        EXPECT_TRUE(log.takes({"TCPIP send failed", "TCPIP received failed"}));
    }
    nameNode.forget("complete");
    answerComplete(false);
    nameNode.answerClose("complete");
    EXPECT_EQ(1, callComplete(&connection, kPath, block.get()));
    EXPECT_TRUE(log.takes({"TCPIP received failed"}));
    EXPECT_EQ(std::vector<int>({50}), time.pauses());
    fillClientId();
    EXPECT_EQ(4, callComplete(&connection, kPath, block.get()));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    connection.nameNodeSocket.close();
    EXPECT_EQ(4, callComplete(&connection, kPath, block.get()));
    EXPECT_TRUE(log.takes({kNotConnected}));
}

TEST_F(WriteCalls, CompleteThatIsRefusedInTheEndFailsAtOnce)
{
    answerComplete(false);
    answerException("complete");
    EXPECT_EQ(1, callComplete(&connection, kPath, block.get()));
    expectException();
    EXPECT_EQ(2u, nameNode.calls().size());
}

// Time that is not faked.

TEST(Pausing, TakesItsTime)
{
    const std::int64_t start = platform::steadyMilliseconds();
    platform::pauseFor(30);
    const std::int64_t passed = platform::steadyMilliseconds() - start;
    EXPECT_LE(29, passed) << "both ends are rounded down";
    EXPECT_GT(5000, passed);
    platform::pauseFor(0);
}
