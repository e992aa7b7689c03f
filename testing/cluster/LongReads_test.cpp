// Long ranges from the real DataNodes, read fast and slowly. A DataNode ends such an exchange badly for a reader that
// tells it too early what it has read, so each size is read ten times.
#include "testing/HostPath.h"
#include "testing/ReceiveHook.h"
#include "testing/cluster/RealClusterTest.h"

#include <QtCore/QFileInfo>

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

namespace {

const std::int64_t kLength = kGiB + 2 * kMiB;

class RealLongReads : public RealClusterTest
{
protected:
    /// One block, on one DataNode: no other one can help out.
    QByteArray path() const { return cluster.patternFile("gibibyte", kLength, FileLayout(2 * kGiB, 1)); }

    void readTenTimes(std::int64_t length)
    {
        const Reader reader = open(path());
        ASSERT_TRUE(reader != nullptr);
        ASSERT_EQ(1, reader->blockCount);
        std::vector<char> buffer;
        for (int i = 0; i < 10; ++i)
            EXPECT_TRUE(readsPattern(reader.get(), i * 100001, static_cast<std::uint32_t>(length), &buffer));
        EXPECT_TRUE(log.holds({}));
    }

    /// Sleeps `milliseconds` after each `step` bytes.
    void readSlowly(std::int64_t length, int times, std::int64_t step, int milliseconds)
    {
        const Reader reader = open(path());
        ASSERT_TRUE(reader != nullptr);
        std::vector<char> buffer;
        for (int i = 0; i < times; ++i) {
            std::int64_t next = step;
            ReceiveHook slow([&](std::int64_t received) {
                if (received >= next) {
                    next = received + step;
                    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
                }
            });
            EXPECT_TRUE(readsPattern(reader.get(), i * 100001, static_cast<std::uint32_t>(length), &buffer));
        }
        EXPECT_TRUE(log.holds({}));
    }
};

/// Turns a block's replicas, all zeros, into holes: the same bytes without the room on disk.
void giveBackZeros(const RealCluster &cluster, std::uint64_t blockId)
{
    for (const QString &name : cluster.replicaFiles(blockId)) {
        try {
            const QByteArray size = QByteArray::number(QFileInfo(name).size());
            cluster.run({"fallocate", "--punch-hole", "--offset", "0", "--length", size, serversPathOf(name)});
        } catch (const std::runtime_error &error) {
            // A file system that cannot do it keeps the zeros.
            std::fprintf(stderr, "no hole: %s\n", error.what());
        }
    }
}

} // namespace

TEST_F(RealLongReads, RangesOf1MebibyteAreRightTenTimes)
{
    readTenTimes(kMiB);
}

TEST_F(RealLongReads, RangesOf8MebibytesAreRightTenTimes)
{
    readTenTimes(8 * kMiB);
}

TEST_F(RealLongReads, RangesOf128MebibytesAreRightTenTimes)
{
    readTenTimes(128 * kMiB);
}

TEST_F(RealLongReads, RangesOf1GibibyteAreRightTenTimes)
{
    readTenTimes(kGiB);
}

TEST_F(RealLongReads, SlowReaderGets1MebibyteRightTenTimes)
{
    readSlowly(kMiB, 10, 128 * kKiB, 20);
}

TEST_F(RealLongReads, SlowReaderGets8MebibytesRightTenTimes)
{
    readSlowly(8 * kMiB, 10, kMiB, 30);
}

TEST_F(RealLongReads, SlowReaderGets128MebibytesRightTenTimes)
{
    readSlowly(128 * kMiB, 10, 8 * kMiB, 30);
}

TEST_F(RealLongReads, ReaderThatRestsForLongerThanItWaitsForADataNodeGetsEverything)
{
    readSlowly(128 * kMiB, 2, 70 * kMiB, 2500);
}

/// 4 GiB and a byte: blocks of 1 GiB with zeros, whose replicas are turned into holes as soon as they are written, the
/// MiB before 4 GiB and the byte behind it with the pattern, all joined by `concat`.
TEST_F(RealLongReads, FarEndOfAFileBeyond4GibibytesIsRead)
{
    const std::int64_t kEnd = 4 * kGiB;
    const QByteArray path = directory() + "/far";
    QList<QByteArray> parts;
    for (int part = 0; part < 4; ++part) {
        const QByteArray name = part == 0 ? path : path + QByteArray::number(part);
        cluster.client({"zeros", name, QByteArray::number(qint64(part < 3 ? kGiB : kGiB - kMiB))});
        const Reader reader = open(name);
        ASSERT_TRUE(reader != nullptr);
        giveBackZeros(cluster, reader->blocks[0]->blockId);
        if (part > 0)
            parts << name;
    }
    cluster.client({"pattern-part", path + ".end", QByteArray::number(qint64(kEnd - kMiB)), "1048576"});
    cluster.client({"pattern-part", path + ".last", QByteArray::number(qint64(kEnd)), "1"});
    parts << path + ".end" << path + ".last";
    cluster.client(QList<QByteArray>() << "concat" << path << parts);

    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(6, reader->blockCount);
    EXPECT_EQ(std::uint64_t(kEnd + 1), reader->fileLength);
    const StatusList status = info(path);
    ASSERT_TRUE(status != nullptr);
    EXPECT_EQ(std::uint64_t(kEnd + 1), status->length);

    EXPECT_TRUE(readsPattern(reader.get(), kEnd, 1));
    char byte;
    EXPECT_EQ(0u, reader->read(&byte, 1, nullptr));
    EXPECT_EQ(kEnd + 1, reader->position);
    EXPECT_TRUE(readsPattern(reader.get(), kEnd - 1, 2));
    EXPECT_TRUE(readsPattern(reader.get(), kEnd - kMiB, kMiB + 1));
    EXPECT_TRUE(readsPattern(reader.get(), kEnd - 70001, 70002));
    const QByteArray seam = readAt(reader.get(), kEnd - kMiB - 100000, 200000);
    EXPECT_TRUE(seam.startsWith(QByteArray(100000, '\0')));
    EXPECT_EQ(-1, firstDifferenceFromPattern(seam.constData() + 100000, 100000, kEnd - kMiB));
    EXPECT_TRUE(readAt(reader.get(), 2 * kGiB - 300, 600) == QByteArray(600, '\0')); // where 32 bits change their sign
    reader->position = 3 * kGiB;
    std::vector<char> rest(kGiB + 1);
    EXPECT_EQ(kGiB + 1, reader->read(rest.data(), kGiB + 1, nullptr));
    EXPECT_EQ(-1, firstDifferenceFromPattern(rest.data() + kGiB - kMiB, kMiB + 1, kEnd - kMiB));
    EXPECT_TRUE(log.holds({}));
    cluster.dfs({"-rm", path});
}
