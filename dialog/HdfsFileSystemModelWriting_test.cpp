#include "dialog/HdfsFileSystemModel.h"

#include "testing/FileModelTest.h"
#include "testing/SystemCallFaults.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>

namespace oracle = hadoop::oracle;

namespace {

const char kCannotRename[] = "Cannot rename";

class HdfsFileSystemModelWriting : public FileModelTest
{
protected:
    HdfsFileSystemModelWriting() : changes(&model, SIGNAL(dataChanged(QModelIndex, QModelIndex))) {}

    bool rename(int row, const char *name) { return model.setData(at(row), QString::fromUtf8(name), Qt::EditRole); }
    void answerRenames(bool result = true) { answerWithResult<oracle::RenameResponseProto>("rename", result); }
    void answerMkdirs(bool result = true) { answerWithResult<oracle::MkdirsResponseProto>("mkdirs", result); }

    /// A local directory with the empty files "a" and "b", listed.
    void listLocal()
    {
        for (const char *name : {"a", "b"})
            ASSERT_TRUE(QFile(local(name)).open(QIODevice::WriteOnly));
        model.listDirectory(directory.path());
        ASSERT_EQ(2, model.rowCount());
    }
    QString local(const char *name) const { return directory.path() + QLatin1Char('/') + QString::fromUtf8(name); }
    int rowOf(const char *name) const { return text(0, 0) == name ? 0 : 1; }

    QSignalSpy changes;
    QTemporaryDir directory;
};

// --- renaming ---

TEST_F(HdfsFileSystemModelWriting, RenamesInHdfsAndKeepsAllButTheName)
{
    oracle::HdfsFileStatusProto status = fileStatus("old.csv");
    status.set_owner("o");
    status.set_group("g");
    listHdfs({fileStatus("a"), status, fileStatus("z")});
    answerRenames();
    const HdfsFileStatus before = *model.record(at(1));
    const QPersistentModelIndex index(at(1));
    EXPECT_TRUE(rename(1, "n\xc3\xa4w.txt"));
    EXPECT_EQ((std::vector<std::string>{"a", "n\xc3\xa4w.txt", "z"}), names());
    EXPECT_EQ(at(1), index);
    EXPECT_EQ(".txt File", text(1, 2));

    const HdfsFileStatus *record = model.record(at(1));
    EXPECT_EQ(before.kind, record->kind);
    EXPECT_EQ(before.modificationTime, record->modificationTime);
    EXPECT_EQ(before.length, record->length);
    EXPECT_EQ(before.replication, record->replication);
    EXPECT_EQ(before.blockSize, record->blockSize);
    EXPECT_EQ(before.permission, record->permission);
    EXPECT_EQ(before.accessTime, record->accessTime);
    EXPECT_EQ(nullptr, record->next);
    EXPECT_STREQ("n\xc3\xa4w.txt", record->path.data);
    EXPECT_STREQ("o", record->owner.data);
    EXPECT_STREQ("g", record->group.data);

    ASSERT_EQ(1, changes.count());
    EXPECT_EQ(at(1), changes.at(0).at(0).toModelIndex());
    EXPECT_EQ(at(1), changes.at(0).at(1).toModelIndex());
    ASSERT_EQ(1u, nameNode.calls("rename").size());
    const auto request = nameNode.calls("rename")[0].as<oracle::RenameRequestProto>();
    EXPECT_EQ("/d/old.csv", request.src());
    EXPECT_EQ("/d/n\xc3\xa4w.txt", request.dst());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelWriting, RenamesInTheRootOfHdfs)
{
    listHdfs({fileStatus("a")}, "hdfs:/");
    answerRenames();
    EXPECT_TRUE(rename(0, "b"));
    const auto request = nameNode.calls("rename")[0].as<oracle::RenameRequestProto>();
    EXPECT_EQ("/a", request.src());
    EXPECT_EQ("/b", request.dst());
}

TEST_F(HdfsFileSystemModelWriting, TheSameNameSucceedsWithoutACall)
{
    listHdfs({fileStatus("a")});
    EXPECT_TRUE(rename(0, "a"));
    EXPECT_TRUE(nameNode.calls("rename").empty());
    EXPECT_EQ(0, changes.count());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelWriting, ARefusedRenameKeepsTheOldName)
{
    listHdfs({fileStatus("a")});
    nameNode.answerException("rename", "org.apache.hadoop.security.AccessControlException", "Permission denied");
    EXPECT_FALSE(rename(0, "b"));
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
    EXPECT_EQ(0, changes.count());
    ASSERT_EQ(2u, log.lines().size());
    EXPECT_EQ(kCannotRename, log.lines().back().text);
    EXPECT_EQ(1, log.lines().back().level);
}

TEST_F(HdfsFileSystemModelWriting, AnHdfsNameThatAnotherEntryHasIsRefusedWithoutACall)
{
    listHdfs({fileStatus("a"), fileStatus("b"), directoryStatus("d")});
    answerRenames();
    EXPECT_FALSE(rename(0, "b"));
    EXPECT_FALSE(rename(0, "d"));
    EXPECT_EQ((std::vector<std::string>{"a", "b", "d"}), names());
    EXPECT_TRUE(nameNode.calls("rename").empty());
    EXPECT_EQ(0, changes.count());
    EXPECT_TRUE(log.holds({kCannotRename, kCannotRename}));
    EXPECT_TRUE(rename(0, "c"));
}

TEST_F(HdfsFileSystemModelWriting, RenamingWithoutAConnectionIsRefused)
{
    listHdfs({fileStatus("a")});
    context.nameNode = nullptr;
    EXPECT_FALSE(rename(0, "b"));
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
    EXPECT_TRUE(log.holds({kCannotRename}));
}

TEST_F(HdfsFileSystemModelWriting, OnlyTheNameItselfIsTakenAndOnlyWhenItIsEdited)
{
    listHdfs({fileStatus("a")});
    for (int role : {Qt::DisplayRole, Qt::DecorationRole, Qt::UserRole})
        EXPECT_FALSE(model.setData(at(0), QLatin1String("b"), role));
    for (int column = 1; column < 6; ++column)
        EXPECT_FALSE(model.setData(at(0, column), QLatin1String("b"), Qt::EditRole));
    EXPECT_FALSE(model.setData(QModelIndex(), QLatin1String("b"), Qt::EditRole));
    nameNode.answer("getFsStats", fsStats());
    model.listDirectory(QString());
    EXPECT_FALSE(model.setData(at(0), QLatin1String("b"), Qt::EditRole));
    EXPECT_TRUE(nameNode.calls("rename").empty());
    EXPECT_EQ(0, changes.count());
}

TEST_F(HdfsFileSystemModelWriting, NamesThatAreNoNamesInTheDirectoryAreRefusedWithoutACall)
{
    listHdfs({fileStatus("a")});
    for (const char *name : {"", ".", "..", "/", "sub/x", "/x", "x/"}) {
        EXPECT_FALSE(rename(0, name)) << name;
        EXPECT_TRUE(log.takes({kCannotRename})) << name;
    }
    EXPECT_FALSE(model.setData(at(0), QVariant(), Qt::EditRole));
    EXPECT_TRUE(log.takes({kCannotRename}));
    EXPECT_TRUE(nameNode.calls("rename").empty());
    EXPECT_EQ(std::vector<std::string>{"a"}, names());

    listLocal();
    ASSERT_TRUE(QDir().mkdir(local("sub")));
    EXPECT_FALSE(rename(rowOf("a"), "sub/x"));
    EXPECT_FALSE(rename(rowOf("a"), ""));
    EXPECT_TRUE(log.takes({kCannotRename, kCannotRename}));
    EXPECT_TRUE(QFile::exists(local("a")));
}

TEST_F(HdfsFileSystemModelWriting, OddNamesReachTheNameNodeAsTheyAre)
{
    answerRenames();
    std::string last = "a";
    listHdfs({fileStatus(last)});
    for (const std::string name : {"-rf", "|", "a\nb", "\\", "...", " ", "\xe2\x80\xae", "%1", "a:b"}) {
        EXPECT_TRUE(rename(0, name.c_str())) << name;
        const auto request = nameNode.calls("rename").back().as<oracle::RenameRequestProto>();
        EXPECT_EQ("/d/" + last, request.src());
        EXPECT_EQ("/d/" + name, request.dst());
        EXPECT_EQ(name, text(0, 0));
        last = name;
    }
}

TEST_F(HdfsFileSystemModelWriting, RenamesLocalFilesAndDirectories)
{
    ASSERT_TRUE(QDir().mkdir(local("folder")));
    model.listDirectory(directory.path());
    EXPECT_TRUE(rename(0, "n\xc3\xa4w"));
    EXPECT_TRUE(QFileInfo(local("n\xc3\xa4w")).isDir());
    EXPECT_EQ("n\xc3\xa4w", text(0, 0));
    EXPECT_TRUE(model.isDir(at(0)));
    EXPECT_EQ(1, changes.count());
    ASSERT_TRUE(QFile(local("file")).open(QIODevice::WriteOnly));
    model.listDirectory(directory.path());
    EXPECT_TRUE(rename(rowOf("file"), "-x"));
    EXPECT_TRUE(QFileInfo(local("-x")).isFile());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelWriting, ALocalNameThatExistsIsRefused)
{
    listLocal();
    EXPECT_FALSE(rename(rowOf("a"), "b"));
    EXPECT_TRUE(log.holds({kCannotRename}));
    EXPECT_TRUE(QFile::exists(local("a")));
    EXPECT_EQ(0, context.connectionRequests);
}

TEST_F(HdfsFileSystemModelWriting, ALocalFileThatHasVanishedIsRefused)
{
    listLocal();
    const int row = rowOf("a");
    ASSERT_TRUE(QFile::remove(local("a")));
    EXPECT_FALSE(rename(row, "c"));
    EXPECT_TRUE(log.holds({kCannotRename}));
    EXPECT_EQ("a", text(row, 0));
}

TEST_F(HdfsFileSystemModelWriting, NothingIsRenamedThatThereIsNoMemoryToShow)
{
    listHdfs({fileStatus("a")});
    answerRenames();
    {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, 0, 0);
        EXPECT_FALSE(rename(0, "b"));
        EXPECT_TRUE(faults.hasFailed(SystemCall::Allocate));
    }
    EXPECT_TRUE(nameNode.calls("rename").empty());
    EXPECT_TRUE(log.holds({kCannotRename}));
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
}

TEST_F(HdfsFileSystemModelWriting, WhatTheNameNodeOnlySaysInItsResultIsNotNoticed)
{
    listHdfs({fileStatus("a")});
    answerRenames(false);
    EXPECT_TRUE(rename(0, "b"));
    EXPECT_EQ(std::vector<std::string>{"b"}, names());
    EXPECT_TRUE(log.holds({}));
}

// --- new folders ---

TEST_F(HdfsFileSystemModelWriting, MakesAFolderInHdfsAndAppendsItsRow)
{
    listHdfs({fileStatus("a"), fileStatus("b")});
    answerMkdirs();
    QSignalSpy resets(&model, SIGNAL(modelReset()));
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    const QModelIndex index = model.mkdir(QString::fromUtf8("N\xc3\xa4w Folder"));
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    EXPECT_EQ(at(2), index);
    EXPECT_EQ(&model, index.model());
    EXPECT_EQ((std::vector<std::string>{"a", "b", "N\xc3\xa4w Folder"}), names());
    EXPECT_EQ(1, resets.count());

    const HdfsFileStatus *record = model.record(index);
    EXPECT_EQ(static_cast<std::uint32_t>('D'), record->kind);
    EXPECT_STREQ("N\xc3\xa4w Folder", record->path.data);
    EXPECT_STREQ("", record->owner.data);
    EXPECT_STREQ("", record->group.data);
    EXPECT_EQ(0u, record->owner.size);
    EXPECT_EQ(0u, record->group.size);
    EXPECT_EQ(511, record->permission);
    EXPECT_EQ(0u, record->length);
    EXPECT_EQ(nullptr, record->next);
    EXPECT_LE(before, static_cast<qint64>(record->modificationTime));
    EXPECT_GE(after, static_cast<qint64>(record->modificationTime));
    EXPECT_EQ(record->modificationTime, record->accessTime);

    const auto request = nameNode.calls("mkdirs")[0].as<oracle::MkdirsRequestProto>();
    EXPECT_EQ("/d/N\xc3\xa4w Folder", request.src());
    EXPECT_EQ(511u, request.masked().perm());
    EXPECT_TRUE(request.createparent());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelWriting, MakesAFolderInTheRootAndInAnEmptyDirectory)
{
    listHdfs({}, "hdfs:/");
    answerMkdirs();
    EXPECT_EQ(at(0), model.mkdir(QLatin1String("x")));
    EXPECT_EQ(at(1), model.mkdir(QLatin1String("y")));
    EXPECT_EQ("/x", nameNode.calls("mkdirs")[0].as<oracle::MkdirsRequestProto>().src());
    EXPECT_EQ("/y", nameNode.calls("mkdirs")[1].as<oracle::MkdirsRequestProto>().src());
    EXPECT_EQ((std::vector<std::string>{"x", "y"}), names());
}

TEST_F(HdfsFileSystemModelWriting, AFolderThatIsRefusedIsLoggedWithItsWholePath)
{
    listHdfs({fileStatus("a")});
    answerMkdirs(false);
    QSignalSpy resets(&model, SIGNAL(modelReset()));
    EXPECT_FALSE(model.mkdir(QString::fromUtf8("N\xc3\xa4w")).isValid());
    EXPECT_TRUE(log.takes({"Cannot create directory 'hdfs:/d/N\xc3\xa4w'"}));
    context.nameNode = nullptr;
    EXPECT_FALSE(model.mkdir(QLatin1String("x")).isValid());
    EXPECT_TRUE(log.takes({"Cannot create directory 'hdfs:/d/x'"}));
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
    EXPECT_EQ(0, resets.count());
}

TEST_F(HdfsFileSystemModelWriting, MakesALocalFolder)
{
    listLocal();
    const QModelIndex index = model.mkdir(QString::fromUtf8("N\xc3\xa4w"));
    EXPECT_EQ(at(2), index);
    EXPECT_TRUE(QFileInfo(local("N\xc3\xa4w")).isDir());
    EXPECT_EQ(local("N\xc3\xa4w"), model.filePath(index));
    EXPECT_EQ(0, context.connectionRequests);
}

TEST_F(HdfsFileSystemModelWriting, ALocalFolderOfAFilesNameIsRefused)
{
    listLocal();
    EXPECT_FALSE(model.mkdir(QLatin1String("a")).isValid());
    EXPECT_TRUE(log.holds({"Cannot create directory '" + local("a").toStdString() + "'"}));
    EXPECT_EQ(2, model.rowCount());
}

TEST_F(HdfsFileSystemModelWriting, MakesNoFolderAtTheComputerLevel)
{
    model.listDirectory(QString());
    const int rows = model.rowCount();
    EXPECT_FALSE(model.mkdir(QLatin1String("New Folder of a test")).isValid());
    EXPECT_EQ(rows, model.rowCount());
    EXPECT_FALSE(QFile::exists(QLatin1String("/New Folder of a test")));
    EXPECT_FALSE(QFile::exists(QLatin1String("New Folder of a test")));
    EXPECT_TRUE(log.holds({"Cannot create directory '/New Folder of a test'"}));
}

TEST_F(HdfsFileSystemModelWriting, FoldersWithoutANameOfTheirOwnAreRefusedWithoutACall)
{
    listHdfs({fileStatus("a")});
    for (const char *name : {"", ".", "..", "a/b", "/"})
        EXPECT_FALSE(model.mkdir(QLatin1String(name)).isValid()) << name;
    EXPECT_EQ(5u, log.lines().size());
    EXPECT_TRUE(nameNode.calls("mkdirs").empty());
    listLocal();
    EXPECT_FALSE(model.mkdir(QLatin1String("c/d")).isValid());
    EXPECT_FALSE(QFile::exists(local("c")));
}

TEST_F(HdfsFileSystemModelWriting, NoFolderIsMadeThatThereIsNoMemoryToShow)
{
    listHdfs({fileStatus("a")});
    answerMkdirs();
    for (int ordinal : {0, 1}) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, ordinal, 0);
        EXPECT_FALSE(model.mkdir(QLatin1String("x")).isValid());
        EXPECT_TRUE(faults.hasFailed(SystemCall::Allocate));
    }
    EXPECT_TRUE(nameNode.calls("mkdirs").empty());
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
    EXPECT_EQ(at(1), model.mkdir(QLatin1String("x")));
}

TEST_F(HdfsFileSystemModelWriting, ANewFolderCanBeRenamedAtOnce)
{
    listHdfs({});
    answerMkdirs();
    answerRenames();
    const QModelIndex index = model.mkdir(QLatin1String("New Folder"));
    EXPECT_TRUE(model.setData(index, QLatin1String("mine"), Qt::EditRole));
    EXPECT_EQ(std::vector<std::string>{"mine"}, names());
    EXPECT_TRUE(model.isDir(index));
}

} // namespace
