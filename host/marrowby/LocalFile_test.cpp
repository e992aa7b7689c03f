#include "host/marrowby/LocalFile.h"

#include "host/marrowby/Errors.h"

#include <gtest/gtest.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

namespace {

class LocalFileTest : public ::testing::Test
{
protected:
    QByteArray at(const char *name) const { return QFile::encodeName(m_directory.filePath(name)); }
    QStringList names() const
    {
        return QDir(m_directory.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    QByteArray content(const char *name) const
    {
        QFile file(m_directory.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
    }
    void put(const char *name, const QByteArray &content) const
    {
        QFile file(m_directory.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QTemporaryDir m_directory;
};

} // namespace

TEST_F(LocalFileTest, AFileGetsItsNameWhenItIsFinished)
{
    LocalFileWriter writer(at("x"), "x");
    writer.write("one ", 4);
    writer.write("two", 3);
    EXPECT_EQ(names(), QStringList("x._COPYING_"));
    writer.finish();
    EXPECT_EQ(names(), QStringList("x"));
    EXPECT_EQ(content("x"), "one two");
}

TEST_F(LocalFileTest, AFileThatIsNotFinishedLeavesNothing)
{
    {
        LocalFileWriter writer(at("x"), "x");
        writer.write("half", 4);
    }
    EXPECT_EQ(names(), QStringList());
}

TEST_F(LocalFileTest, AnExistingFileStaysUntilTheNewOneIsFinished)
{
    put("x", "old");
    {
        LocalFileWriter writer(at("x"), "x");
        writer.write("new", 3);
        EXPECT_EQ(content("x"), "old");
    }
    EXPECT_EQ(content("x"), "old");
    LocalFileWriter writer(at("x"), "x");
    writer.write("new", 3);
    writer.finish();
    EXPECT_EQ(content("x"), "new");
    EXPECT_EQ(names(), QStringList("x"));
}

TEST_F(LocalFileTest, ALinkInTheWayOfAPartialFileIsNotFollowed)
{
    put("precious", "old");
    ASSERT_EQ(::symlink(at("precious").constData(), at("x._COPYING_").constData()), 0);
    LocalFileWriter writer(at("x"), "x");
    writer.write("new", 3);
    writer.finish();
    EXPECT_EQ(content("precious"), "old");
    EXPECT_EQ(content("x"), "new");
    EXPECT_EQ(names(), (QStringList{"precious", "x"}));
    struct stat status;
    ASSERT_EQ(::lstat(at("x").constData(), &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode));
}

TEST_F(LocalFileTest, AFileInTheWayOfAPartialFileKeepsItsBytesUnderItsOtherName)
{
    put("mine", "old");
    ASSERT_EQ(::link(at("mine").constData(), at("x._COPYING_").constData()), 0);
    LocalFileWriter writer(at("x"), "x");
    writer.write("new", 3);
    writer.finish();
    EXPECT_EQ(content("mine"), "old");
    EXPECT_EQ(content("x"), "new");
}

TEST_F(LocalFileTest, APipeInTheWayOfAPartialFileDoesNotBlock)
{
    ASSERT_EQ(::mkfifo(at("x._COPYING_").constData(), 0600), 0);
    LocalFileWriter writer(at("x"), "x");
    writer.write("new", 3);
    writer.finish();
    EXPECT_EQ(content("x"), "new");
    EXPECT_EQ(names(), QStringList("x"));
}

TEST_F(LocalFileTest, ADirectoryInTheWayOfAPartialFileIsReportedAndStays)
{
    makeLocalDirectory(at("x._COPYING_"), "x");
    EXPECT_THROW(LocalFileWriter(at("x"), "x"), Failure);
    EXPECT_EQ(names(), QStringList("x._COPYING_"));
}

TEST_F(LocalFileTest, ADeviceIsWrittenToDirectlyAndStaysADevice)
{
    LocalFileWriter writer("/dev/null", "/dev/null");
    writer.write("gone", 4);
    writer.finish();
    EXPECT_EQ(localKind("/dev/null"), LocalKind::Other);
}

TEST_F(LocalFileTest, AFullDiskIsReported)
{
    LocalFileWriter writer("/dev/full", "target");
    try {
        writer.write("x", 1);
        FAIL();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.text(), "`target': No space left on device");
    }
}

TEST_F(LocalFileTest, ATargetThatCannotBeMadeIsReported)
{
    EXPECT_THROW(LocalFileWriter(at("no/such/directory/x"), "x"), Failure);
    put("file", "");
    EXPECT_THROW(makeLocalDirectory(at("file/x"), "x"), Failure);
}

TEST_F(LocalFileTest, KindsAreToldApart)
{
    put("file", "");
    makeLocalDirectory(at("directory"), "directory");
    EXPECT_EQ(localKind(at("file")), LocalKind::File);
    EXPECT_EQ(localKind(at("directory")), LocalKind::Directory);
    EXPECT_EQ(localKind(at("missing")), LocalKind::Missing);
    EXPECT_EQ(localKind(at("file/x")), LocalKind::BelowFile);
}

TEST_F(LocalFileTest, AParentIsADirectoryOfThisMachineWhateverItsBytes)
{
    const QByteArray directory = at("") + "\xFF\xFE";
    makeLocalDirectory(directory, "directory");
    EXPECT_EQ(localKind(localParent(directory + "/x")), LocalKind::Directory);
    EXPECT_EQ(localKind(localParent(directory + "/x//")), LocalKind::Directory);
    EXPECT_EQ(localKind(localParent(directory + "/no/x")), LocalKind::Missing);
    EXPECT_EQ(localParent("x"), ".");
    EXPECT_EQ(localParent("/x"), "/");
    EXPECT_EQ(localParent("/"), "/");
}

TEST_F(LocalFileTest, AnUriIsAbsoluteAndNormalised)
{
    EXPECT_EQ(localUri("/a//b/../c/"), "file:/a/c");
    EXPECT_EQ(localUri("/../a/./"), "file:/a");
    EXPECT_EQ(localUri("/a/.."), "file:/");
    EXPECT_EQ(localUri("/\xFF\xFE/a"), "file:/\xFF\xFE/a");
    EXPECT_EQ(localUri("x"), "file:" + QFile::encodeName(QDir::currentPath()) + "/x");
}

TEST_F(LocalFileTest, AttributesAreKept)
{
    put("file", "x");
    FileEntry entry;
    entry.mode = 0640;
    entry.owner = "nobody-of-that-name";
    entry.group = "nor-such-a-group";
    entry.modificationTime = 1700000000123;
    entry.accessTime = 1700000100456;
    keepAttributes(at("file"), entry);
    const QFileInfo info(m_directory.filePath("file"));
    EXPECT_EQ(info.lastModified().toMSecsSinceEpoch(), 1700000000123);
    EXPECT_EQ(info.lastRead().toMSecsSinceEpoch(), 1700000100456);
    struct stat status;
    ASSERT_EQ(::stat(at("file").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0640u);
}
