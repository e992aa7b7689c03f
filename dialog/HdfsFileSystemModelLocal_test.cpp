#include "dialog/HdfsFileSystemModel.h"

#include "testing/FileModelTest.h"
#include "testing/SystemCallFaults.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <QListView>
#include <QTreeView>

#include <algorithm>
#include <set>

namespace {

class HdfsFileSystemModelLocal : public FileModelTest
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
    QTreeView treeView;
    QListView listView;
    context.detail = &treeView;
    context.plain = &listView;
    makeFile("file");
    for (const QString &unreadable : {path("gone"), path("file"), QString::fromLatin1("no such place")}) {
        model.setBackgroundColour(QLatin1String("FFC8C8"));
        model.listDirectory(unreadable);
        EXPECT_EQ(0, model.rowCount()) << unreadable.toStdString();
        EXPECT_EQ(unreadable, model.currentPath());
        EXPECT_EQ("QTreeView { background-color: #FFFFFF; }", treeView.styleSheet().toStdString());
        EXPECT_EQ("QListView { background-color: #FFFFFF; }", listView.styleSheet().toStdString());
    }
    EXPECT_TRUE(log.holds({}));
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
