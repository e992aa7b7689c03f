// Local places that there are only on Windows: drives and shares, with and without something behind them.
#include "dialog/HdfsFileSystemModel.h"

#include "platform/DiskSpace.h"
#include "testing/FileModelTest.h"
#include "testing/LocalPlaces_windows.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <algorithm>

namespace {

class HdfsFileSystemModelOnWindows : public ViewedFileModelTest
{
protected:
    void expectNoFolderIn(const QString &directory)
    {
        model.listDirectory(directory);
        EXPECT_FALSE(model.mkdir(QLatin1String("New Folder")).isValid());
        EXPECT_EQ(0, model.rowCount());
        EXPECT_TRUE(log.takes({"Cannot create directory '" + directory.toStdString() + "/New Folder'"}));
    }
};

TEST_F(HdfsFileSystemModelOnWindows, ADriveWithoutAMediumIsADriveOfNoSize)
{
    const DriveWithoutMedium drive;
    quint64 capacity = 47;
    quint64 available = 11;
    EXPECT_FALSE(platform::diskSpace(drive.path(), &capacity, &available));
    EXPECT_EQ(47u, capacity);
    EXPECT_EQ(11u, available);
    model.listDirectory(QString());
    const std::vector<std::string> rows = names();
    const int row = static_cast<int>(std::find(rows.begin(), rows.end(), drive.path().toStdString()) - rows.begin());
    ASSERT_LT(row, model.rowCount());
    EXPECT_EQ("0 bytes", text(row, 1));
    EXPECT_EQ("0 bytes", text(row, 2));
    EXPECT_TRUE(model.isDir(at(row)));
}

TEST_F(HdfsFileSystemModelOnWindows, ADriveWithoutAMediumIsEmptyAndWhite)
{
    const DriveWithoutMedium drive;
    const QString root = drive.path().left(2);
    expectEmptyAndWhite(drive.path(), root);
    expectEmptyAndWhite(drive.path() + QLatin1String("below/it"), drive.path() + QLatin1String("below/it"));
    expectNoFolderIn(root);
}

TEST_F(HdfsFileSystemModelOnWindows, ADriveThatIsNotThereIsEmptyAndWhite)
{
    QString root;
    {
        const DriveWithoutMedium drive;
        root = drive.path().left(2);
    }
    expectEmptyAndWhite(root, root);
    expectEmptyAndWhite(root + QLatin1Char('/'), root);
    expectNoFolderIn(root);
}

TEST_F(HdfsFileSystemModelOnWindows, AMediumMayBeTakenOutWhileItIsShown)
{
    const Share medium;
    ASSERT_TRUE(QDir(medium.path()).mkdir(QLatin1String("a")));
    model.listDirectory(medium.path());
    ASSERT_EQ(std::vector<std::string>{"a"}, names());
    ASSERT_TRUE(QDir().rmdir(medium.path() + QLatin1String("/a")));
    ASSERT_TRUE(QDir().rmdir(medium.path()));
    EXPECT_FALSE(model.setData(at(0), QLatin1String("b")));
    EXPECT_TRUE(log.takes({"Cannot rename"}));
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
    expectEmptyAndWhite(medium.path(), medium.path());
}

TEST_F(HdfsFileSystemModelOnWindows, AShareIsADirectory)
{
    const Share share;
    model.listDirectory(share.path());
    EXPECT_EQ(0, model.rowCount());
    const QModelIndex folder = model.mkdir(QLatin1String("New Folder"));
    ASSERT_TRUE(folder.isValid());
    EXPECT_TRUE(model.setData(folder, QString::fromUtf8("\xe6\xb1\x89")));
    QFile file(share.path() + QLatin1String("/a.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    for (const QString &path : {share.path(), share.path() + QLatin1Char('/')}) {
        model.listDirectory(path);
        std::vector<std::string> rows = names();
        std::sort(rows.begin(), rows.end());
        EXPECT_EQ((std::vector<std::string>{"a.txt", "\xe6\xb1\x89"}), rows);
        EXPECT_EQ(share.path(), model.currentPath());
        EXPECT_EQ(share.path() + QLatin1Char('/') + model.fileName(at(0)), model.filePath(at(0)));
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelOnWindows, AShareThatIsNotThereIsEmptyAndWhite)
{
    const Share share;
    const QString noShare = share.path() + QLatin1String("-not");
    const QString noServer = QLatin1String("//quor-no-such-server/share");
    for (const QString &path : {noShare, noShare + QLatin1String("/below"), noServer, noServer + QLatin1String("/a/b"),
                                QString::fromLatin1("//quor-no-such-server"), QString::fromLatin1("//x")})
        expectEmptyAndWhite(path, path);
    expectNoFolderIn(noServer);
    expectNoFolderIn(noShare + QLatin1String("/below"));
}

/// Prefixes for the system itself, devices, and what is no path at all.
TEST_F(HdfsFileSystemModelOnWindows, WhatIsNoDirectoryIsEmptyAndWhite)
{
    for (const char *path : {"//?/Q:/no/such", "//./Q:/no/such", "\\\\?\\Q:\\no\\such", "//?/UNC/quor-no-such-server/x",
                             "//?", "//.", "\\\\", "//?/GLOBALROOT/Device/Nothing", "//./pipe/none", "nul", "C:/nul",
                             "con", "C:/aux.txt", "C:/x:y", "C:/a?b", "C:/a*", "C:/<>|", "::", "1:/"}) {
        SCOPED_TRACE(path);
        const QString text = QString::fromLatin1(path);
        expectEmptyAndWhite(text, text.endsWith(QLatin1Char('/')) ? text.left(text.length() - 1) : text);
    }
}

TEST_F(HdfsFileSystemModelOnWindows, ADirectoryMayBeWrittenAsTheSystemWritesIt)
{
    const QTemporaryDir directory;
    const QString longPath = directory.path() + QLatin1Char('/') + QString(200, QLatin1Char('x')) + QLatin1Char('/') +
                             QString(200, QLatin1Char('y'));
    for (const QString &path : {directory.path(), longPath}) {
        const QString native = QDir::toNativeSeparators(path);
        for (const QString &written : {native, QLatin1String("\\\\?\\") + native}) {
            SCOPED_TRACE(written.toStdString());
            ASSERT_TRUE(QDir().mkpath(path + QLatin1String("/a")));
            model.listDirectory(written);
            ASSERT_EQ(std::vector<std::string>{"a"}, names());
            EXPECT_TRUE(model.setData(at(0), QLatin1String("b")));
            EXPECT_TRUE(QFileInfo(path + QLatin1String("/b")).isDir());
            EXPECT_TRUE(model.mkdir(QLatin1String("c")).isValid());
            EXPECT_TRUE(QFileInfo(path + QLatin1String("/c")).isDir());
            ASSERT_TRUE(QDir(path).removeRecursively());
            model.listDirectory(written);
            EXPECT_EQ(0, model.rowCount());
            EXPECT_FALSE(QFileInfo(path).exists());
        }
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelOnWindows, NamesThatTheSystemDoesNotTakeAreRefused)
{
    QTemporaryDir directory;
    model.listDirectory(directory.path());
    ASSERT_TRUE(model.mkdir(QLatin1String("a")).isValid());
    // On Wine a name may have a ":".
    for (const char *name : {"a?", "a*", "<", ">", "x|y", "\"", "\\", "\\\\server\\share", "..\\x"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(model.setData(at(0), QString::fromLatin1(name)));
        EXPECT_TRUE(log.takes({"Cannot rename"}));
        EXPECT_FALSE(model.mkdir(QString::fromLatin1(name)).isValid());
        EXPECT_TRUE(log.takes({"Cannot create directory '" + directory.path().toStdString() + "/" + name + "'"}));
    }
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
    model.listDirectory(directory.path());
    EXPECT_EQ(std::vector<std::string>{"a"}, names());
}

} // namespace
