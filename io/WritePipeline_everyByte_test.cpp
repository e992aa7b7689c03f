// One attempt to write a block with everything that can happen to it at each of its bytes and at each of its system
// calls.
#include "io/WritePipeline.h"

#include "platform/Sockets.h"
#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedDataNode.h"
#include "testing/ScriptedNewFile.h"
#include "testing/ScriptedWriteNode.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

using namespace hadoop::oracle;

namespace {

typedef std::vector<std::string> Lines;
typedef ScriptedWriteNode::Serving Serving;

const char kSocketError[] = "Error at socket(): *";

/// Two packets of data, the second one of 30 bytes, and the last one; or a single packet of 50 bytes.
class EveryByteWritten : public ::testing::Test
{
protected:
    EveryByteWritten() : bytes(patternBytes(530)), chunkSize(1)
    {
        given = givenBlock(0, {node.location("first")});
        node.expect(given);
        EXPECT_EQ(BlockWritten, write());
        connection.dataNodeSocket.close();
        node.peer().waitUntilOver(1);
        sentSize = node.peer().sent(0).size();
        receivedSize = node.peer().received(0).size();
        descriptors.reset(new OpenDescriptors);
    }

    ~EveryByteWritten() override
    {
        connection.dataNodeSocket.close();
        node.peer().waitUntilOver(node.connectionCount());
        EXPECT_EQ(0, descriptors->opened());
    }

    PipelineResult write()
    {
        const OwnedLocatedBlock block = located(given);
        const BlockWrite write = {bytes.data(),  static_cast<std::uint32_t>(bytes.size()), chunkSize, false, 0,
                                  &checksumState};
        return runWritePipeline(&connection, *block, write, &packets);
    }

    /// Sends as little as possible, so that each of its bytes can be tried.
    void makeSmall()
    {
        bytes.resize(50);
        chunkSize = 16;
        EXPECT_EQ(BlockWritten, write());
        connection.dataNodeSocket.close();
        node.peer().waitUntilOver(2);
        sentSize = node.peer().sent(1).size();
        receivedSize = node.peer().received(1).size();
    }

    void expectRight(const std::string &when)
    {
        EXPECT_EQ(BlockWritten, write()) << when;
        EXPECT_TRUE(log.takes({})) << when;
        const std::vector<WrittenBlock> blocks = node.blocks();
        EXPECT_TRUE(blocks.back().isWhole && bytes == blocks.back().data) << when;
        connection.dataNodeSocket.close();
    }

    void expectFailed(const std::string &when)
    {
        EXPECT_EQ(AttemptFailed, write()) << when;
        expectFailureLines(when);
        connection.dataNodeSocket.close();
    }

    /// Just one failure, in one of its texts.
    void expectFailureLines(const std::string &when)
    {
        const bool isDocumented = log.holds({"TCPIP received failed"}) ||
                                  log.holds({"TCPIP received failed", kSocketError}) ||
                                  log.holds({"TCPIP received failed: erroneous size"}) ||
                                  log.holds({"TCPIP send failed"}) || log.holds({"TCPIP send failed", kSocketError}) ||
                                  log.holds({"Cannot create Pipeline"}) || log.holds({"error ACK paquet"}) ||
                                  log.holds({"Cannot connect to datanode"}) || log.holds({"Block Decoding failed: *"});
        EXPECT_TRUE(isDocumented) << when << ": " << ::testing::PrintToString(log.texts());
        log.clear();
    }

    int nextConnection() const { return static_cast<int>(node.connectionCount()); }

    LogCapture log;
    std::string bytes;
    std::uint32_t chunkSize;
    ScriptedWriteNode node;
    NameNodeConnection connection;
    LocatedBlockProto given;
    Crc32cState checksumState;
    PacketBuffer packets;
    std::size_t sentSize; ///< what the DataNode sends
    std::size_t receivedSize;
    std::unique_ptr<OpenDescriptors> descriptors;
};

} // namespace

TEST_F(EveryByteWritten, EndOfTheConnectionAtAnyByteOfTheDataNodesFailsTheAttempt)
{
    for (std::size_t byte = 0; byte < sentSize; ++byte) {
        const std::string when = "byte " + std::to_string(byte);
        node.peer().setSendFault(Fault::closeAt(byte));
        expectFailed("close at " + when);
        node.peer().setSendFault(Fault::resetAt(byte));
        expectFailed("reset at " + when);
        node.peer().setFragmentSize(1 + byte % 3);
        node.peer().setSendFault(Fault::closeAt(byte));
        expectFailed("close of a crumbling connection at " + when);
        node.peer().setFragmentSize(0);
    }
    node.peer().setSendFault(Fault::none());
    expectRight("afterwards");
}

TEST_F(EveryByteWritten, EndOfTheConnectionWhereverTheDataNodeStopsReadingFailsTheAttempt)
{
    makeSmall();
    for (std::size_t byte = 0; byte < receivedSize; ++byte) {
        const std::string when = "byte " + std::to_string(byte);
        node.peer().setReceiveFault(Fault::closeAt(byte));
        expectFailed("close at " + when);
        node.peer().setReceiveFault(Fault::resetAt(byte));
        expectFailed("reset at " + when);
    }
    node.peer().setReceiveFault(Fault::none());
    expectRight("afterwards");
}

TEST_F(EveryByteWritten, EndOfTheConnectionAmongPacketsFailsTheAttempt)
{
    for (std::size_t byte = 0; byte < receivedSize; byte += 41) {
        const std::string when = "byte " + std::to_string(byte);
        node.peer().setReceiveFault(Fault::closeAt(byte));
        expectFailed("close at " + when);
        node.peer().setReceiveFault(Fault::resetAt(byte));
        expectFailed("reset at " + when);
    }
}

TEST_F(EveryByteWritten, DataNodeThatStallsAtAnyByteIsWaitedFor)
{
    std::atomic<bool> over(false);
    std::thread resuming([this, &over] {
        while (!over) {
            std::this_thread::sleep_for(std::chrono::microseconds(500));
            node.peer().resume();
        }
    });
    for (std::size_t byte = 0; byte < sentSize; ++byte) {
        node.peer().setSendFault(Fault::stallAt(byte));
        expectRight("stall of what is sent at byte " + std::to_string(byte));
    }
    node.peer().setSendFault(Fault::none());
    for (std::size_t byte = 0; byte < receivedSize; byte += 13) {
        node.peer().setReceiveFault(Fault::stallAt(byte));
        expectRight("stall of what is received at byte " + std::to_string(byte));
    }
    over = true;
    resuming.join();
    node.peer().resume();
}

TEST_F(EveryByteWritten, LieAtAnyByteEndsInADocumentedResult)
{
    // All at once and then the end: a length that says too much must not leave both sides waiting.
    Serving serving;
    serving.sendsEverythingAtOnce = true;
    node.serve(serving);
    std::size_t failures = 0;
    for (std::size_t byte = 0; byte < sentSize; ++byte) {
        for (int bit = 0; bit < 9; ++bit) {
            const unsigned char mask = bit < 8 ? static_cast<unsigned char>(1 << bit) : 0xFF;
            const std::string when = "byte " + std::to_string(byte) + " with mask " + std::to_string(mask);
            node.peer().setSendFault(Fault::flipAt(byte, mask));
            const PipelineResult result = write();
            connection.dataNodeSocket.close();
            if (result == BlockWritten) {
                EXPECT_TRUE(log.takes({})) << when;
                continue;
            }
            ++failures;
            EXPECT_EQ(AttemptFailed, result) << when;
            expectFailureLines(when);
        }
    }
    // What is not looked at is the answer's empty link and, of each acknowledgement, its time and flags.
    EXPECT_LT(sentSize * 9 / 2, failures);
}

TEST_F(EveryByteWritten, AnySystemCallMayFail)
{
    const SystemCall calls[] = {SystemCall::Resolve, SystemCall::Socket, SystemCall::Connect, SystemCall::Send,
                                SystemCall::Receive};
    for (SystemCall call : calls) {
        for (int ordinal = 0;; ++ordinal) {
            const std::string when =
                "call " + std::to_string(static_cast<int>(call)) + ", ordinal " + std::to_string(ordinal);
            SystemCallFaults faults;
            faults.fail(call, ordinal, call == SystemCall::Resolve ? EAI_AGAIN : ECONNABORTED);
            const PipelineResult result = write();
            connection.dataNodeSocket.close();
            if (!faults.hasFailed(call)) {
                EXPECT_EQ(BlockWritten, result) << when;
                break;
            }
            EXPECT_EQ(AttemptFailed, result) << when;
            expectFailureLines(when);
            ASSERT_LT(ordinal, 100);
        }
    }
}

TEST_F(EveryByteWritten, SocketOptionsThatCannotBeSetDoNotMatter)
{
    SystemCallFaults faults;
    faults.failFrom(SystemCall::SetOption, 0, ENOPROTOOPT);
    expectRight("without options");
    EXPECT_TRUE(faults.hasFailed(SystemCall::SetOption));
}
