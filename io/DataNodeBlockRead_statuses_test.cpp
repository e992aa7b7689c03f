// When a block read sends its read statuses, seen from the DataNode.
#include "io/DataNodeBlockRead.h"

#include "io/ReadStatusSender.h"
#include "testing/LogCapture.h"
#include "testing/ScriptedFile.h"
#include "testing/ShortPatience.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

class ReadStatuses : public ::testing::Test
{
protected:
    ReadStatuses() : file({10 * 512})
    {
        serving.packetData = 512;
        reader = file.open();
    }

    /// Reads successfully and waits for the DataNode to have seen the end of it.
    std::vector<StatusArrival> statusesOf(std::int64_t position, std::uint32_t length)
    {
        file.dataNode().serve(serving);
        file.dataNode().forget();
        const ReadOutcome outcome = readAt(reader.get(), position, length);
        EXPECT_EQ(length, outcome.result);
        EXPECT_EQ(file.bytes().substr(static_cast<std::size_t>(position), length), outcome.bytes);
        EXPECT_TRUE(log.holds({}));
        file.dataNode().peer().waitUntilOver(file.connectionCount());
        return file.dataNode().statuses();
    }

    LogCapture log;
    ScriptedFile file;
    ScriptedDataNode::Serving serving;
    std::unique_ptr<HdfsFileReader> reader;
};

} // namespace

TEST_F(ReadStatuses, OneForEachPacketThatWasRead)
{
    EXPECT_EQ(10u, statusesOf(0, 5120).size());
    EXPECT_EQ(3u, statusesOf(512, 1536).size());
    EXPECT_EQ(4u, statusesOf(511, 1537).size());
    EXPECT_EQ(2u, statusesOf(511, 2).size());
}

TEST_F(ReadStatuses, ReadOfLessThanAChunkSendsExactlyOne)
{
    EXPECT_EQ(1u, statusesOf(0, 100).size());
    EXPECT_EQ(1u, statusesOf(100, 100).size());
    EXPECT_EQ(1u, statusesOf(700, 1).size());
}

TEST_F(ReadStatuses, FirstGoesOutAtOnceAndTheOthersBehindTheLastByte)
{
    serving.listensBetweenPackets = 15;
    const std::vector<StatusArrival> statuses = statusesOf(0, 5120);
    ASSERT_EQ(10u, statuses.size());
    EXPECT_EQ(1u, statuses[0].packetsSent);
    EXPECT_LT(statuses[0].millisecondsWaited, 1500) << "it has not taken the DataNode's silence";
    for (std::size_t i = 1; i < statuses.size(); ++i) {
        EXPECT_GE(statuses[i].packetsSent, 10u) << "status " << i;
        EXPECT_TRUE(statuses[i].allDataSent) << "status " << i;
    }
}

TEST_F(ReadStatuses, TheOthersGoOutInOneSend)
{
    const SystemCallFaults calls;
    EXPECT_EQ(10u, statusesOf(0, 5120).size());
    EXPECT_EQ(3, calls.count(SystemCall::Send)) << "the request, the first status, all others";
}

TEST_F(ReadStatuses, EachBlockHasItsOwn)
{
    ScriptedFile blocks({1024, 1024, 1024});
    blocks.dataNode().serve(serving);
    const std::unique_ptr<HdfsFileReader> manyBlocks = blocks.open();
    const SystemCallFaults calls;
    EXPECT_EQ(3072u, readAt(manyBlocks.get(), 0, 3072).result);
    blocks.dataNode().peer().waitUntilOver(3);
    std::size_t counts[3] = {0, 0, 0};
    for (const StatusArrival &status : blocks.dataNode().statuses())
        ++counts[status.connection];
    EXPECT_EQ(2u, counts[0]);
    EXPECT_EQ(2u, counts[1]);
    EXPECT_EQ(2u, counts[2]);
    EXPECT_EQ(9, calls.count(SystemCall::Send));
}

TEST_F(ReadStatuses, DataNodeThatResetsOnASecondEarlyStatusIsReadToItsEnd)
{
    serving.resetsOnEarlyStatus = true;
    serving.listensBetweenPackets = 2;
    EXPECT_EQ(10u, statusesOf(0, 5120).size());
    EXPECT_EQ(9u, statusesOf(200, 4096).size());
    EXPECT_EQ(2u, file.connectionCount());
}

TEST_F(ReadStatuses, LargeReadFromADataNodeThatResetsOnASecondEarlyStatusComesOutRight)
{
    ScriptedFile large({8 << 20});
    ScriptedDataNode::Serving real;
    real.resetsOnEarlyStatus = true;
    large.dataNode().serve(real);
    const std::unique_ptr<HdfsFileReader> largeReader = large.open();
    const ReadOutcome outcome = readAt(largeReader.get(), 0, 8 << 20);
    EXPECT_EQ(8u << 20, outcome.result);
    EXPECT_TRUE(large.bytes() == outcome.bytes);
    large.dataNode().peer().waitUntilOver(1);
    EXPECT_EQ(128u, large.dataNode().statuses().size());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ReadStatuses, PeerInLockStepGetsWhatWaitsOnceItIsSilentAndThenEachAtOnce)
{
    const ShortPatience patience(kReadStatusPatience, 300);
    serving.worksInLockStep = true;
    const std::vector<StatusArrival> statuses = statusesOf(0, 5120);
    ASSERT_EQ(10u, statuses.size());
    EXPECT_EQ(1, patience.timeOuts()) << "the peer is waited for once";
    for (std::size_t i = 0; i < statuses.size(); ++i)
        EXPECT_EQ(i + 1, statuses[i].packetsSent) << "status " << i;
    // The second status waits; all others come without it.
    EXPECT_GE(statuses[1].millisecondsWaited, 250);
    for (std::size_t i = 2; i < statuses.size(); ++i)
        EXPECT_LT(statuses[i].millisecondsWaited, 250) << "status " << i;
}

TEST_F(ReadStatuses, PeerInLockStepIsTakenForSilentAfterTwoSeconds)
{
    serving.worksInLockStep = true;
    const std::vector<StatusArrival> statuses = statusesOf(0, 2048);
    ASSERT_EQ(4u, statuses.size());
    EXPECT_LT(statuses[0].millisecondsWaited, 1500);
    EXPECT_GE(statuses[1].millisecondsWaited, 1950);
    EXPECT_LT(statuses[1].millisecondsWaited, 10000);
    EXPECT_LT(statuses[2].millisecondsWaited, 1500);
    EXPECT_LT(statuses[3].millisecondsWaited, 1500);
}

TEST_F(ReadStatuses, NextConnectionToAPeerInLockStepStartsPatientAgain)
{
    const ShortPatience patience(kReadStatusPatience, 30);
    serving.worksInLockStep = true;
    statusesOf(0, 2048);
    statusesOf(0, 2048);
    EXPECT_EQ(2, patience.timeOuts());
}

TEST_F(ReadStatuses, OnePacketIsNeverWaitedFor)
{
    const ShortPatience patience(kReadStatusPatience, 60);
    serving.worksInLockStep = true;
    serving.packetData = 8192;
    EXPECT_EQ(1u, statusesOf(0, 5120).size());
    EXPECT_EQ(0, patience.timeOuts());
}

TEST_F(ReadStatuses, SlowDataNodeIsWaitedForWithoutEnd)
{
    // It is silent three times as long as the client's patience, and sends on all the same.
    const ShortPatience patience(kReadStatusPatience, 10);
    serving.listensBetweenPackets = 30;
    EXPECT_EQ(10u, statusesOf(0, 5120).size());
    EXPECT_EQ(1, patience.timeOuts()) << "from the first silence on nothing waits";
}

TEST_F(ReadStatuses, FirstThatCannotBeSentShowsAtTheNextReceive)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 1, ECONNRESET);
    file.dataNode().serve(serving);
    const ReadOutcome outcome = readAt(reader.get(), 0, 5120);
    EXPECT_EQ(5120u, outcome.result);
    EXPECT_EQ(file.bytes(), outcome.bytes);
    EXPECT_TRUE(log.holds({"Warning HDFS: TCPIP received failed (6) for block 1073741825"}));
    EXPECT_EQ(2u, file.connectionCount()) << "the block is started again";
}

TEST_F(ReadStatuses, LastOnesThatCannotBeSentDoNotMatterAnyMore)
{
    for (int packets = 1; packets <= 2; ++packets) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Send, packets, ECONNRESET);
        file.dataNode().serve(serving);
        const ReadOutcome outcome = readAt(reader.get(), 0, static_cast<std::uint32_t>(512 * packets));
        EXPECT_EQ(512u * static_cast<unsigned>(packets), outcome.result);
        EXPECT_TRUE(faults.hasFailed(SystemCall::Send));
        EXPECT_TRUE(log.holds({}));
    }
    EXPECT_EQ(2u, file.connectionCount());
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
}

TEST_F(ReadStatuses, KeptConnectionThatDoesNotTakeTheLastOnesIsNotUsedAgain)
{
    serving.keepsConnection = true;
    file.dataNode().serve(serving);
    reader->connection->keepDataNodeConnection = true;
    {
        SystemCallFaults faults;
        faults.fail(SystemCall::Send, 2, ECONNRESET);
        EXPECT_EQ(1024u, readAt(reader.get(), 0, 1024).result);
        EXPECT_TRUE(faults.hasFailed(SystemCall::Send));
        EXPECT_EQ(platform::kInvalidSocket, reader->connection->dataNodeSocket.handle);
    }
    EXPECT_EQ(1024u, readAt(reader.get(), 0, 1024).result);
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ(2u, file.connectionCount());
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
}

TEST_F(ReadStatuses, WaitingOnesThatCannotBeSentToASilentPeerFailTheReceive)
{
    const ShortPatience patience(kReadStatusPatience, 20);
    serving.worksInLockStep = true;
    file.dataNode().serve(serving);
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 2, EPIPE);
    EXPECT_EQ(2048u, readAt(reader.get(), 0, 2048).result);
    EXPECT_TRUE(log.holds({"Warning HDFS: TCPIP received failed (6) for block 1073741825"}));
    EXPECT_EQ(2u, file.connectionCount());
}
