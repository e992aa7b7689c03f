// One block read with everything that can happen to it at each of its bytes and at each of its system calls.
#include "io/DataNodeBlockRead.h"

#include "testing/HeapInUse.h"
#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <limits>
#include <thread>

using namespace hadoop::oracle;

namespace {

const std::int64_t kPosition = 5;
const std::uint32_t kLength = 80;

/// Three packets of two chunks each. The read starts and ends mid-chunk.
class EveryByte : public ::testing::Test
{
protected:
    EveryByte() : file({96})
    {
        serving.bytesPerChecksum = 16;
        serving.packetData = 32;
        serving.alter = [this](const ReadRequest &, WireRead *read) {
            answerSize = read->answer.size();
            packetSize = read->packets[0].size();
            rangeSize = answerSize + 3 * packetSize;
            wholeSize = rangeSize + read->packets[3].size();
        };
        file.dataNode().serve(serving);
        reader = file.open();
        expectRight("without a fault");
        file.dataNode().peer().waitUntilOver(1);
        receivedSize = file.dataNode().peer().received(0).size();
        serving.alter = nullptr;
        file.dataNode().serve(serving);
        descriptors.reset(new OpenDescriptors);
    }

    ~EveryByte() override
    {
        file.dataNode().peer().waitUntilOver(file.connectionCount());
        EXPECT_EQ(0, descriptors->opened());
    }

    ReadOutcome read() { return readAt(reader.get(), kPosition, kLength); }

    void expectRight(const std::string &when)
    {
        const ReadOutcome outcome = read();
        EXPECT_EQ(kLength, outcome.result) << when;
        EXPECT_TRUE(file.bytes().substr(kPosition, kLength) == outcome.bytes) << when;
        EXPECT_EQ(kPosition + kLength, reader->position) << when;
        log.clear();
    }

    void expectFailed(const std::string &when)
    {
        EXPECT_EQ(kReadFailed, read().result) << when;
        EXPECT_EQ(kPosition, reader->position) << when;
        EXPECT_EQ("ERROR HDFS: All the data nodes that contains block 1073741825 are down", lastLine()) << when;
        log.clear();
    }

    std::string lastLine() const { return log.lines().empty() ? std::string() : log.lines().back().text; }

    /// The fault on the next connection only; the attempt after it meets a sound DataNode.
    void faultOnce(const Fault &fault)
    {
        file.dataNode().peer().setSendFault(fault, static_cast<int>(file.connectionCount()));
    }

    bool isData(std::size_t byte) const
    {
        return byte >= answerSize && byte < rangeSize && (byte - answerSize) % packetSize >= packetSize - 32;
    }

    /// The four bytes of `dataLen` in a packet's header: behind the prefix, two fields of nine bytes, one of two, and
    /// their own tag.
    bool isDataLength(std::size_t byte) const
    {
        const std::size_t place = byte < answerSize ? 0 : (byte - answerSize) % packetSize;
        return byte < rangeSize && place >= 6 + 9 + 9 + 2 + 1 && place < 6 + 9 + 9 + 2 + 5;
    }

    LogCapture log;
    ScriptedFile file;
    ScriptedDataNode::Serving serving;
    std::unique_ptr<HdfsFileReader> reader;
    std::size_t answerSize;
    std::size_t packetSize;
    std::size_t rangeSize; ///< all that the client needs
    std::size_t wholeSize;
    std::size_t receivedSize; ///< what the client sends
    std::unique_ptr<OpenDescriptors> descriptors;
};

} // namespace

TEST_F(EveryByte, EndOfTheConnectionAtAnyByteIsGotOver)
{
    for (std::size_t byte = 0; byte <= wholeSize; ++byte) {
        const std::string when = "byte " + std::to_string(byte);
        faultOnce(Fault::closeAt(byte));
        expectRight("close at " + when);
        faultOnce(Fault::resetAt(byte));
        expectRight("reset at " + when);
    }
}

TEST_F(EveryByte, EndOfEveryConnectionAtAnyNeededByteFailsTheRead)
{
    for (std::size_t byte = 0; byte < rangeSize; ++byte) {
        const std::string when = "byte " + std::to_string(byte);
        file.dataNode().peer().setSendFault(Fault::closeAt(byte));
        expectFailed("close at " + when);
        file.dataNode().peer().setSendFault(Fault::resetAt(byte));
        expectFailed("reset at " + when);
    }
    for (std::size_t byte = rangeSize; byte < wholeSize; ++byte) {
        file.dataNode().peer().setSendFault(Fault::closeAt(byte));
        expectRight("close behind the range, at byte " + std::to_string(byte));
    }
}

TEST_F(EveryByte, EndOfACrumblingConnectionAtAnyByteIsGotOver)
{
    for (std::size_t byte = 0; byte <= wholeSize; ++byte) {
        file.dataNode().peer().setFragmentSize(1 + byte % 3);
        faultOnce(Fault::closeAt(byte));
        expectRight("close at byte " + std::to_string(byte));
    }
}

TEST_F(EveryByte, DataNodeThatStallsAtAnyByteIsWaitedFor)
{
    std::atomic<bool> over(false);
    std::thread resuming([this, &over] {
        while (!over) {
            std::this_thread::sleep_for(std::chrono::microseconds(500));
            file.dataNode().peer().resume();
        }
    });
    const std::size_t before = file.connectionCount();
    for (std::size_t byte = 0; byte < wholeSize; ++byte) {
        faultOnce(Fault::stallAt(byte));
        expectRight("stall at byte " + std::to_string(byte));
    }
    EXPECT_EQ(before + wholeSize, file.connectionCount()) << "no attempt is lost";
    over = true;
    resuming.join();
    file.dataNode().peer().resume();
}

TEST_F(EveryByte, DataNodeThatStopsListeningAtAnyByteIsGotOver)
{
    for (std::size_t byte = 0; byte <= receivedSize; ++byte) {
        const std::string when = "byte " + std::to_string(byte);
        const int next = static_cast<int>(file.connectionCount());
        file.dataNode().peer().setReceiveFault(Fault::closeAt(byte), next);
        expectRight("close at " + when);
        file.dataNode().peer().setReceiveFault(Fault::resetAt(byte), static_cast<int>(file.connectionCount()));
        expectRight("reset at " + when);
    }
}

TEST_F(EveryByte, LieAtAnyByteIsGotOverUnlessItIsAboutTheDataThemselves)
{
    serving.closesBehindRange = true;
    file.dataNode().serve(serving);
    const unsigned char masks[] = {0x01, 0x04, 0x20, 0x80, 0xFF};
    for (std::size_t byte = 0; byte < wholeSize; ++byte) {
        for (unsigned char mask : masks) {
            faultOnce(Fault::flipAt(byte, mask));
            const std::string when = "byte " + std::to_string(byte) + " with mask " + std::to_string(mask);
            if (isDataLength(byte)) {
                // The packet's bounds are where it says, and nothing else tells: any bytes may be taken for its data.
                ASSERT_EQ(kLength, read().result) << when;
                log.clear();
                continue;
            }
            if (!isData(byte)) {
                expectRight(when);
                continue;
            }
            // Data are deliberately not checked against their checksums.
            const ReadOutcome outcome = read();
            ASSERT_EQ(kLength, outcome.result) << when;
            std::string expected = file.bytes();
            const std::size_t packet = (byte - answerSize) / packetSize;
            const std::size_t place = packet * 32 + (byte - answerSize) % packetSize - (packetSize - 32);
            expected[place] = static_cast<char>(expected[place] ^ mask);
            ASSERT_TRUE(expected.substr(kPosition, kLength) == outcome.bytes) << when;
            ASSERT_TRUE(log.takes({})) << when;
        }
    }
}

TEST_F(EveryByte, SameLieOnEveryConnectionEndsInADocumentedResult)
{
    serving.closesBehindRange = true;
    file.dataNode().serve(serving);
    const unsigned char masks[] = {0x01, 0xFF};
    for (std::size_t byte = 0; byte < wholeSize; ++byte) {
        for (unsigned char mask : masks) {
            file.dataNode().peer().setSendFault(Fault::flipAt(byte, mask));
            const ReadOutcome outcome = read();
            if (outcome.result == kReadFailed)
                EXPECT_EQ("ERROR HDFS: All the data nodes that contains block 1073741825 are down", lastLine());
            else
                EXPECT_EQ(kLength, outcome.result) << "byte " << byte;
            log.clear();
        }
    }
}

TEST_F(EveryByte, AnySystemCallMayFailOnce)
{
    const SystemCall calls[] = {SystemCall::Resolve, SystemCall::Socket,    SystemCall::Connect,  SystemCall::Send,
                                SystemCall::Receive, SystemCall::SetOption, SystemCall::GetOption};
    for (SystemCall call : calls) {
        for (int ordinal = 0;; ++ordinal) {
            SystemCallFaults faults;
            faults.fail(call, ordinal, call == SystemCall::Resolve ? EAI_AGAIN : ECONNABORTED);
            expectRight("call " + std::to_string(static_cast<int>(call)) + ", ordinal " + std::to_string(ordinal));
            if (!faults.hasFailed(call))
                break;
            ASSERT_LT(ordinal, 100);
        }
    }
}

TEST_F(EveryByte, AnySystemCallMayFailFromThereOn)
{
    const SystemCall calls[] = {SystemCall::Resolve, SystemCall::Socket, SystemCall::Connect, SystemCall::Send,
                                SystemCall::Receive};
    for (SystemCall call : calls) {
        for (int ordinal = 0;; ++ordinal) {
            SystemCallFaults faults;
            faults.failFrom(call, ordinal, call == SystemCall::Resolve ? EAI_AGAIN : ECONNABORTED);
            const ReadOutcome outcome = read();
            const bool failed = faults.hasFailed(call);
            // The statuses behind the last byte are the only calls whose failure does not matter.
            if (!failed || (call == SystemCall::Send && outcome.result == kLength)) {
                EXPECT_EQ(kLength, outcome.result);
                EXPECT_TRUE(file.bytes().substr(kPosition, kLength) == outcome.bytes);
            } else {
                EXPECT_EQ(kReadFailed, outcome.result) << "call " << static_cast<int>(call) << ", ordinal " << ordinal;
                EXPECT_EQ(kPosition, reader->position);
            }
            log.clear();
            if (!failed)
                break;
            ASSERT_LT(ordinal, 100);
        }
    }
}

// Sizes that are announced and never come.

namespace {

const std::size_t kMuch = 4 << 20;

/// Plays `claim` to every connection, looks at the memory taken while the client waits for what it was promised, and
/// breaks off.
class HugeClaim : public ::testing::Test
{
protected:
    HugeClaim() : most(0), file({1 << 20}) {}

    void expectLittleMemory(const std::string &claim, const std::vector<std::string> &lines)
    {
        ScriptedPeer peer;
        const std::size_t before = heapInUse();
        most = before;
        peer.addScript([&](ScriptedConnection &connection) {
            connection.waitForMore();
            connection.send(claim);
            connection.pause(20);
            most = std::max<std::size_t>(most, heapInUse());
            connection.close();
        });
        file.block(0)->mutable_locs(0)->mutable_id()->set_xferport(static_cast<std::uint32_t>(peer.port()));
        const std::unique_ptr<HdfsFileReader> reader = file.open();
        std::vector<char> buffer(1 << 20);
        EXPECT_EQ(kReadFailed, reader->read(buffer.data(), 1 << 20, nullptr));
        EXPECT_TRUE(log.takes(lines));
        EXPECT_LT(most - before, kMuch + (1 << 20)) << "besides the buffer of the test";
    }

    std::string answer(std::uint32_t type, std::uint32_t bytesPerChecksum)
    {
        BlockOpResponseProto message;
        message.set_status(SUCCESS);
        ChecksumProto *checksum = message.mutable_readopchecksuminfo()->mutable_checksum();
        checksum->set_type(static_cast<ChecksumTypeProto>(type));
        checksum->set_bytesperchecksum(bytesPerChecksum);
        message.mutable_readopchecksuminfo()->set_chunkoffset(0);
        return lengthDelimited(message);
    }

    std::string header(std::int32_t dataLength) { return dataPacket(packetHeader(0, 0, dataLength), "", ""); }

    std::atomic<std::size_t> most;
    LogCapture log;
    ScriptedFile file;
};

const std::string kDown = "ERROR HDFS: All the data nodes that contains block 1073741825 are down";

std::vector<std::string> threeTimes(const std::string &line)
{
    return {line, line, line, kDown};
}

} // namespace

TEST_F(HugeClaim, AnswerOf256MegabytesTakesNoMemoryBeforeItComes)
{
    expectLittleMemory("\xFF\xFF\xFF\x7F", {"Warning HDFS: TCPIP received failed (4)", kDown});
    expectLittleMemory(std::string("\xFF\xFF\xFF\x7F") + std::string(100000, 'x'),
                       {"Warning HDFS: TCPIP received failed (4)", kDown});
}

TEST_F(HugeClaim, ChecksumsOfAHugePacketTakeNoMemoryBeforeTheyCome)
{
    expectLittleMemory(answer(2, 512) + header(std::numeric_limits<std::int32_t>::max()),
                       threeTimes("Warning HDFS: TCPIP received failed (9) for block 1073741825"));
    expectLittleMemory(answer(2, 16) + header(std::numeric_limits<std::int32_t>::max()) + std::string(1000, 'c'),
                       threeTimes("Warning HDFS: TCPIP received failed (9) for block 1073741825"));
}

TEST_F(HugeClaim, ChecksumsBeyondFourGigabytesAreNotReceivedAtAll)
{
    expectLittleMemory(answer(2, 1) + header(std::numeric_limits<std::int32_t>::max()),
                       threeTimes("Warning HDFS: TCPIP received failed (9) for block 1073741825"));
}

TEST_F(HugeClaim, LargestChunkTakesNoMemoryBeforeItComes)
{
    const std::string checksums(4, 'c');
    const std::uint32_t chunk = 16 * 1024 * 1024;
    const std::int32_t packet = static_cast<std::int32_t>(chunk);
    expectLittleMemory(answer(2, chunk) + header(packet) + checksums,
                       threeTimes("Warning HDFS: TCPIP received failed (16)"));
    expectLittleMemory(answer(2, chunk) + header(packet) + checksums + std::string(100000, 'd'),
                       threeTimes("Warning HDFS: TCPIP received failed (16)"));
    expectLittleMemory(answer(0, 0) + header(packet), threeTimes("Warning HDFS: TCPIP received failed (16)"));
}

TEST_F(HugeClaim, LargerChunkIsNotReceivedAtAll)
{
    const std::int32_t sizes[] = {16 * 1024 * 1024 + 1, 0x70000000, std::numeric_limits<std::int32_t>::max()};
    for (std::int32_t size : sizes) {
        expectLittleMemory(answer(2, 0x80000000u) + header(size) + "sums",
                           threeTimes("Warning HDFS: Packet Decoding failed: chunk too large (8)"));
        expectLittleMemory(answer(0, 0) + header(size),
                           threeTimes("Warning HDFS: Packet Decoding failed: chunk too large (8)"));
    }
}

TEST_F(HugeClaim, PacketLargerThanTheBufferIsNotWrittenBehindIt)
{
    // readAt would notice bytes behind the buffer.
    ScriptedPeer peer;
    const std::string stream =
        answer(0, 1024) + header(std::numeric_limits<std::int32_t>::max()) + std::string(3 << 20, 'd');
    peer.addScript([&](ScriptedConnection &connection) {
        connection.waitForMore();
        connection.send(stream);
    });
    file.block(0)->mutable_locs(0)->mutable_id()->set_xferport(static_cast<std::uint32_t>(peer.port()));
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    const ReadOutcome outcome = readAt(reader.get(), 0, 100000);
    EXPECT_EQ(100000u, outcome.result);
    EXPECT_EQ(std::string(100000, 'd'), outcome.bytes);
}

TEST(ChunkOfTwoGigabytes, WithDataThatComeIsReadLikeAnyOther)
{
    LogCapture log;
    const std::uint32_t sizes[] = {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu};
    for (std::uint32_t size : sizes) {
        ScriptedFile file({1000});
        ScriptedDataNode::Serving serving;
        serving.bytesPerChecksum = size;
        file.dataNode().serve(serving);
        const std::unique_ptr<HdfsFileReader> reader = file.open();
        EXPECT_EQ(file.bytes(), readAt(reader.get(), 0, 1000).bytes);
        EXPECT_EQ(file.bytes().substr(300, 400), readAt(reader.get(), 300, 400).bytes);
        EXPECT_TRUE(log.holds({}));
    }
}
