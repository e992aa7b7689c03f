#include "dialog/FileRecords.h"

#include "rpc/ClientProtocol.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <QtCore/QDateTime>
#include <QtCore/QTemporaryDir>

#include <memory>

namespace {

typedef std::unique_ptr<HdfsFileStatus, void (*)(HdfsFileStatus *)> Record;

Record owned(HdfsFileStatus *record)
{
    return Record(record, ClientProtocol::freeListing);
}

/// Whether the texts stand behind the fixed part, in this order and each with a NUL byte behind it.
void expectTexts(const HdfsFileStatus &record, const std::string &name, const std::string &owner,
                 const std::string &group)
{
    const char *texts = reinterpret_cast<const char *>(&record + 1);
    EXPECT_EQ(texts, record.path.data);
    EXPECT_EQ(texts + name.size() + 1, record.owner.data);
    EXPECT_EQ(record.owner.data + owner.size() + 1, record.group.data);
    EXPECT_EQ(name, std::string(record.path.data, record.path.size));
    EXPECT_EQ(owner, std::string(record.owner.data, record.owner.size));
    EXPECT_EQ(group, std::string(record.group.data, record.group.size));
    EXPECT_EQ('\0', record.path.data[name.size()]);
    EXPECT_EQ('\0', record.owner.data[owner.size()]);
    EXPECT_EQ('\0', record.group.data[group.size()]);
    EXPECT_EQ(nullptr, record.next);
}

TEST(FileRecords, ALocalFileIsOneBlockWithTimesInSeconds)
{
    QTemporaryDir directory;
    const QString path = directory.path() + QString::fromUtf8("/\xc3\xbc.csv");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("123");
    file.close();
    const QFileInfo info(path);
    const Record record = owned(recordOfLocalFile(info, "me", "all"));
    ASSERT_TRUE(record);
    expectTexts(*record, "\xc3\xbc.csv", "me", "all");
    EXPECT_EQ(static_cast<std::uint32_t>('F'), record->kind);
    EXPECT_EQ(info.lastModified().toTime_t(), record->modificationTime);
    EXPECT_EQ(info.lastRead().toTime_t(), record->accessTime);
    EXPECT_EQ(3u, record->length);
    EXPECT_EQ(0777, record->permission);
}

TEST(FileRecords, ALocalDirectoryIsADirectory)
{
    QTemporaryDir directory;
    const Record record = owned(recordOfLocalFile(QFileInfo(directory.path()), "", ""));
    ASSERT_TRUE(record);
    expectTexts(*record, QFileInfo(directory.path()).fileName().toStdString(), "", "");
    EXPECT_EQ(static_cast<std::uint32_t>('D'), record->kind);
}

TEST(FileRecords, ANewFolderBelongsToNobodyAndIsFromNow)
{
    const std::uint64_t before = static_cast<std::uint64_t>(QDateTime::currentMSecsSinceEpoch());
    const Record record = owned(recordOfNewFolder("new"));
    ASSERT_TRUE(record);
    expectTexts(*record, "new", "", "");
    EXPECT_EQ(static_cast<std::uint32_t>('D'), record->kind);
    EXPECT_LE(before, record->modificationTime);
    EXPECT_GE(before + 60000, record->modificationTime);
    EXPECT_EQ(record->modificationTime, record->accessTime);
    EXPECT_EQ(0u, record->length);
    EXPECT_EQ(0777, record->permission);
}

TEST(FileRecords, ARecordWithAnotherNameIsElseTheSameAndStandsAlone)
{
    HdfsFileStatus other;
    const HdfsFileStatus old = {'F', {"old", 3}, 1, 2, 3, 4, {"owner", 5}, {"", 0}, 01777, ~std::uint64_t(0), &other};
    const Record record = owned(recordWithName(old, QByteArray("n\0w", 3)));
    ASSERT_TRUE(record);
    expectTexts(*record, std::string("n\0w", 3), "owner", "");
    EXPECT_EQ(old.kind, record->kind);
    EXPECT_EQ(1u, record->modificationTime);
    EXPECT_EQ(2u, record->length);
    EXPECT_EQ(3u, record->replication);
    EXPECT_EQ(4u, record->blockSize);
    EXPECT_EQ(01777, record->permission);
    EXPECT_EQ(~std::uint64_t(0), record->accessTime);
}

TEST(FileRecords, WithoutMemoryThereIsNone)
{
    const HdfsFileStatus old = {'F', {"", 0}, 0, 0, 0, 0, {"", 0}, {"", 0}, 0, 0, nullptr};
    SystemCallFaults faults;
    faults.failFrom(SystemCall::Allocate, 0, 0);
    EXPECT_EQ(nullptr, recordWithName(old, "x"));
    EXPECT_EQ(nullptr, recordOfNewFolder("x"));
    EXPECT_EQ(nullptr, recordOfLocalFile(QFileInfo(QLatin1String("/")), "", ""));
}

TEST(FileRecords, TextsAreNeverNullAndReplaceWhatIsNoUtf8)
{
    EXPECT_FALSE(textOf(ByteString{"", 0}).isNull());
    EXPECT_EQ(QString::fromUtf8("\xc3\xbc"), textOf(ByteString{"\xc3\xbc???", 2}));
    EXPECT_EQ(QString(QChar::ReplacementCharacter), textOf(ByteString{"\xff", 1}));
    EXPECT_EQ(3, textOf(ByteString{"a\0b", 3}).length());
}

} // namespace
