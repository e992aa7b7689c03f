// Writers whose servers are killed, stopped, restarted or full: the file is right, or the call says that it is not.
// ctest runs these tests alone; each leaves a whole cluster behind.
#include "testing/cluster/FaultTools.h"
#include "testing/cluster/RealClusterTest.h"

#include "io/HdfsFileCopy.h"
#include "io/HdfsFileWriter.h"
#include "testing/OpenDescriptors.h"
#include "testing/SocketOptions.h"

#include <QtCore/QFile>

#include <algorithm>

namespace {

typedef std::unique_ptr<HdfsFileWriter> Writer;

const char *const kDataNodes[] = {"datanode1", "datanode2", "datanode3"};
const char kRetries[] = "Maximum retry reached";
const char kNoPipeline[] = "Cannot create Pipeline";
const char kNoDataNode[] = "Cannot connect to datanode";

class RealWriteFaults : public RealClusterTest
{
protected:
    // A test before this one may have been ended by force.
    RealWriteFaults()
    {
        cluster.mend();
        connection->abandonsFailedBlocks = true;
    }
    void TearDown() override { cluster.mend(); }

    Writer create(const QByteArray &name, std::uint16_t replication, std::int64_t blockSize = 64 * kMiB)
    {
        return Writer(HdfsFileWriter::create(connection.get(), directory() + "/" + name, 0644, replication, blockSize));
    }

    bool logged(const std::string &line) const
    {
        const std::vector<std::string> lines = log.texts();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    /// The node that the connection's open DataNode socket leads to.
    QByteArray connectedNode() const { return cluster.nodeAtPort(peerPort(connection->dataNodeSocket.handle)); }
};

const std::int64_t kLength = 64 * kMiB;
/// So many bytes of answers have come from the DataNode when about a third of kLength is written, and nearly all of it:
/// a set-up answer, and some 10 or, with three DataNodes, 17 for each of 132 packets.
const std::int64_t kInTheMiddle = 500;
const std::int64_t kNearTheEnd = 1250;

/// Calls `function` once, when so many bytes have come from DataNodes.
class OnceAnswered
{
public:
    OnceAnswered(const NameNodeConnection &connection, std::int64_t bytes, std::function<void()> function)
        : m_before(0), m_isDone(false), m_hook([=, &connection](std::int64_t received) {
              if (connection.dataNodeSocket.handle == platform::kInvalidSocket)
                  m_before = received;
              if (received - m_before >= bytes && !m_isDone) {
                  m_isDone = true;
                  function();
              }
          })
    {
    }
    bool isDone() const { return m_isDone; }

private:
    std::int64_t m_before; ///< bytes from the NameNode
    bool m_isDone;
    ReceiveHook m_hook;
};

} // namespace

TEST_F(RealWriteFaults, FirstDataNodeThatIsDeadIsAvoidedWhenItsBlockIsGivenBack)
{
    cluster.kill("datanode2");
    const OpenDescriptors descriptors;
    const QByteArray bytes = patternFileBytes(0, 300000);
    int met = 0;
    for (int i = 0; met < 3 && i < 100; ++i) {
        const QByteArray name = QByteArray::number(i);
        const Writer writer = create(name, 1, kMiB);
        ASSERT_TRUE(writer != nullptr);
        ASSERT_EQ(0, writer->close(bytes.constData(), 300000)) << i;
        EXPECT_TRUE(cluster.holdsPattern(directory() + "/" + name, 300000));
        met += log.texts().empty() ? 0 : 1;
        EXPECT_TRUE(log.texts().empty() || log.takes({kNoDataNode}));
    }
    EXPECT_EQ(3, met);
    EXPECT_EQ(0, descriptors.opened());
    EXPECT_TRUE(cluster.isHealthy(directory()));
}

TEST_F(RealWriteFaults, FirstDataNodeThatIsDeadEndsTheFileWhenItsBlockIsKept)
{
    connection->abandonsFailedBlocks = false;
    cluster.kill("datanode2");
    const OpenDescriptors descriptors;
    bool met = false;
    for (int i = 0; !met && i < 100; ++i) {
        const Writer writer = create(QByteArray::number(i), 1, kMiB);
        ASSERT_TRUE(writer != nullptr);
        const std::int32_t result = writer->close("some bytes", 10);
        met = result != 0;
        if (!met)
            continue;
        EXPECT_EQ(7, result);
        EXPECT_TRUE(log.takes({kNoDataNode, kNoDataNode, kNoDataNode, kNoDataNode, kNoDataNode, kRetries}));
    }
    EXPECT_TRUE(met);
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(RealWriteFaults, AnyDeadDataNodeOfAPipelineIsAvoided)
{
    cluster.kill("datanode1");
    const QByteArray bytes = patternFileBytes(0, 300000);
    for (int i = 0; i < 10; ++i) {
        const QByteArray name = QByteArray::number(i);
        const Writer writer = create(name, 3, kMiB);
        ASSERT_TRUE(writer != nullptr);
        ASSERT_EQ(0, writer->close(bytes.constData(), 300000)) << i;
        EXPECT_TRUE(cluster.holdsPattern(directory() + "/" + name, 300000));
    }
    for (const std::string &line : log.texts())
        EXPECT_TRUE(line == kNoDataNode || line == kNoPipeline) << line;
}

TEST_F(RealWriteFaults, DataNodeThatDiesInTheMiddleOfABlockCostsAnotherAttempt)
{
    for (const int replication : {1, 3}) {
        SCOPED_TRACE(replication);
        const QByteArray name = QByteArray::number(replication);
        const QByteArray bytes = patternFileBytes(0, static_cast<int>(kLength));
        const OpenDescriptors descriptors;
        const Writer writer = create(name, static_cast<std::uint16_t>(replication));
        ASSERT_TRUE(writer != nullptr);
        {
            OnceAnswered kill(*connection, kInTheMiddle, [&] { cluster.kill(connectedNode()); });
            ASSERT_EQ(0, writer->write(bytes.constData(), kLength));
            EXPECT_TRUE(kill.isDone());
        }
        EXPECT_EQ(0, writer->close(nullptr, 0));
        EXPECT_FALSE(log.texts().empty());
        EXPECT_EQ(0, descriptors.opened());
        EXPECT_TRUE(cluster.holdsPattern(directory() + "/" + name, kLength));
        cluster.mend();
        log.clear();
    }
}

TEST_F(RealWriteFaults, DataNodeThatIsStartedAgainInTheMiddleOfABlockCostsAnotherAttempt)
{
    const QByteArray bytes = patternFileBytes(0, static_cast<int>(kLength));
    const Writer writer = create("file", 1);
    ASSERT_TRUE(writer != nullptr);
    {
        OnceAnswered restart(*connection, kInTheMiddle, [&] {
            const QByteArray node = connectedNode();
            cluster.kill(node);
            cluster.restart(node);
        });
        ASSERT_EQ(0, writer->close(bytes.constData(), kLength - 1));
        EXPECT_TRUE(restart.isDone());
    }
    EXPECT_FALSE(log.texts().empty());
    EXPECT_TRUE(cluster.holdsPattern(directory() + "/file", kLength - 1));
}

TEST_F(RealWriteFaults, DataNodeThatDiesInTheMiddleEndsTheFileWhenItsBlockIsKept)
{
    connection->abandonsFailedBlocks = false;
    const QByteArray bytes = patternFileBytes(0, static_cast<int>(kLength));
    const OpenDescriptors descriptors;
    const Writer writer = create("file", 1);
    ASSERT_TRUE(writer != nullptr);
    {
        OnceAnswered kill(*connection, kInTheMiddle, [&] { cluster.kill(connectedNode()); });
        EXPECT_EQ(2, writer->write(bytes.constData(), kLength));
        EXPECT_TRUE(kill.isDone());
    }
    EXPECT_EQ(7, writer->close(nullptr, 0));
    EXPECT_EQ(kRetries, log.texts().back());
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(RealWriteFaults, DataNodeThatDiesBeforeTheLastAcknowledgementsCostsAnotherAttempt)
{
    const QByteArray bytes = patternFileBytes(0, static_cast<int>(kLength));
    const Writer writer = create("file", 3);
    ASSERT_TRUE(writer != nullptr);
    {
        OnceAnswered kill(*connection, kNearTheEnd, [&] { cluster.kill(connectedNode()); });
        ASSERT_EQ(0, writer->close(bytes.constData(), kLength - 1));
        EXPECT_TRUE(kill.isDone());
    }
    EXPECT_FALSE(log.texts().empty());
    EXPECT_TRUE(cluster.holdsPattern(directory() + "/file", kLength - 1));
}

TEST_F(RealWriteFaults, DataNodeFurtherDownThatDiesCostsAnotherAttemptToo)
{
    const QByteArray bytes = patternFileBytes(0, static_cast<int>(kLength));
    const Writer writer = create("file", 3);
    ASSERT_TRUE(writer != nullptr);
    {
        OnceAnswered kill(*connection, kInTheMiddle, [&] {
            const QByteArray first = connectedNode();
            cluster.kill(first == kDataNodes[0] ? kDataNodes[1] : kDataNodes[0]);
        });
        ASSERT_EQ(0, writer->close(bytes.constData(), kLength - 1));
        EXPECT_TRUE(kill.isDone());
    }
    EXPECT_FALSE(log.texts().empty());
    EXPECT_TRUE(cluster.holdsPattern(directory() + "/file", kLength - 1));
}

TEST_F(RealWriteFaults, StoppedDataNodeHoldsTheWriteUpUntilItGoesOn)
{
    const QByteArray bytes = patternFileBytes(0, static_cast<int>(kLength));
    const OpenDescriptors descriptors;
    for (const std::int64_t answered : {kInTheMiddle, kNearTheEnd}) {
        SCOPED_TRACE(answered);
        const QByteArray name = QByteArray::number(qint64(answered));
        const Writer writer = create(name, 3);
        ASSERT_TRUE(writer != nullptr);
        std::unique_ptr<LaterContinue> later;
        {
            OnceAnswered pause(*connection, answered, [&] {
                const QByteArray node = connectedNode();
                cluster.pause(node);
                later.reset(new LaterContinue(cluster, node, 1000));
            });
            ASSERT_EQ(0, writer->close(bytes.constData(), kLength - 1));
            EXPECT_TRUE(pause.isDone());
        }
        later.reset();
        EXPECT_TRUE(cluster.holdsPattern(directory() + "/" + name, kLength - 1));
    }
    EXPECT_EQ(0, descriptors.opened());
    EXPECT_TRUE(log.holds({}));
    EXPECT_TRUE(cluster.isHealthy(directory()));
}

TEST_F(RealWriteFaults, DataNodesThatAreStoppedAtTheSetUpHoldTheWriteUpUntilTheyGoOn)
{
    std::vector<std::unique_ptr<LaterContinue>> later;
    for (const char *node : kDataNodes) {
        cluster.pause(node);
        later.emplace_back(new LaterContinue(cluster, node, 1000));
    }
    const Writer writer = create("file", 3);
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(0, writer->close("hello", 5));
    later.clear();
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ("hello", cluster.dfs({"-cat", directory() + "/file"}));
}

TEST_F(RealWriteFaults, FullDiskIsAvoidedWhenAnotherHasRoom)
{
    for (const char *node : {kDataNodes[0], kDataNodes[1]})
        cluster.limitFiles(node, 8 * kMiB);
    const QByteArray bytes = patternFileBytes(0, static_cast<int>(16 * kMiB));
    for (int i = 0; log.texts().empty() && i < 50; ++i) {
        const QByteArray name = QByteArray::number(i);
        const Writer writer = create(name, 1);
        ASSERT_TRUE(writer != nullptr);
        EXPECT_EQ(0, writer->close(bytes.constData(), static_cast<std::uint32_t>(bytes.size())));
        EXPECT_TRUE(cluster.holdsPattern(directory() + "/" + name, bytes.size()));
    }
    EXPECT_FALSE(log.texts().empty()) << "no full disk was met";
    for (const char *node : kDataNodes)
        cluster.limitFiles(node, -1);
}

TEST_F(RealWriteFaults, FullDisksEverywhereEndTheFile)
{
    const OpenDescriptors descriptors;
    for (const char *node : kDataNodes)
        cluster.limitFiles(node, 8 * kMiB);
    const QByteArray bytes = patternFileBytes(0, static_cast<int>(16 * kMiB));
    {
        const Writer writer = create("file", 1);
        ASSERT_TRUE(writer != nullptr);
        EXPECT_EQ(8, writer->close(bytes.constData(), static_cast<std::uint32_t>(bytes.size())));
        EXPECT_EQ(8, writer->finish());
    }
    for (const char *node : kDataNodes)
        cluster.limitFiles(node, -1);
    EXPECT_EQ(0, descriptors.opened());
    const Writer writer = create("file", 3);
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(0, writer->close(bytes.constData(), static_cast<std::uint32_t>(bytes.size())));
    EXPECT_TRUE(cluster.holdsPattern(directory() + "/file", bytes.size()));
}

TEST_F(RealWriteFaults, FewerDataNodesThanReplicasMakeAFileWithFewerReplicas)
{
    cluster.kill("datanode1");
    cluster.kill("datanode2");
    cluster.waitUntilDead("datanode1");
    cluster.waitUntilDead("datanode2");
    const Writer writer = create("file", 3);
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(0, writer->close("hello", 5));
    // Also a NameNode that has given DataNodes up may go on naming them for a moment.
    for (const std::string &line : log.texts())
        EXPECT_TRUE(line == kNoDataNode || line == kNoPipeline) << line;
    EXPECT_EQ("hello", cluster.dfs({"-cat", directory() + "/file"}));
    EXPECT_EQ(3, info(directory() + "/file")->replication);
}

TEST_F(RealWriteFaults, NoDataNodeAtAllEndsTheFile)
{
    for (const char *node : kDataNodes)
        cluster.kill(node);
    const OpenDescriptors descriptors;
    const Writer writer = create("file", 1);
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(8, writer->close("hello", 5));
    EXPECT_TRUE(logged(kNoDataNode));
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(RealWriteFaults, NameNodeThatIsStartedAgainBetweenTwoBlocksEndsTheFile)
{
    const QByteArray bytes = patternFileBytes(0, static_cast<int>(kMiB));
    const Writer writer = create("file", 3, kMiB);
    ASSERT_TRUE(writer != nullptr);
    ASSERT_EQ(0, writer->write(bytes.constData(), kMiB));
    cluster.restart("namenode");
    EXPECT_EQ(2, writer->write(bytes.constData(), kMiB));
    EXPECT_EQ(8, writer->close(nullptr, 0));
    // The connection is gone for good; another one writes the file anew.
    connection = cluster.connect();
    log.clear();
    const Writer again = create("file", 3, kMiB);
    ASSERT_TRUE(again != nullptr);
    EXPECT_EQ(0, again->close(bytes.constData(), kMiB - 1));
    EXPECT_TRUE(cluster.holdsPattern(directory() + "/file", kMiB - 1));
}

TEST_F(RealWriteFaults, CopyThatCannotReadItsSourceAnyMoreLeavesNoDestination)
{
    const QByteArray source = directory() + "/source";
    cluster.client({"pattern", source, "3000000", "1048576", "1", "512", "CRC32C"});
    const QList<QString> lost = cluster.replicaFiles(Reader(open(source))->blocks[2]->blockId);
    OnceReceived vanish(kMiB + kMiB / 2, [&] {
        cluster.dfs({"-rm", source});
        for (const QString &file : lost)
            QFile::remove(file);
    });
    EXPECT_EQ(7, copyHdfsFile(connection.get(), source, directory() + "/copy"));
    EXPECT_TRUE(logged("Error-read in copy HDFS."));
    EXPECT_TRUE(vanish.isDone());
    EXPECT_TRUE(info(directory() + "/copy") == nullptr);
}
