#include "testing/cluster/RealClusterTest.h"

#include "rpc/Network.h"

#include <cstring>

RealClusterTest::RealClusterTest()
{
    EXPECT_EQ(0, initNetwork());
    connection = cluster.connect();
}

StatusList RealClusterTest::list(const QByteArray &path, std::int32_t *count) const
{
    return StatusList(ClientProtocol::getListing(connection.get(), path, count));
}

StatusList RealClusterTest::info(const QByteArray &path) const
{
    bool failed = true;
    StatusList status(ClientProtocol::fileInfo(connection.get(), path, &failed));
    EXPECT_FALSE(failed) << path.constData();
    return status;
}

QByteArray RealClusterTest::javaStatus(const QByteArray &path) const
{
    return cluster.client({"status", path});
}

Reader RealClusterTest::open(const QByteArray &path) const
{
    return Reader(HdfsFileReader::open(connection.get(), path));
}

QByteArray RealClusterTest::directory()
{
    if (m_directory.isEmpty())
        m_directory = cluster.freshDirectory();
    return m_directory;
}

QByteArray describe(const HdfsFileStatus &status)
{
    const auto bytes = [](const ByteString &text) { return QByteArray(text.data, static_cast<int>(text.size)); };
    QList<QByteArray> fields;
    fields << QByteArray(1, static_cast<char>(status.kind)) << QByteArray::number(status.permission, 8)
           << QByteArray::number(status.replication) << QByteArray::number(quint64(status.blockSize))
           << QByteArray::number(quint64(status.length)) << QByteArray::number(quint64(status.modificationTime))
           << QByteArray::number(quint64(status.accessTime)) << bytes(status.owner) << bytes(status.group)
           << bytes(status.path);
    return fields.join('\t') + '\n';
}

QByteArray describeAll(const HdfsFileStatus *head)
{
    QByteArray lines;
    for (const HdfsFileStatus *status = head; status; status = status->next)
        lines += describe(*status);
    return lines;
}

QByteArray readAt(HdfsFileReader *reader, std::int64_t offset, std::uint32_t length)
{
    QByteArray bytes(static_cast<int>(length), '\0');
    reader->position = offset;
    const std::uint32_t count = reader->read(bytes.data(), length, nullptr);
    EXPECT_EQ(length, count) << "at " << offset;
    return count == length ? bytes : QByteArray();
}

::testing::AssertionResult readsPattern(HdfsFileReader *reader, std::int64_t offset, std::uint32_t length)
{
    std::vector<char> buffer;
    return readsPattern(reader, offset, length, &buffer);
}

::testing::AssertionResult readsPattern(HdfsFileReader *reader, std::int64_t offset, std::uint32_t length,
                                        std::vector<char> *buffer)
{
    const char kGuard = 0x5A;
    if (buffer->size() < length + std::size_t(1))
        buffer->resize(length + std::size_t(1));
    // Not what an earlier read of the same bytes has left there.
    std::memset(buffer->data(), kGuard, length + std::size_t(1));
    reader->position = offset;
    const std::uint32_t count = reader->read(buffer->data(), length, nullptr);
    if (count != length)
        return ::testing::AssertionFailure() << count << " instead of " << length << " bytes at " << offset;
    const std::int64_t wrong = firstDifferenceFromPattern(buffer->data(), length, offset);
    if (wrong >= 0)
        return ::testing::AssertionFailure()
               << "a wrong byte at " << offset << " + " << wrong << " of " << length << " bytes";
    if ((*buffer)[length] != kGuard)
        return ::testing::AssertionFailure() << "written beyond " << length << " bytes at " << offset;
    if (reader->position != offset + static_cast<std::int64_t>(length))
        return ::testing::AssertionFailure()
               << "position " << reader->position << " after " << length << " bytes at " << offset;
    return ::testing::AssertionSuccess();
}
