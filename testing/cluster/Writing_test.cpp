// Files written through DataNode pipelines, as every other client of the cluster finds them.
#include "testing/cluster/RealClusterTest.h"

#include "io/HdfsFileCopy.h"
#include "io/HdfsFileWriter.h"
#include "testing/OpenDescriptors.h"

#include <algorithm>

namespace {

typedef std::unique_ptr<HdfsFileWriter> Writer;

const std::uint32_t kPermission = 0644;

class RealWriting : public RealClusterTest
{
protected:
    Writer create(const QByteArray &path, std::uint16_t replication = 3, std::int64_t blockSize = kMiB) const
    {
        return Writer(HdfsFileWriter::create(connection.get(), path, kPermission, replication, blockSize));
    }
};

/// How the bytes are handed over.
struct Calls {
    const char *name;
    std::uint32_t size; ///< bytes of one `write`; 0: none
    bool restInClose;   ///< what does not fill a call goes to `close`
};

/// Hands over `length` pattern bytes. The result of the close; a write that fails fails the test.
std::int32_t fill(HdfsFileWriter *writer, std::int64_t length, const Calls &calls)
{
    std::int64_t offset = 0;
    while (calls.size > 0 && offset < length && (length - offset >= calls.size || !calls.restInClose)) {
        const QByteArray bytes =
            patternFileBytes(offset, static_cast<int>(std::min<std::int64_t>(calls.size, length - offset)));
        EXPECT_EQ(0, writer->write(bytes.constData(), static_cast<std::uint32_t>(bytes.size())));
        offset += bytes.size();
    }
    const QByteArray rest = patternFileBytes(offset, static_cast<int>(length - offset));
    return writer->close(rest.constData(), static_cast<std::uint32_t>(rest.size()));
}

} // namespace

TEST_F(RealWriting, FilesOfEveryLengthAreWholeForOtherClientsHoweverTheyWereHandedOver)
{
    const Calls ways[] = {{"close", 0, true},           {"one", 64 * kMiB, false}, {"bytes", 1, false},
                          {"odd", 70001, false},        {"odd-rest", 70001, true}, {"blocks", 1 << 20, true},
                          {"two-blocks", 2 << 20, true}};
    const std::int64_t lengths[] = {0,        1,    1023,     1024,         1025,     511999,       512000,      512001,
                                    kMiB - 1, kMiB, kMiB + 1, 2 * kMiB - 1, 2 * kMiB, 2 * kMiB + 1, 5 * kMiB + 7};
    int file = 0;
    for (const Calls &calls : ways) {
        for (const std::int64_t length : lengths) {
            if (calls.size == 1 && length > 1025)
                continue;
            SCOPED_TRACE(std::string(calls.name) + ", " + std::to_string(length));
            const QByteArray path = directory() + "/" + calls.name + "-" + QByteArray::number(qint64(length));
            const Writer writer = create(path, file % 2 ? 1 : 3);
            ASSERT_TRUE(writer != nullptr);
            const std::uint32_t chunkSizes[] = {512, 1024, 4096};
            EXPECT_FALSE(writer->setChunkSize(chunkSizes[file % 3]));
            writer->setSyncBlock(file % 5 == 0);
            ++file;
            ASSERT_EQ(0, fill(writer.get(), length, calls));
            EXPECT_EQ(static_cast<std::uint64_t>(length), writer->totalWritten());
            EXPECT_TRUE(cluster.holdsPattern(path, length));
        }
    }
    EXPECT_TRUE(cluster.isHealthy(directory()));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWriting, FileHasThePermissionReplicationAndBlockSizeThatItWasCreatedWith)
{
    const QByteArray path = directory() + "/deep/down/file";
    {
        const Writer writer(HdfsFileWriter::create(connection.get(), path, 0640, 2, 512 * kKiB));
        ASSERT_TRUE(writer != nullptr);
        EXPECT_TRUE(info(path) == nullptr);
        ASSERT_EQ(0, writer->close("hello", 5));
    }
    const StatusList status = info(path);
    ASSERT_TRUE(status != nullptr);
    EXPECT_EQ(0640, status->permission);
    EXPECT_EQ(2, status->replication);
    EXPECT_EQ(512u * kKiB, status->blockSize);
    EXPECT_EQ(5u, status->length);
    EXPECT_EQ("hello", cluster.dfs({"-cat", path}));
}

TEST_F(RealWriting, ExistingFileIsReplacedWithTheFirstBlockAndNotBefore)
{
    const QByteArray path = directory() + "/file";
    cluster.client({"pattern", path, "3000", "1048576", "3", "512", "CRC32C"});
    const Writer writer = create(path);
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(0, writer->write("new", 3));
    EXPECT_TRUE(cluster.holdsPattern(path, 3000));
    EXPECT_EQ(0, writer->close(nullptr, 0));
    EXPECT_EQ("new", cluster.dfs({"-cat", path}));
}

TEST_F(RealWriting, WriterThatIsDroppedUntouchedLeavesAnExistingFileAlone)
{
    const QByteArray path = directory() + "/file";
    cluster.client({"pattern", path, "3000", "1048576", "3", "512", "CRC32C"});
    const Writer writer = create(path);
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(0, writer->finish());
    EXPECT_TRUE(cluster.holdsPattern(path, 3000));
    EXPECT_TRUE(cluster.isHealthy(path));
}

TEST_F(RealWriting, DroppedWriterCompletesTheFile)
{
    const QByteArray path = directory() + "/file";
    const Writer writer = create(path);
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(0, writer->write("abc", 3));
    EXPECT_EQ(0, writer->finish());
    EXPECT_EQ("abc", cluster.dfs({"-cat", path}));
    EXPECT_TRUE(cluster.isHealthy(path));
}

TEST_F(RealWriting, TwoThousandSmallFilesBackToBackAreAllClosed)
{
    const int files = 2000;
    const QByteArray bytes = patternFileBytes(0, 4096);
    const OpenDescriptors descriptors;
    for (int i = 0; i < files; ++i) {
        const Writer writer = create(directory() + "/" + QByteArray::number(i), i % 2 ? 1 : 3);
        ASSERT_TRUE(writer != nullptr);
        ASSERT_EQ(0, writer->close(bytes.constData(), static_cast<std::uint32_t>(bytes.size()))) << i;
    }
    EXPECT_EQ(0, descriptors.opened());
    EXPECT_TRUE(log.holds({}));
    EXPECT_TRUE(cluster.isHealthy(directory()));
    std::int32_t count = 0;
    const StatusList entries = list(directory(), &count);
    EXPECT_EQ(files, count);
    for (const HdfsFileStatus *entry = entries.get(); entry; entry = entry->next)
        EXPECT_EQ(4096u, entry->length) << entry->path.data;
    for (int i = 0; i < files; i += 97)
        EXPECT_TRUE(cluster.holdsPattern(directory() + "/" + QByteArray::number(i), 4096));
}

TEST_F(RealWriting, BlocksOfManySizesHoldLargeFiles)
{
    struct {
        std::int64_t blockSize;
        std::int64_t length;
        std::uint16_t replication;
        std::uint32_t call;
    } const files[] = {
        {64 * kMiB, 200 * kMiB + 1, 3, 8 << 20}, {128 * kMiB, 128 * kMiB, 1, 1 << 20}, {kGiB, 3 * kGiB, 1, 8 << 20}};
    for (const auto &file : files) {
        SCOPED_TRACE(file.blockSize);
        const QByteArray path = directory() + "/" + QByteArray::number(qint64(file.blockSize));
        const Writer writer = create(path, file.replication, file.blockSize);
        ASSERT_TRUE(writer != nullptr);
        const Calls calls = {"", file.call, true};
        ASSERT_EQ(0, fill(writer.get(), file.length, calls));
        EXPECT_TRUE(cluster.holdsPattern(path, file.length));
        EXPECT_TRUE(cluster.isHealthy(path));
        cluster.dfs({"-rm", path});
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWriting, DirectoryInTheWayIsRefusedAtTheFirstBlock)
{
    const Writer writer = create(directory());
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(4, writer->close("x", 1));
    ASSERT_EQ(1u, log.texts().size());
    EXPECT_EQ(0u, log.texts()[0].find("ExceptionClassName=org.apache.hadoop.fs.FileAlreadyExistsException\n"));
}

TEST_F(RealWriting, UserWithoutPermissionIsRefused)
{
    cluster.dfs({"-chmod", "755", directory()});
    const std::unique_ptr<NameNodeConnection> other = cluster.connect("carol");
    const Writer writer(HdfsFileWriter::create(other.get(), directory() + "/file", kPermission, 3, kMiB));
    ASSERT_TRUE(writer != nullptr);
    EXPECT_EQ(4, writer->close("x", 1));
    ASSERT_EQ(1u, log.texts().size());
    EXPECT_EQ(0u, log.texts()[0].find("ExceptionClassName=org.apache.hadoop.security.AccessControlException\n"));
}

TEST_F(RealWriting, LeaseThatAnotherWriterTookEndsTheFile)
{
    const QByteArray path = directory() + "/file";
    const Writer writer = create(path);
    ASSERT_TRUE(writer != nullptr);
    ASSERT_EQ(0, writer->write(patternFileBytes(0, kMiB).constData(), kMiB));
    cluster.dfs({"-rm", path});
    cluster.client({"open", path, "10", "1048576"});
    EXPECT_EQ(8, writer->close("more", 4));
    ASSERT_FALSE(log.texts().empty());
    EXPECT_NE(std::string::npos, log.texts().back().find("LeaseExpiredException"));
    EXPECT_EQ(8, writer->finish());
    cluster.client({"close", path});
    EXPECT_TRUE(cluster.holdsPattern(path, 10));
}

TEST_F(RealWriting, CopyTakesOverEverythingOfFilesOfEveryLength)
{
    const std::int64_t lengths[] = {0, 1, 1000000, kMiB, kMiB + 1, 2 * kMiB, 3 * kMiB + 12345};
    for (const std::int64_t length : lengths) {
        SCOPED_TRACE(length);
        const QByteArray source = directory() + "/source-" + QByteArray::number(qint64(length));
        const QByteArray copy = directory() + "/copy-" + QByteArray::number(qint64(length));
        cluster.client({"pattern", source, QByteArray::number(qint64(length)), "1048576", "2", "512", "CRC32C"});
        cluster.dfs({"-chmod", "1640", source});
        ASSERT_EQ(0, copyHdfsFile(connection.get(), source, copy));
        EXPECT_TRUE(cluster.holdsPattern(copy, length));
        const StatusList status = info(copy);
        ASSERT_TRUE(status != nullptr);
        EXPECT_EQ(info(source)->permission, status->permission);
        EXPECT_EQ(2, status->replication);
        EXPECT_EQ(static_cast<std::uint64_t>(kMiB), status->blockSize);
    }
    EXPECT_TRUE(cluster.isHealthy(directory()));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWriting, CopyOfWhatIsNoFileMakesNothing)
{
    const QByteArray destination = directory() + "/copy";
    EXPECT_EQ(3, copyHdfsFile(connection.get(), directory() + "/missing", destination));
    EXPECT_TRUE(log.takes({"File not found"}));
    EXPECT_TRUE(info(destination) == nullptr);
    EXPECT_EQ(5, copyHdfsFile(connection.get(), directory(), destination));
    EXPECT_TRUE(info(destination) == nullptr);
}

TEST_F(RealWriting, FileIsNeverCopiedOntoItself)
{
    const QByteArray path = directory() + "/file";
    cluster.client({"pattern", path, "3000000", "1048576", "2", "512", "CRC32C"});
    EXPECT_EQ(6, copyHdfsFile(connection.get(), path, path));
    EXPECT_TRUE(log.takes({"ERROR HDFS: source and destination of a copy are the same file"}));
    EXPECT_TRUE(cluster.holdsPattern(path, 3000000));
}
