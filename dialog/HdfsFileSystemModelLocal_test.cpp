#include "dialog/HdfsFileSystemModel.h"

#include "testing/FileModelTest.h"
#include "testing/SystemCallFaults.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <set>

namespace {

class HdfsFileSystemModelLocal : public ViewedFileModelTest
{
protected:
    QString path(const char *name) const { return directory.path() + QLatin1Char('/') + QString::fromUtf8(name); }
    void makeFile(const char *name, const QByteArray &content = QByteArray())
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name;
        file.write(content);
    }
    void makeDirectory(const char *name) { ASSERT_TRUE(QDir().mkdir(path(name))) << name; }
    std::set<std::string> listed()
    {
        model.listDirectory(directory.path());
        const std::vector<std::string> rows = names();
        const std::set<std::string> result(rows.begin(), rows.end());
        EXPECT_EQ(rows.size(), result.size());
        return result;
    }
    int rowOf(const char *name) const
    {
        const std::vector<std::string> rows = names();
        return static_cast<int>(std::find(rows.begin(), rows.end(), name) - rows.begin());
    }

    QTemporaryDir directory;
};

TEST_F(HdfsFileSystemModelLocal, ShowsFilesAndDirectories)
{
    makeFile("a.txt", "12345");
    makeDirectory("folder");
    makeFile("\xe6\xb1\x89\xc3\xbc.csv");
    EXPECT_EQ((std::set<std::string>{"a.txt", "folder", "\xe6\xb1\x89\xc3\xbc.csv"}), listed());
    EXPECT_EQ(0, context.connectionRequests);
    EXPECT_FALSE(model.isDir(at(rowOf("a.txt"))));
    EXPECT_TRUE(model.isDir(at(rowOf("folder"))));
    EXPECT_EQ(path("a.txt"), model.filePath(at(rowOf("a.txt"))));
}

TEST_F(HdfsFileSystemModelLocal, ARecordHoldsWhatTheFileSystemSays)
{
    makeFile("a.txt", "12345");
    QFile file(path("a.txt"));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const QDateTime modified = QDateTime::fromTime_t(1600000000);
    const QDateTime read = QDateTime::fromTime_t(1500000000);
    ASSERT_TRUE(file.setFileTime(modified, QFileDevice::FileModificationTime));
    ASSERT_TRUE(file.setFileTime(read, QFileDevice::FileAccessTime));
    file.close();
    listed();
    const HdfsFileStatus *record = model.record(at(0));
    ASSERT_TRUE(record);
    const QFileInfo info(path("a.txt"));
    EXPECT_EQ(static_cast<std::uint32_t>('F'), record->kind);
    EXPECT_EQ("a.txt", std::string(record->path.data, record->path.size));
    EXPECT_EQ('\0', record->path.data[record->path.size]);
    EXPECT_EQ(1600000000u, record->modificationTime);
    EXPECT_EQ(1500000000u, record->accessTime);
    EXPECT_EQ(5u, record->length);
    EXPECT_EQ(0u, record->replication);
    EXPECT_EQ(0u, record->blockSize);
    EXPECT_EQ(0777, record->permission);
    EXPECT_EQ(info.owner().toStdString(), std::string(record->owner.data, record->owner.size));
    EXPECT_EQ(info.group().toStdString(), std::string(record->group.data, record->group.size));
    EXPECT_EQ(info.owner(), model.owner(at(0)));
    EXPECT_EQ(info.group(), model.group(at(0)));
    EXPECT_EQ(QLocale::system().toString(modified, QLocale::ShortFormat).toStdString(), text(0, 3));
}

TEST_F(HdfsFileSystemModelLocal, HasWhatADirectoryListingOfQtHas)
{
    for (int i = 0; i < 300; ++i)
        makeFile(QByteArray::number(i).constData());
    makeDirectory("folder");
    makeFile(".hidden");
    std::vector<std::string> expected;
    foreach (const QFileInfo &file,
             QDir(directory.path())
                 .entryInfoList(QDir::Dirs | QDir::Files | QDir::Drives | QDir::NoDotAndDotDot, QDir::NoSort))
        expected.push_back(file.fileName().toStdString());
    listed();
    EXPECT_EQ(expected, names());
    EXPECT_EQ(301, model.rowCount());
}

TEST_F(HdfsFileSystemModelLocal, EverybodyMayDoEverything)
{
    makeFile("a");
    makeDirectory("b");
    ASSERT_TRUE(QFile(path("a")).setPermissions(QFile::ReadOwner | QFile::ReadUser));
    listed();
    for (int row = 0; row < 2; ++row) {
        EXPECT_EQ(0777, model.permissions(at(row)));
        EXPECT_TRUE(model.canExecute(at(row)));
        EXPECT_TRUE(model.canWrite(at(row)));
        EXPECT_TRUE(model.canRead(at(row)));
    }
}

TEST_F(HdfsFileSystemModelLocal, ADirectoryThatCannotBeReadIsEmptyAndWhite)
{
    makeFile("file");
    for (const QString &unreadable : {path("gone"), path("file"), QString::fromLatin1("no such place")})
        expectEmptyAndWhite(unreadable, unreadable);
}

TEST_F(HdfsFileSystemModelLocal, ADirectoryThatVanishesIsEmptyNextTime)
{
    makeDirectory("d");
    makeFile("d/a");
    model.listDirectory(path("d"));
    EXPECT_EQ(1, model.rowCount());
    ASSERT_TRUE(QDir(path("d")).removeRecursively());
    model.listDirectory(path("d"));
    EXPECT_EQ(0, model.rowCount());
}

/// Windows's own names end at 260 characters.
TEST_F(HdfsFileSystemModelLocal, AVeryLongPathIsOneAsAnyOther)
{
    const QByteArray below = QByteArray(100, 'a') + '/' + QByteArray(100, 'b') + '/' + QByteArray(100, 'c');
    ASSERT_TRUE(QDir().mkpath(path(below)));
    makeFile(below + "/a.txt", "12345");
    model.listDirectory(path(below));
    ASSERT_EQ(std::vector<std::string>{"a.txt"}, names());
    EXPECT_EQ(5u, model.record(at(0))->length);
    EXPECT_EQ(path(below + "/a.txt"), model.filePath(at(0)));
    EXPECT_TRUE(model.setData(at(0), QLatin1String("b.txt")));
    EXPECT_FALSE(QFileInfo(path(below + "/a.txt")).exists());
    const QByteArray longName(200, 'n');
    const QModelIndex folder = model.mkdir(QString::fromLatin1(longName));
    ASSERT_TRUE(folder.isValid());
    EXPECT_TRUE(QFileInfo(model.filePath(folder)).isDir());
    EXPECT_FALSE(model.setData(folder, QLatin1String("b.txt")));
    EXPECT_TRUE(log.takes({"Cannot rename"}));
    model.listDirectory(path(below));
    std::vector<std::string> rows = names();
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ((std::vector<std::string>{"b.txt", longName.toStdString()}), rows);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelLocal, APathThatNoSystemTakesIsRefused)
{
    makeFile("a");
    const QString tooLongName(10000, QLatin1Char('n'));
    model.listDirectory(directory.path());
    EXPECT_FALSE(model.setData(at(0), tooLongName));
    EXPECT_TRUE(log.takes({"Cannot rename"}));
    EXPECT_FALSE(model.mkdir(tooLongName).isValid());
    EXPECT_TRUE(log.takes({"Cannot create directory '" + (path("") + tooLongName).toStdString() + "'"}));
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
    const QString manyNames = path("") + QString::fromLatin1("a/").repeated(50000);
    model.listDirectory(manyNames);
    EXPECT_EQ(0, model.rowCount());
    EXPECT_FALSE(model.mkdir(QLatin1String("b")).isValid());
    EXPECT_TRUE(log.takes({"Cannot create directory '" + manyNames.toStdString() + "b'"}));
}

TEST_F(HdfsFileSystemModelLocal, StopsWhereThereIsNoMemoryForAnotherRow)
{
    for (int i = 0; i < 200; ++i)
        makeFile(QByteArray::number(i).constData());
    std::set<int> counts;
    for (int ordinal : {0, 1, 2, 150, 200}) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, ordinal, 0);
        model.listDirectory(directory.path());
        EXPECT_TRUE(faults.hasFailed(SystemCall::Allocate));
        counts.insert(model.rowCount());
    }
    EXPECT_EQ((std::set<int>{0, 1, 149, 199}), counts);
    EXPECT_EQ(200u, listed().size());
}

} // namespace
