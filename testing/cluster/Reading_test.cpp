// Reading files from the real DataNodes: every place in a file, and files of every kind, with the data transfer
// protocol and through WebHDFS.
#include "testing/HostPath.h"
#include "testing/cluster/RealClusterTest.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <random>
#include <set>
#include <thread>

namespace {

enum Transport { DataTransfer, WebHdfs };

class RealReading : public RealClusterTest, public ::testing::WithParamInterface<Transport>
{
protected:
    RealReading() { connection->useWebHdfs = isWebHdfs(); }
    static bool isWebHdfs() { return GetParam() == WebHdfs; }

    /// Four blocks of 1 MiB, the last one not whole, on all DataNodes.
    QByteArray fourBlocks() const { return cluster.patternFile("four-blocks", kFourBlocks, FileLayout(kMiB, 3)); }
    static const std::int64_t kFourBlocks = 3 * kMiB + 700001;
};

const std::int64_t RealReading::kFourBlocks;

std::uint32_t cut(std::int64_t length, std::int64_t offset, std::int64_t fileLength)
{
    return static_cast<std::uint32_t>(std::max<std::int64_t>(0, std::min(length, fileLength - offset)));
}

QByteArray randomBytes(std::int64_t size, std::uint32_t seed)
{
    std::mt19937 random(seed);
    QByteArray bytes(static_cast<int>(size), '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(random() >> 24);
    return bytes;
}

} // namespace

TEST_P(RealReading, WholeFileIsReadInOneCallOverAllItsBlocks)
{
    const Reader reader = open(fourBlocks());
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(4, reader->blockCount);
    EXPECT_EQ(std::uint64_t(kFourBlocks), reader->fileLength);
    EXPECT_EQ(3u, reader->blocks[0]->locationCount);
    EXPECT_TRUE(readsPattern(reader.get(), 0, kFourBlocks));
    EXPECT_EQ(3, reader->blockIndex);
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, FileIsReadPieceByPieceToItsEnd)
{
    const Reader reader = open(fourBlocks());
    ASSERT_TRUE(reader != nullptr);
    const std::uint32_t kPiece = 100000;
    std::vector<char> piece(kPiece);
    std::int64_t done = 0;
    std::uint32_t count;
    while ((count = reader->read(piece.data(), kPiece, nullptr)) != 0) {
        ASSERT_EQ(cut(kPiece, done, kFourBlocks), count);
        ASSERT_EQ(-1, firstDifferenceFromPattern(piece.data(), count, done));
        done += count;
    }
    EXPECT_EQ(kFourBlocks, done);
    EXPECT_EQ(kFourBlocks, reader->position);
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, EveryPlaceAtAndAroundABlockBoundaryIsRead)
{
    const Reader reader = open(fourBlocks());
    ASSERT_TRUE(reader != nullptr);
    std::vector<char> buffer;
    for (std::int64_t boundary = 0; boundary <= 4 * kMiB; boundary += kMiB) {
        for (std::int64_t around : {-513, -512, -511, -1, 0, 1, 511, 512, 513}) {
            const std::int64_t end = std::min(boundary, std::int64_t(kFourBlocks));
            if (end + around < 0)
                continue;
            for (std::int64_t length : {std::int64_t(1), std::int64_t(2), std::int64_t(512), std::int64_t(1025),
                                        std::int64_t(kMiB), 2 * kMiB + 3}) {
                const std::uint32_t expected = cut(length, end + around, kFourBlocks);
                if (expected == length) {
                    ASSERT_TRUE(readsPattern(reader.get(), end + around, expected, &buffer));
                }
            }
        }
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, EveryPlaceAtAndAroundAChunkBoundaryIsRead)
{
    const std::int64_t kLength = 5 * 8 * kKiB + 1000;
    const Reader reader = open(cluster.patternFile("chunks", kLength, FileLayout(8 * kKiB, 3)));
    ASSERT_TRUE(reader != nullptr);
    ASSERT_EQ(6, reader->blockCount);
    std::vector<char> buffer;
    for (std::int64_t boundary = 0; boundary < kLength; boundary += 512) {
        for (std::int64_t offset : {boundary - 1, boundary, boundary + 1}) {
            for (std::int64_t length : {1, 512, 513, 9000}) {
                if (offset >= 0 && cut(length, offset, kLength) == length) {
                    ASSERT_TRUE(readsPattern(reader.get(), offset, static_cast<std::uint32_t>(length), &buffer));
                }
            }
        }
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, EveryPlaceAtAndAroundAPacketBoundaryIsRead)
{
    const Reader reader = open(fourBlocks());
    ASSERT_TRUE(reader != nullptr);
    const std::int64_t kPacket = 64 * kKiB; // the data of a DataNode's packet, for chunks of 512 bytes
    for (std::int64_t start : {std::int64_t(0), std::int64_t(1), std::int64_t(512), kPacket, kPacket + 7}) {
        for (std::int64_t around : {-513, -512, -1, 0, 1, 512, 513}) {
            for (int packets : {1, 2, 5})
                ASSERT_TRUE(readsPattern(reader.get(), start, static_cast<std::uint32_t>(packets * kPacket + around)));
        }
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, ReadThatAsksForMoreThanIsLeftEndsAtTheEndOfTheFile)
{
    const Reader reader = open(fourBlocks());
    ASSERT_TRUE(reader != nullptr);
    std::vector<char> buffer(2 * kMiB);
    reader->position = kFourBlocks - 1000;
    EXPECT_EQ(1000u, reader->read(buffer.data(), static_cast<std::uint32_t>(buffer.size()), nullptr));
    EXPECT_EQ(-1, firstDifferenceFromPattern(buffer.data(), 1000, kFourBlocks - 1000));
    for (std::int64_t beyond : {kFourBlocks + 0, kFourBlocks + 1, std::int64_t(1) << 62}) {
        reader->position = beyond;
        EXPECT_EQ(0u, reader->read(buffer.data(), 1, nullptr));
        EXPECT_EQ(beyond, reader->position);
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, HundredRandomRangesEqualTheSameBytesOnDisk)
{
    const int kSize = 5 * kMiB + 12345;
    QTemporaryDir folder;
    QFile original(folder.path() + QLatin1String("/original"));
    ASSERT_TRUE(original.open(QIODevice::ReadWrite));
    ASSERT_EQ(kSize, original.write(randomBytes(kSize, 20260101)));
    original.flush();
    cluster.dfs({"-put", serversPathOf(original.fileName()), directory() + "/copy"});

    const Reader reader = open(directory() + "/copy");
    ASSERT_TRUE(reader != nullptr);
    const std::uint32_t seed = std::random_device()();
    std::mt19937 random(seed);
    for (int i = 0; i < 100; ++i) {
        const qint64 offset = std::uniform_int_distribution<qint64>(0, kSize - 1)(random);
        const qint64 length = std::uniform_int_distribution<qint64>(1, kSize - offset)(random);
        original.seek(offset);
        const bool same = original.read(length) == readAt(reader.get(), offset, static_cast<std::uint32_t>(length));
        ASSERT_TRUE(same) << length << " bytes at " << offset << ", seed " << seed;
    }
    // And the replicas hold these bytes: what was read came from them, not from anywhere else.
    for (int i = 0; i < reader->blockCount; ++i) {
        const QList<QString> replicas = cluster.replicaFiles(reader->blocks[i]->blockId);
        EXPECT_EQ(3, replicas.size());
        for (const QString &name : replicas) {
            QFile replica(name);
            ASSERT_TRUE(replica.open(QIODevice::ReadOnly));
            original.seek(reader->blocks[i]->offset);
            EXPECT_TRUE(replica.readAll() == original.read(reader->blocks[i + 1]->offset - reader->blocks[i]->offset));
        }
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, FileOf128MebibyteBlocksIsReadAcrossItsBoundaries)
{
    const std::int64_t kBlock = 128 * kMiB;
    const std::int64_t kLength = 2 * kBlock + 12345;
    const Reader reader = open(cluster.patternFile("large-blocks", kLength, FileLayout(kBlock, 1)));
    ASSERT_TRUE(reader != nullptr);
    ASSERT_EQ(3, reader->blockCount);
    std::vector<char> buffer;
    for (std::int64_t boundary : {kBlock, 2 * kBlock}) {
        for (std::int64_t around : {-513, -512, -1, 0, 1, 512}) {
            for (std::uint32_t length : {1u, 1024u, 12345u - 512u})
                ASSERT_TRUE(readsPattern(reader.get(), boundary + around, length, &buffer));
        }
    }
    EXPECT_TRUE(readsPattern(reader.get(), 0, static_cast<std::uint32_t>(kLength), &buffer));
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, FileOfAHundredSmallestBlocksIsReadInOneCall)
{
    const Reader reader = open(cluster.patternFile("hundred-blocks", 100 * 512 - 11, FileLayout(512, 1)));
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(100, reader->blockCount);
    EXPECT_TRUE(readsPattern(reader.get(), 0, 100 * 512 - 11));
    for (std::int64_t block = 99; block > 0; block -= 7)
        EXPECT_TRUE(readsPattern(reader.get(), block * 512 - 1, 400));
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, ChecksumsOfEveryKindAndChunkSizeAreTaken)
{
    FileLayout layout(kMiB, 1);
    const std::int64_t kLength = 2 * kMiB + 4321;
    for (const char *type : {"NULL", "CRC32", "CRC32C"}) {
        for (int chunkSize : {512, 4096, 65536}) {
            layout.checksum = type;
            layout.chunkSize = chunkSize;
            const QByteArray name = "checksums-" + layout.checksum + QByteArray::number(chunkSize);
            const Reader reader = open(cluster.patternFile(name, kLength, layout));
            ASSERT_TRUE(reader != nullptr);
            EXPECT_TRUE(readsPattern(reader.get(), 0, kLength)) << name.constData();
            for (std::int64_t offset : {std::int64_t(1), chunkSize - std::int64_t(1), kMiB - 1, kMiB + chunkSize + 1})
                EXPECT_TRUE(readsPattern(reader.get(), offset, 70000)) << name.constData();
        }
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, EmptyFileHasNoByteAndNoWarning)
{
    cluster.dfs({"-touchz", directory() + "/empty"});
    const Reader reader = open(directory() + "/empty");
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(0, reader->blockCount);
    char byte;
    EXPECT_EQ(0u, reader->read(&byte, 1, nullptr));
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, DirectoriesAndMissingFilesAreNotOpened)
{
    EXPECT_EQ(nullptr, open(directory()));
    EXPECT_EQ(nullptr, open(directory() + "/missing"));
    EXPECT_TRUE(log.holds({"ExceptionClassName=java.io.FileNotFoundException\nerrorMsg=*",
                           "ExceptionClassName=java.io.FileNotFoundException\nerrorMsg=*"}));
}

TEST_P(RealReading, FileUnderConstructionIsReadAsFarAsItsBlocksAreComplete)
{
    const QByteArray path = directory() + "/growing";
    cluster.client({"open", path, "1500000", "1048576"});
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(log.takes({"WARNING: HDFS File under construction"}));
    EXPECT_EQ(std::uint64_t(kMiB), reader->fileLength);
    EXPECT_TRUE(readsPattern(reader.get(), 0, kMiB));
    char byte;
    EXPECT_EQ(0u, reader->read(&byte, 1, nullptr));
    EXPECT_TRUE(log.holds({}));

    cluster.client({"close", path});
    EXPECT_EQ(0u, reader->read(&byte, 1, nullptr)); // as it stood at the open
    const Reader again = open(path);
    ASSERT_TRUE(again != nullptr);
    EXPECT_TRUE(readsPattern(again.get(), 0, 1500000));
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, FirstBlockUnderConstructionGivesAReaderWithoutBytes)
{
    const QByteArray path = directory() + "/young";
    cluster.client({"open", path, "1000", "1048576"});
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(log.takes({"WARNING: HDFS File under construction"}));
    char byte;
    EXPECT_EQ(0u, reader->read(&byte, 1, nullptr));
    EXPECT_TRUE(log.holds({}));
    cluster.client({"close", path});
}

TEST_P(RealReading, ReaderOfADeletedFileFailsOnceTheReplicasAreGone)
{
    const QByteArray path = directory() + "/victim";
    cluster.client({"pattern", path, "200000", "1048576", "3", "512", "CRC32C"});
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(readsPattern(reader.get(), 1000, 1000));
    const std::uint64_t blockId = reader->blocks[0]->blockId;
    ASSERT_EQ(3, cluster.replicaFiles(blockId).size());

    EXPECT_EQ(ClientProtocol::Done, ClientProtocol::delete_(connection.get(), path, false));
    for (int i = 0; i < 300 && !cluster.replicaFiles(blockId).isEmpty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_TRUE(cluster.replicaFiles(blockId).isEmpty());
    EXPECT_TRUE(log.holds({}));

    char bytes[1000];
    EXPECT_EQ(kReadFailed, reader->read(bytes, sizeof bytes, nullptr));
    EXPECT_EQ(2000, reader->position);
    ASSERT_FALSE(log.texts().empty());
    EXPECT_EQ((isWebHdfs() ? "ERROR WebHDFS" : "ERROR HDFS") +
                  (": All the data nodes that contains block " + std::to_string(blockId) + " are down"),
              log.texts().back());
    EXPECT_TRUE(info("/") != nullptr);
}

TEST_P(RealReading, SeveralReadersTakeTurnsOnOneConnection)
{
    const std::int64_t kChunks = 5 * 8 * kKiB + 1000;
    const Reader one = open(fourBlocks());
    const Reader two = open(fourBlocks());
    const Reader three = open(cluster.patternFile("chunks", kChunks, FileLayout(8 * kKiB, 3)));
    ASSERT_TRUE(one && two && three);
    for (std::int64_t i = 0; i < 40; ++i) {
        ASSERT_TRUE(readsPattern(one.get(), i * 90001, 100000));
        ASSERT_TRUE(readsPattern(two.get(), kFourBlocks - (i + 1) * 70001, 70001));
        ASSERT_TRUE(readsPattern(three.get(), i * 1000, 1500));
        std::int32_t count = 0;
        const StatusList found = list("/shared", &count);
        ASSERT_GE(count, 2);
    }
    EXPECT_EQ(39 * 1000 + 1500, three->position);
    EXPECT_TRUE(log.holds({}));
}

TEST_P(RealReading, TwoConnectionsReadAndListAtOnce)
{
    const QByteArray path = fourBlocks();
    const auto work = [&](std::uint32_t seed) {
        const std::unique_ptr<NameNodeConnection> own = cluster.connect();
        own->useWebHdfs = isWebHdfs();
        const Reader reader(HdfsFileReader::open(own.get(), path));
        ASSERT_TRUE(reader != nullptr);
        std::mt19937 random(seed);
        for (int i = 0; i < 60; ++i) {
            const std::int64_t offset = std::uniform_int_distribution<std::int64_t>(0, kFourBlocks - 1)(random);
            ASSERT_TRUE(readsPattern(reader.get(), offset, cut(kMiB, offset, kFourBlocks)));
            bool failed = true;
            const StatusList status(ClientProtocol::fileInfo(own.get(), path, &failed));
            ASSERT_TRUE(status != nullptr);
            ASSERT_EQ(std::uint64_t(kFourBlocks), status->length);
        }
    };
    std::thread other(work, 1);
    work(2);
    other.join();
    EXPECT_TRUE(log.holds({}));
}

INSTANTIATE_TEST_SUITE_P(Both, RealReading, ::testing::Values(DataTransfer, WebHdfs),
                         [](const ::testing::TestParamInfo<Transport> &transport) {
                             return transport.param == WebHdfs ? "WebHdfs" : "DataTransfer";
                         });
