// Servers that are killed, stopped for a while and started again, before and in the middle of what we ask of them.
// ctest runs these tests alone; each leaves a whole cluster behind.
#include "testing/cluster/FaultTools.h"
#include "testing/cluster/RealClusterTest.h"

#include <QtCore/QFile>

#include <chrono>
#include <thread>

namespace {

class RealFaults : public RealClusterTest
{
protected:
    // A test before this one may have been ended by force.
    RealFaults() { cluster.mend(); }
    void TearDown() override { cluster.mend(); }

    /// A file in one block of 64 MiB: more than what the kernel keeps of a DataNode that is gone.
    QByteArray longBlock(int replication) const
    {
        return cluster.patternFile("long-block-" + QByteArray::number(replication), 64 * kMiB,
                                   FileLayout(64 * kMiB, replication));
    }

    QByteArray nodeOf(const DataNodeLocation &location) const { return cluster.nodeAtPort(location.xferPort); }
    QByteArray firstNode(const Reader &reader) const { return nodeOf(*reader->blocks[0]->firstLocation); }
};

const std::uint32_t kLong = 64 * kMiB;

std::string allDown(const Reader &reader)
{
    return "ERROR HDFS: All the data nodes that contains block " + std::to_string(reader->blocks[0]->blockId) +
           " are down";
}

bool isPacketFailure(const std::string &line, std::uint64_t blockId)
{
    const std::string end = " for block " + std::to_string(blockId);
    for (const char *step : {"(6)", "(7)", "(9)", "(12)"}) {
        if (line == "Warning HDFS: TCPIP received failed " + std::string(step) + end)
            return true;
    }
    return false;
}

} // namespace

TEST_F(RealFaults, ReadStaysOnAFirstDataNodeThatRefusesConnectionsAndFailsUntilItIsBack)
{
    const Reader reader = open(cluster.patternFile("four-blocks", 3 * kMiB + 700001, FileLayout(kMiB, 3)));
    ASSERT_TRUE(reader != nullptr);
    ASSERT_EQ(3u, reader->blocks[0]->locationCount);
    const QByteArray node = firstNode(reader);
    EXPECT_TRUE(readsPattern(reader.get(), 0, 100));
    cluster.kill(node);

    char bytes[1000];
    EXPECT_EQ(kReadFailed, reader->read(bytes, sizeof bytes, nullptr));
    EXPECT_EQ(100, reader->position);
    EXPECT_TRUE(log.takes({allDown(reader)}));
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);

    cluster.restart(node);
    EXPECT_TRUE(readsPattern(reader.get(), 100, 1000));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealFaults, DataNodeThatDiesInTheMiddleOfAReadIsFollowedByTheNextOne)
{
    const Reader reader = open(longBlock(3));
    ASSERT_TRUE(reader != nullptr);
    ASSERT_EQ(3u, reader->blocks[0]->locationCount);
    const QByteArray node = firstNode(reader);
    OnceReceived kill(8 * kMiB, [&] { cluster.kill(node); });
    EXPECT_TRUE(readsPattern(reader.get(), 12345, kLong - 12345));
    EXPECT_TRUE(kill.isDone());
    ASSERT_EQ(1u, log.texts().size());
    EXPECT_TRUE(isPacketFailure(log.texts()[0], reader->blocks[0]->blockId)) << log.texts()[0];
    EXPECT_EQ(1, reader->blocks[0]->firstLocation->down);
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->next->down);
}

TEST_F(RealFaults, SecondDataNodeThatDiesTooIsFollowedByTheThird)
{
    const Reader reader = open(longBlock(3));
    ASSERT_TRUE(reader != nullptr);
    ASSERT_EQ(3u, reader->blocks[0]->locationCount);
    const DataNodeLocation *first = reader->blocks[0]->firstLocation;
    bool isSecondKilled = false;
    bool isFirstKilled = false;
    std::int64_t since = 0;
    ReceiveHook hook([&](std::int64_t received) {
        if (!isFirstKilled && received >= 8 * kMiB) {
            isFirstKilled = true;
            cluster.kill(nodeOf(*first));
        } else if (isFirstKilled && !isSecondKilled && !log.lines().empty()) {
            since = since == 0 ? received : since;
            if (received - since >= 8 * kMiB) {
                isSecondKilled = true;
                cluster.kill(nodeOf(*first->next));
            }
        }
    });
    EXPECT_TRUE(readsPattern(reader.get(), 0, kLong));
    EXPECT_TRUE(isSecondKilled);
    ASSERT_EQ(2u, log.texts().size());
    for (const std::string &line : log.texts())
        EXPECT_TRUE(isPacketFailure(line, reader->blocks[0]->blockId)) << line;
    EXPECT_EQ(1, first->down);
    EXPECT_EQ(1, first->next->down);
    EXPECT_EQ(0, first->next->next->down);
}

TEST_F(RealFaults, OnlyReplicaThatIsLostInTheMiddleOfAReadFailsTheRead)
{
    const Reader reader = open(longBlock(1));
    ASSERT_TRUE(reader != nullptr);
    ASSERT_EQ(1u, reader->blocks[0]->locationCount);
    const QByteArray node = firstNode(reader);
    std::vector<char> buffer(kLong);
    reader->position = 3;
    {
        OnceReceived kill(8 * kMiB, [&] { cluster.kill(node); });
        EXPECT_EQ(kReadFailed, reader->read(buffer.data(), kLong - 3, nullptr));
        EXPECT_TRUE(kill.isDone());
    }
    EXPECT_EQ(3, reader->position);
    ASSERT_EQ(2u, log.texts().size());
    EXPECT_TRUE(isPacketFailure(log.texts()[0], reader->blocks[0]->blockId)) << log.texts()[0];
    EXPECT_EQ(allDown(reader), log.texts()[1]);

    cluster.restart(node);
    EXPECT_TRUE(readsPattern(reader.get(), 3, kLong - 3));
}

TEST_F(RealFaults, ReadFailsWhenAllDataNodesAreGoneAndTheNamespaceStillAnswers)
{
    const QByteArray path = cluster.patternFile("small", 5000, FileLayout(kMiB, 3));
    for (const char *node : {"datanode1", "datanode2", "datanode3"})
        cluster.kill(node);
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    char bytes[10];
    EXPECT_EQ(kReadFailed, reader->read(bytes, sizeof bytes, nullptr));
    EXPECT_TRUE(log.takes({allDown(reader)}));
    EXPECT_TRUE(info(path) != nullptr);
    std::int32_t count = 0;
    EXPECT_TRUE(list("/", &count) != nullptr);
    cluster.mend();
    EXPECT_TRUE(readsPattern(reader.get(), 0, 5000));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealFaults, ReplicaThatIsMissingOnDiskIsTakenFromTheNextDataNode)
{
    const QByteArray path = directory() + "/file";
    cluster.client({"pattern", path, "300000", "1048576", "3", "512", "CRC32C"});
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    const QByteArray node = firstNode(reader);
    int removed = 0;
    for (const QString &replica : cluster.replicaFiles(reader->blocks[0]->blockId)) {
        if (replica.contains(QLatin1Char('/') + QString::fromLatin1(node) + QLatin1Char('/')))
            removed += QFile::remove(replica);
    }
    ASSERT_EQ(1, removed);
    EXPECT_TRUE(readsPattern(reader.get(), 1000, 250000));
    EXPECT_EQ(1, reader->blocks[0]->firstLocation->down);
    EXPECT_GE(log.texts().size(), 1u);
    for (const std::string &line : log.texts())
        EXPECT_EQ(0u, line.find("Warning HDFS: ")) << line;
}

TEST_F(RealFaults, DataNodeThatIsStoppedWhenTheReadBeginsIsWaitedFor)
{
    const Reader reader = open(cluster.patternFile("small", 5000, FileLayout(kMiB, 3)));
    ASSERT_TRUE(reader != nullptr);
    const QByteArray node = firstNode(reader);
    cluster.pause(node);
    const LaterContinue later(cluster, node, 3000);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(readsPattern(reader.get(), 0, 5000));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2500));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealFaults, DataNodeThatRestsForAMomentInTheMiddleOfAReadIsWaitedFor)
{
    const Reader reader = open(longBlock(1));
    ASSERT_TRUE(reader != nullptr);
    const QByteArray node = firstNode(reader);
    std::unique_ptr<LaterContinue> later;
    OnceReceived pause(8 * kMiB, [&] {
        cluster.pause(node);
        later.reset(new LaterContinue(cluster, node, 1000));
    });
    EXPECT_TRUE(readsPattern(reader.get(), 0, kLong));
    EXPECT_TRUE(pause.isDone());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealFaults, DataNodeThatRestsForLongInTheMiddleOfAReadCostsAtMostAnotherAttempt)
{
    // It gets the waiting statuses too early then, and may drop the end of the range for that.
    for (int replication : {1, 3}) {
        const Reader reader = open(longBlock(replication));
        ASSERT_TRUE(reader != nullptr);
        const QByteArray node = firstNode(reader);
        std::unique_ptr<LaterContinue> later;
        OnceReceived pause(8 * kMiB, [&] {
            cluster.pause(node);
            later.reset(new LaterContinue(cluster, node, 4000));
        });
        EXPECT_TRUE(readsPattern(reader.get(), 0, kLong));
        EXPECT_TRUE(pause.isDone());
        EXPECT_LE(log.texts().size(), 1u);
        for (const std::string &line : log.texts())
            EXPECT_TRUE(isPacketFailure(line, reader->blocks[0]->blockId)) << line;
        log.clear();
    }
}

TEST_F(RealFaults, ReadThroughWebHdfsGoesOnWithTheNextDataNodeWhenTheFirstOnesRefuseConnections)
{
    connection->useWebHdfs = true;
    const Reader reader = open(cluster.patternFile("four-blocks", 3 * kMiB + 700001, FileLayout(kMiB, 3)));
    ASSERT_TRUE(reader != nullptr);
    const DataNodeLocation *first = reader->blocks[0]->firstLocation;
    cluster.kill(nodeOf(*first));
    EXPECT_TRUE(readsPattern(reader.get(), 0, 3 * kMiB + 700001));
    cluster.kill(nodeOf(*first->next));
    EXPECT_TRUE(readsPattern(reader.get(), 0, 3 * kMiB + 700001));
    EXPECT_TRUE(log.holds({}));

    cluster.kill(nodeOf(*first->next->next));
    char bytes[1000];
    reader->position = 100;
    EXPECT_EQ(kReadFailed, reader->read(bytes, sizeof bytes, nullptr));
    EXPECT_EQ(100, reader->position);
    EXPECT_TRUE(log.takes({"ERROR WebHDFS: All the data nodes that contains block " +
                           std::to_string(reader->blocks[0]->blockId) + " are down"}));
    cluster.mend();
    EXPECT_TRUE(readsPattern(reader.get(), 100, 1000));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealFaults, DataNodeThatDiesInTheMiddleOfAReadThroughWebHdfsIsFollowedByTheNextOneWithoutAWord)
{
    connection->useWebHdfs = true;
    const Reader reader = open(longBlock(3));
    ASSERT_TRUE(reader != nullptr);
    ASSERT_EQ(3u, reader->blocks[0]->locationCount);
    const QByteArray node = firstNode(reader);
    OnceReceived kill(8 * kMiB, [&] { cluster.kill(node); });
    EXPECT_TRUE(readsPattern(reader.get(), 12345, kLong - 12345));
    EXPECT_TRUE(kill.isDone());
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
}

TEST_F(RealFaults, BlocksOfADataNodeThatWasGivenUpHaveOneLocationLessOrNone)
{
    // A file with one replica of each block, and a block behind the first that is on another DataNode.
    QByteArray scattered;
    std::unique_ptr<HdfsFileReader> before;
    int elsewhere = 0;
    for (int attempt = 0; elsewhere == 0 && attempt < 20; ++attempt) {
        scattered = directory() + "/scattered" + QByteArray::number(attempt);
        cluster.client({"pattern", scattered, "40000", "8192", "1", "512", "CRC32C"});
        before = open(scattered);
        ASSERT_TRUE(before != nullptr);
        for (int i = 1; elsewhere == 0 && i < before->blockCount; ++i) {
            if (nodeOf(*before->blocks[i]->firstLocation) != firstNode(before))
                elsewhere = i;
        }
    }
    ASSERT_GT(elsewhere, 0);
    const QByteArray node = nodeOf(*before->blocks[elsewhere]->firstLocation);
    const QByteArray everywhere = cluster.patternFile("four-blocks", 3 * kMiB + 700001, FileLayout(kMiB, 3));
    cluster.kill(node);
    cluster.waitUntilDead(node);

    // It takes its blocks off the list a moment after it has noticed.
    Reader three = open(everywhere);
    for (int i = 0; i < 100 && three && three->blocks[3]->locationCount == 3; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        three = open(everywhere);
    }
    ASSERT_TRUE(three != nullptr);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(2u, three->blocks[i]->locationCount);
    EXPECT_TRUE(readsPattern(three.get(), 0, 3 * kMiB + 700001));
    EXPECT_TRUE(log.holds({}));

    const Reader one = open(scattered);
    ASSERT_TRUE(one != nullptr);
    ASSERT_EQ(0u, one->blocks[elsewhere]->locationCount);
    const std::string blockId = std::to_string(one->blocks[elsewhere]->blockId);
    std::vector<char> buffer(40000);
    one->position = one->blocks[elsewhere]->offset;
    EXPECT_EQ(kReadNoLocation, one->read(buffer.data(), 1, nullptr));
    EXPECT_TRUE(log.takes({"ERROR HDFS: No data node that contains block " + blockId}));
    one->position = 0;
    EXPECT_EQ(kReadNoLocation, one->read(buffer.data(), 40000, nullptr));
    EXPECT_EQ(0, one->position);
    EXPECT_TRUE(log.takes({"ERROR HDFS: No data node that contains block " + blockId + " (18)"}));
    EXPECT_TRUE(readsPattern(one.get(), 0, 8192));

    std::uint64_t counters[ClientProtocol::kFsStatsCount] = {};
    EXPECT_EQ(0, ClientProtocol::getFsStats(connection.get(), counters));
    EXPECT_GE(counters[5], 1u); // missing
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealFaults, NameNodeThatRestartsEndsItsConnectionsAndTakesNewOnes)
{
    const QByteArray path = cluster.patternFile("four-blocks", 3 * kMiB + 700001, FileLayout(kMiB, 3));
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    const std::unique_ptr<NameNodeConnection> second = cluster.connect();
    cluster.kill("namenode");

    // The first call goes out into a connection whose end has not been noticed yet.
    EXPECT_EQ(ClientProtocol::CallFailed, ClientProtocol::mkdirs(connection.get(), "/never", 0755, true));
    EXPECT_TRUE(log.takes({"TCPIP received failed"}));
    std::int32_t count = 0;
    EXPECT_EQ(nullptr, ClientProtocol::getListing(second.get(), "/", &count));
    EXPECT_EQ(-1, count);
    EXPECT_TRUE(log.takes({"TCPIP received failed"}));
    EXPECT_EQ(nullptr, open(path));
    EXPECT_FALSE(log.texts().empty());
    log.clear();
    NameNodeConnection refused;
    EXPECT_EQ(1, refused.connect(cluster.host(), cluster.port(), "alice", 0, false, false, 10000, 10000));
    EXPECT_TRUE(log.takes({"TCPIP connect failed"}));
    // A reader needs its NameNode no more.
    EXPECT_TRUE(readsPattern(reader.get(), kMiB - 10, kMiB));
    EXPECT_TRUE(log.holds({}));

    cluster.restart("namenode");
    EXPECT_NE(ClientProtocol::Done, ClientProtocol::mkdirs(connection.get(), "/never", 0755, true)); // no reconnect
    EXPECT_FALSE(log.texts().empty());
    log.clear();
    EXPECT_TRUE(readsPattern(reader.get(), 2 * kMiB - 10, kMiB));
    EXPECT_EQ(0, connection->disconnect());
    EXPECT_EQ(0, connection->connect(cluster.host(), cluster.port(), "alice", 0, false, false, 10000, 10000));
    EXPECT_TRUE(info(path) != nullptr);
    EXPECT_EQ(nullptr, info("/never"));
    const Reader again = open(path);
    ASSERT_TRUE(again != nullptr);
    EXPECT_TRUE(readsPattern(again.get(), 0, 1000));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealFaults, NameNodeThatIsStoppedForAWhileIsWaitedFor)
{
    cluster.pause("namenode");
    const LaterContinue later(cluster, "namenode", 3000);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(info("/") != nullptr);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2500));
    EXPECT_TRUE(log.holds({}));
}
