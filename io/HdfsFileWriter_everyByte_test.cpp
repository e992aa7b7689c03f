// Files with everything that can happen to them: allocations, connections at each of their bytes, system calls.
#include "io/HdfsFileWriter.h"

#include "platform/Sockets.h"
#include "testing/FakeTime.h"
#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedDataNode.h"
#include "testing/ScriptedNewFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace hadoop::oracle;

namespace {

typedef ScriptedWriteNode::Serving Serving;

const std::uint32_t kBlock = 4096;

Serving refusing()
{
    Serving serving;
    serving.answer = pipelineAnswer(ERROR, "", "refused");
    serving.closesBehind = Serving::Answer;
    return serving;
}

class EveryByteOfAFile : public ::testing::Test
{
protected:
    FakeTime time;
    LogCapture log;
};

} // namespace

TEST_F(EveryByteOfAFile, EachAllocationMayFail)
{
    const std::string bytes = patternBytes(2 * kBlock + 100);
    const OpenDescriptors descriptors;
    for (int ordinal = 0;; ++ordinal) {
        ScriptedNewFile file(6);
        file.dataNode(0).serve(refusing());
        std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        bool failed = false;
        std::int32_t written = 0;
        std::int32_t closed = 0;
        {
            SystemCallFaults faults;
            faults.fail(SystemCall::Allocate, ordinal, 0);
            written = writeBytes(writer.get(), bytes.substr(0, 5));
            if (written == 0)
                written = writeBytes(writer.get(), bytes.substr(5));
            closed = writer->finish();
            failed = faults.hasFailed(SystemCall::Allocate);
        }
        if (closed == 0) {
            EXPECT_EQ(0, written);
            EXPECT_TRUE(bytes == file.content()) << "allocation " << ordinal;
        } else {
            EXPECT_TRUE(closed == 1 || closed == 8) << "allocation " << ordinal << " ended in " << closed;
            EXPECT_EQ(closed, writer->close(nullptr, 0));
        }
        log.clear();
        if (!failed) {
            EXPECT_EQ(0, closed);
            break;
        }
        ASSERT_LT(ordinal, 100);
    }
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(EveryByteOfAFile, DescriptorsStayAsTheyWere)
{
    ScriptedNewFile file(3);
    file.dataNode(0).serve(refusing());
    const std::string bytes = patternBytes(3 * kBlock + 5);
    const auto writeFile = [&] {
        const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        EXPECT_EQ(0, writeBytes(writer.get(), bytes));
        EXPECT_EQ(0, closeWith(writer.get(), "end"));
        log.clear();
    };
    writeFile();
    file.waitUntilOver();
    const OpenDescriptors descriptors;
    for (int i = 0; i < 20; ++i)
        writeFile();
    // Attempts, all in vain.
    file.serve(refusing());
    file.dataNode(1).peer().stopListening();
    const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
    EXPECT_EQ(8, closeWith(writer.get(), "x")) << "there are only three DataNodes";
    log.clear();
    file.waitUntilOver();
    EXPECT_GE(0, descriptors.opened());
}

// Faults of the network anywhere.

TEST_F(EveryByteOfAFile, EndOfADataNodesConnectionAtAnyByteIsGotOver)
{
    ScriptedNewFile file(2);
    const std::string bytes = patternBytes(2000);
    std::size_t sent = 1;
    for (std::size_t byte = 0; byte <= sent; ++byte) {
        for (const Fault &fault : {Fault::closeAt(byte), Fault::resetAt(byte)}) {
            file.dataNode(0).peer().setSendFault(fault);
            const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
            EXPECT_EQ(0, closeWith(writer.get(), bytes)) << byte;
            const WrittenBlock block = file.wholeBlocks().back();
            EXPECT_EQ(block.blockId(), file.completes().back().last().blockid());
            EXPECT_TRUE(bytes == block.data);
            log.clear();
        }
        if (byte == 0) {
            ScriptedNewFile whole;
            const std::unique_ptr<HdfsFileWriter> writer = whole.open(kBlock);
            EXPECT_EQ(0, closeWith(writer.get(), bytes));
            whole.waitUntilOver();
            sent = whole.dataNode(0).peer().sent(0).size();
        }
    }
}

TEST_F(EveryByteOfAFile, EndOfTheNameNodesConnectionAtAnyByteEndsInADocumentedResult)
{
    const std::string bytes = patternBytes(2000);
    std::size_t sent = 0;
    {
        ScriptedNewFile file;
        const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
        EXPECT_EQ(0, closeWith(writer.get(), bytes));
        file.connection.disconnect();
        file.nameNode.peer().waitUntilOver(1);
        sent = file.nameNode.peer().sent(0).size();
    }
    const OpenDescriptors descriptors;
    for (std::size_t byte = 0; byte <= sent; ++byte) {
        for (const Fault &fault : {Fault::closeAt(byte), Fault::resetAt(byte)}) {
            std::unique_ptr<ScriptedNewFile> file(new ScriptedNewFile);
            // The connection is there already: what follows is sent on another one.
            file->connection.disconnect();
            file->nameNode.peer().setSendFault(fault);
            ASSERT_EQ(0, file->connection.connect("127.0.0.1", static_cast<std::uint32_t>(file->nameNode.port()),
                                                  "tester", 0, false, false, 0, 0));
            const std::unique_ptr<HdfsFileWriter> writer = file->open(kBlock);
            ASSERT_TRUE(writer);
            const std::int32_t result = closeWith(writer.get(), bytes);
            EXPECT_EQ(byte < sent, result != 0) << byte;
            EXPECT_TRUE(result == 0 || result == 1 || result == 4 || result == 8 || result == 2) << result;
            EXPECT_EQ(byte < sent, !log.lines().empty());
            EXPECT_EQ(result, writer->close(nullptr, 0));
            if (result == 0) {
                EXPECT_TRUE(bytes == file->content());
            }
            log.clear();
        }
    }
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(EveryByteOfAFile, AnySystemCallMayFailOnce)
{
    const std::string bytes = patternBytes(kBlock + 100);
    // Not a receive: a NameNode that answers all the same is none that there is.
    const SystemCall calls[] = {SystemCall::Resolve, SystemCall::Socket, SystemCall::Connect, SystemCall::Send,
                                SystemCall::SetOption};
    for (SystemCall call : calls) {
        for (int ordinal = 0;; ++ordinal) {
            const std::string when =
                "call " + std::to_string(static_cast<int>(call)) + ", ordinal " + std::to_string(ordinal);
            ScriptedNewFile file(6);
            const std::unique_ptr<HdfsFileWriter> writer = file.open(kBlock);
            bool failed;
            std::int32_t written;
            std::int32_t closed;
            {
                SystemCallFaults faults;
                faults.fail(call, ordinal, call == SystemCall::Resolve ? EAI_AGAIN : ECONNRESET);
                written = writeBytes(writer.get(), bytes);
                closed = writer->close(nullptr, 0);
                failed = faults.hasFailed(call);
            }
            // What fails between the NameNode and us cannot be made good; what fails at a DataNode can.
            if (closed == 0)
                EXPECT_TRUE(written == 0 && bytes == file.content()) << when;
            else
                EXPECT_TRUE(call == SystemCall::Send && closed <= 8) << when << " ended in " << closed;
            EXPECT_TRUE(failed || closed == 0) << when;
            log.clear();
            if (!failed)
                break;
            ASSERT_LT(ordinal, 200);
        }
    }
}
