// Every namespace operation, from the connect to the result, against a NameNode that breaks off, resets, stalls,
// fragments or lies at each byte of the exchange, and with each system call failing in its turn.
#include "rpc/ClientProtocol.h"

#include "platform/Sockets.h"
#include "testing/LogCapture.h"
#include "testing/MemoryWatch.h"
#include "testing/NamespaceMessages.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedNameNode.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <thread>

namespace oracle = hadoop::oracle;

namespace {

const char kConnectFailed[] = "TCPIP connect failed";
const char kNotConnected[] = "Not connected any more to NameNode";
const char kSendFailed[] = "TCPIP send failed";
const char kReceiveFailed[] = "TCPIP received failed";

/// One operation with an answer to it.
struct Exchange {
    const char *name;
    const char *method;
    std::vector<std::shared_ptr<google::protobuf::Message>> answers; ///< one for each call that it makes
    std::int32_t success;
    std::int32_t callFailed;
    std::int32_t notConnected;
    std::vector<std::int32_t> others; ///< what a wrong answer may lead to besides
    std::function<std::int32_t(NameNodeConnection *)> run;
};

void PrintTo(const Exchange &exchange, std::ostream *out)
{
    *out << exchange.name;
}

template <class Message> std::shared_ptr<google::protobuf::Message> shared(const Message &message)
{
    return std::make_shared<Message>(message);
}

/// Reads everything of the records, so that the sanitizers see what is not there, and frees them. Returns how many.
std::int32_t consume(HdfsFileStatus *head)
{
    std::int32_t count = 0;
    std::size_t bytes = 0;
    for (const HdfsFileStatus *record = head; record; record = record->next, ++count) {
        for (const ByteString &text : {record->path, record->owner, record->group}) {
            EXPECT_EQ('\0', text.data[text.size]);
            bytes += std::string(text.data, text.size).size();
        }
        EXPECT_TRUE(record->kind == 'D' || record->kind == 'F');
    }
    EXPECT_LT(bytes, 100000u);
    ClientProtocol::freeListing(head);
    return count;
}

std::int32_t runListing(NameNodeConnection *connection)
{
    std::int32_t count = 4711;
    HdfsFileStatus *head = ClientProtocol::getListing(connection, "/directory", &count);
    EXPECT_EQ(count < 0 ? 0 : count, consume(head));
    return count;
}

std::int32_t runFileInfo(NameNodeConnection *connection)
{
    bool failed = true;
    HdfsFileStatus *record = ClientProtocol::fileInfo(connection, "/file", &failed);
    EXPECT_FALSE(failed && record);
    return failed ? -1 : consume(record);
}

std::int32_t runFileExists(NameNodeConnection *connection)
{
    bool exists = true;
    bool isFile = true;
    const std::int32_t result = ClientProtocol::fileExists(connection, "/file", &exists, &isFile);
    EXPECT_FALSE(result != 0 && exists);
    return result;
}

std::vector<Exchange> exchanges()
{
    typedef NameNodeConnection *Connection;
    oracle::MkdirsResponseProto mkdirs;
    mkdirs.set_result(true);
    oracle::DeleteResponseProto deleted;
    deleted.set_result(true);
    oracle::RenameResponseProto renamed;
    renamed.set_result(true);
    oracle::SetReplicationResponseProto replication;
    replication.set_result(true);
    return {
        {"getListing", "getListing", {shared(listingPage({"one", "two"}, 0))}, 2, -1, -1, {0, 1}, runListing},
        {"getListingOfTwoPages",
         "getListing",
         {shared(listingPage({"one"}, 1)), shared(listingPage({"two"}, 0))},
         2,
         -1,
         -1,
         {0, 1},
         runListing},
        {"fileInfo",
         "getFileInfo",
         {shared(fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE))},
         1,
         -1,
         -1,
         {0},
         runFileInfo},
        {"fileExists",
         "getFileInfo",
         {shared(fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE))},
         0,
         1,
         1,
         {2},
         runFileExists},
        {"mkdirs",
         "mkdirs",
         {shared(mkdirs)},
         0,
         5,
         2,
         {1},
         [](Connection c) { return ClientProtocol::mkdirs(c, "/directory", 0755, true); }},
        {"delete",
         "delete",
         {shared(deleted)},
         0,
         5,
         2,
         {1},
         [](Connection c) { return ClientProtocol::delete_(c, "/file", true); }},
        {"rename",
         "rename",
         {shared(renamed)},
         0,
         1,
         1,
         {},
         [](Connection c) { return ClientProtocol::rename(c, "/from", "/to"); }},
        {"setReplication",
         "setReplication",
         {shared(replication)},
         0,
         5,
         2,
         {1},
         [](Connection c) { return ClientProtocol::setReplication(c, "/file", 2); }},
        {"setPermission",
         "setPermission",
         {shared(oracle::SetPermissionResponseProto())},
         1,
         5,
         2,
         {},
         [](Connection c) { return ClientProtocol::setPermission(c, "/file", 0644); }},
        {"setOwner",
         "setOwner",
         {shared(oracle::SetOwnerResponseProto())},
         1,
         5,
         2,
         {},
         [](Connection c) { return ClientProtocol::setOwner(c, "/file", "user", "group"); }},
        {"getFsStats",
         "getFsStats",
         {shared(fsStats())},
         0,
         5,
         2,
         {1},
         [](Connection c) {
             std::uint64_t counters[ClientProtocol::kFsStatsCount];
             return ClientProtocol::getFsStats(c, counters);
         }},
    };
}

class Torture : public ::testing::TestWithParam<Exchange>
{
protected:
    const Exchange &exchange() const { return GetParam(); }
    /// Whether it makes records, the only memory that an operation takes for itself.
    bool makesRecords() const
    {
        return std::string(exchange().method) == "getListing" || std::string(exchange().name) == "fileInfo";
    }
    bool isAboutFileInfo() const { return std::string(exchange().method) == "getFileInfo"; }

    /// Every connection gets the exchange's answers.
    void teach(ScriptedNameNode *nameNode) const
    {
        const std::vector<std::shared_ptr<google::protobuf::Message>> answers = exchange().answers;
        nameNode->respond(exchange().method, [answers](ScriptedConnection &peer, const NameNodeCall &call) {
            const std::size_t which = std::min(static_cast<std::size_t>(call.callId), answers.size() - 1);
            peer.send(ScriptedNameNode::frame(call, *answers[which]));
        });
    }

    /// Connects, runs the operation, disconnects.
    std::int32_t run(int port)
    {
        NameNodeConnection connection;
        connectResult =
            connection.connect("127.0.0.1", static_cast<std::uint32_t>(port), "tester", 0, false, false, 0, 0);
        if (connectResult != 0)
            return -1;
        return exchange().run(&connection);
    }

    /// Runs it once without a fault. `*sent` and `*received` are what the NameNode sent and received.
    void runUndisturbed(std::string *sent, std::string *received)
    {
        ScriptedNameNode nameNode;
        teach(&nameNode);
        ASSERT_EQ(exchange().success, run(nameNode.port()));
        ASSERT_TRUE(log.takes({}));
        nameNode.peer().waitUntilOver(1);
        *sent = nameNode.peer().sent();
        *received = nameNode.peer().received();
    }

    bool isDocumented(std::int32_t result) const
    {
        return result == exchange().success || result == exchange().callFailed || result == exchange().notConnected ||
               std::count(exchange().others.begin(), exchange().others.end(), result) > 0;
    }

    /// The lines that a wrong answer may lead to, each at level 1.
    void expectDocumentedLines()
    {
        for (const LoggedLine &line : log.lines()) {
            EXPECT_EQ(1, line.level);
            const bool isKnown =
                line.text == kReceiveFailed || line.text == kSendFailed || line.text == kNotConnected ||
                line.text == kConnectFailed || line.text.find("ExceptionClassName=") == 0 ||
                (line.text.find("WARNING: ") == 0 && line.text.find(" Decoding failed: ") != std::string::npos);
            EXPECT_TRUE(isKnown) << line.text;
        }
    }

    LogCapture log;
    std::int32_t connectResult = 0;
};

TEST_P(Torture, BreakingOffAtEachByteOfTheAnswerFailsTheCall)
{
    std::string answer, request;
    runUndisturbed(&answer, &request);
    OpenDescriptors descriptors;
    for (auto faultAt : {&Fault::closeAt, &Fault::resetAt}) {
        ScriptedNameNode nameNode;
        teach(&nameNode);
        for (std::size_t position = 0; position < answer.size(); ++position) {
            nameNode.peer().setSendFault(faultAt(position));
            ASSERT_EQ(exchange().callFailed, run(nameNode.port())) << position;
            ASSERT_TRUE(log.takes({kReceiveFailed})) << position;
        }
    }
    EXPECT_EQ(0, descriptors.opened());
}

TEST_P(Torture, AnAnswerInPiecesOrWithPausesAtEachByteIsTakenWhole)
{
    std::string answer, request;
    runUndisturbed(&answer, &request);
    ScriptedNameNode nameNode;
    teach(&nameNode);
    nameNode.peer().setFragmentSize(1);
    EXPECT_EQ(exchange().success, run(nameNode.port()));
    {
        SystemCallFaults faults;
        faults.limitReceive(1);
        faults.interruptEach(SystemCall::Receive);
        faults.interruptEach(SystemCall::Send);
        faults.interruptEach(SystemCall::Connect);
        EXPECT_EQ(exchange().success, run(nameNode.port()));
    }
    nameNode.peer().setFragmentSize(0);

    std::atomic<bool> isOver(false);
    std::thread resumer([&isOver, &nameNode] {
        while (!isOver) {
            nameNode.peer().resume();
            std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
    });
    for (std::size_t position = 0; position < answer.size(); ++position) {
        nameNode.peer().setSendFault(Fault::stallAt(position));
        EXPECT_EQ(exchange().success, run(nameNode.port())) << position;
    }
    isOver = true;
    resumer.join();
    EXPECT_TRUE(log.holds({}));
}

class Lies : public Torture
{
};

/// With several answers a wrong length in one would leave both sides waiting for the other.
std::vector<Exchange> exchangesOfOneAnswer()
{
    std::vector<Exchange> chosen;
    for (const Exchange &exchange : exchanges()) {
        if (exchange.answers.size() == 1)
            chosen.push_back(exchange);
    }
    return chosen;
}

TEST_P(Lies, ALieInAnyByteOfTheAnswerEndsInADocumentedResult)
{
    std::string answer, request;
    runUndisturbed(&answer, &request);
    OpenDescriptors descriptors;
    for (int mask : {0xFF, 0x80, 0x01, 0x08}) {
        ScriptedNameNode nameNode;
        const std::shared_ptr<google::protobuf::Message> message = exchange().answers[0];
        nameNode.respond(exchange().method, [message](ScriptedConnection &peer, const NameNodeCall &call) {
            peer.send(ScriptedNameNode::frame(call, *message));
            // Who believes a longer frame waits for the rest of it.
            peer.close();
        });
        const MemoryWatch memory;
        for (std::size_t position = 0; position < answer.size(); ++position) {
            nameNode.peer().setSendFault(Fault::flipAt(position, static_cast<unsigned char>(mask)));
            const std::int32_t result = run(nameNode.port());
            ASSERT_EQ(0, connectResult);
            EXPECT_TRUE(isDocumented(result)) << result << " at " << position;
            EXPECT_TRUE(result == exchange().success || !log.lines().empty() || exchange().others.size() > 0)
                << "silent " << result << " at " << position;
            expectDocumentedLines();
            log.clear();
        }
        EXPECT_LT(memory.largestGrowth(), std::size_t(64) << 20);
    }
    EXPECT_EQ(0, descriptors.opened());
}

TEST_P(Torture, ARequestThatTheNameNodeStopsReadingIsNotAnswered)
{
    std::string answer, request;
    runUndisturbed(&answer, &request);
    OpenDescriptors descriptors;
    ScriptedNameNode nameNode;
    teach(&nameNode);
    for (std::size_t position = 0; position < request.size(); ++position) {
        nameNode.peer().setReceiveFault(Fault::closeAt(position));
        ASSERT_EQ(exchange().callFailed, run(nameNode.port())) << position;
        ASSERT_TRUE(log.takes({kReceiveFailed})) << position;
    }
    // The peer keeps its side of each connection until its client has closed it; that is over now.
    nameNode.peer().waitUntilOver(request.size());
}

TEST_P(Torture, AResetAtEachByteOfTheRequestFailsTheStepThatIsUnderWay)
{
    std::string answer, request;
    runUndisturbed(&answer, &request);
    OpenDescriptors descriptors;
    int forgotten = 0;
    {
        ScriptedNameNode nameNode;
        teach(&nameNode);
        const std::vector<std::string> receiveFailed = {kReceiveFailed};
        const std::vector<std::string> sendFailed = {kSendFailed};
        const std::vector<std::string> bothFailed = {kSendFailed, kReceiveFailed};
        const std::vector<std::string> found = isAboutFileInfo()
                                                   ? std::vector<std::string>{kNotConnected, kReceiveFailed}
                                                   : std::vector<std::string>{kNotConnected};
        for (std::size_t position = 0; position < request.size(); ++position) {
            nameNode.peer().setReceiveFault(Fault::resetAt(position));
            const std::int32_t result = run(nameNode.port());
            const std::vector<std::string> lines = log.texts();
            if (connectResult != 0) {
                EXPECT_EQ(sendFailed, lines);
            } else if (lines == found) {
                EXPECT_EQ(exchange().notConnected, result);
                ++forgotten; // the socket is forgotten, not closed
            } else {
                EXPECT_EQ(exchange().callFailed, result);
                EXPECT_TRUE(lines == receiveFailed || lines == bothFailed) << ::testing::PrintToString(lines);
            }
            log.clear();
        }
    }
    EXPECT_EQ(forgotten, descriptors.opened());
    descriptors.closeOpened();
}

TEST_P(Torture, EachSystemCallMayFail)
{
    for (SystemCall kind :
         {SystemCall::Resolve, SystemCall::Socket, SystemCall::Connect, SystemCall::SetOption, SystemCall::GetOption,
          SystemCall::Send, SystemCall::Receive, SystemCall::Allocate, SystemCall::Duplicate}) {
        OpenDescriptors descriptors;
        int forgotten = 0;
        int failures = 0;
        bool hasFailed = true;
        for (int ordinal = 0; hasFailed; ++ordinal) {
            ScriptedNameNode nameNode;
            teach(&nameNode);
            std::int32_t result;
            {
                SystemCallFaults faults;
                faults.fail(kind, ordinal, kind == SystemCall::Resolve ? EAI_NONAME : ECONNRESET);
                result = run(nameNode.port());
                hasFailed = faults.hasFailed(kind);
            }
            if (hasFailed) {
                ++failures;
                EXPECT_TRUE(connectResult != 0 || isDocumented(result)) << result;
                EXPECT_EQ(kind == SystemCall::SetOption || (connectResult != 0 && kind == SystemCall::Duplicate) ||
                              (kind == SystemCall::Allocate && isAboutFileInfo()),
                          log.lines().empty())
                    << static_cast<int>(kind) << " " << ordinal;
            } else {
                EXPECT_EQ(exchange().success, result) << static_cast<int>(kind);
                EXPECT_TRUE(log.holds({}));
            }
            for (const std::string &line : log.texts())
                forgotten += line == kNotConnected;
            expectDocumentedLines();
            log.clear();
        }
        EXPECT_EQ(kind == SystemCall::Allocate && !makesRecords(), failures == 0) << static_cast<int>(kind);
        EXPECT_EQ(kind == SystemCall::GetOption ? forgotten : 0, descriptors.opened()) << static_cast<int>(kind);
        descriptors.closeOpened();
    }
}

std::string exchangeName(const ::testing::TestParamInfo<Exchange> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Operations, Torture, ::testing::ValuesIn(exchanges()), exchangeName);
INSTANTIATE_TEST_SUITE_P(Operations, Lies, ::testing::ValuesIn(exchangesOfOneAnswer()), exchangeName);

} // namespace
