// Local directories that there are only on POSIX systems.
#include "dialog/HdfsFileSystemModel.h"

#include "testing/FileModelTest.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <set>

namespace {

class HdfsFileSystemModelOnPosix : public FileModelTest
{
protected:
    QString path(const char *name) const { return directory.path() + QLatin1Char('/') + QString::fromUtf8(name); }
    void makeFile(const char *name) { ASSERT_TRUE(QFile(path(name)).open(QIODevice::WriteOnly)) << name; }
    void list() { model.listDirectory(directory.path()); }

    QTemporaryDir directory;
};

TEST_F(HdfsFileSystemModelOnPosix, LeavesOutHiddenFilesAndBrokenLinks)
{
    makeFile("a");
    makeFile(".hidden");
    ASSERT_TRUE(QFile::link(path("nowhere"), path("broken")));
    ASSERT_TRUE(QFile::link(path("a"), path("link")));
    list();
    const std::vector<std::string> rows = names();
    EXPECT_EQ((std::set<std::string>{"a", "link"}), std::set<std::string>(rows.begin(), rows.end()));
}

TEST_F(HdfsFileSystemModelOnPosix, TheRootIsADirectory)
{
    model.listDirectory(QLatin1String("/"));
    EXPECT_EQ(QString::fromLatin1("/"), model.currentPath());
    const QStringList expected = QDir(QLatin1String("/")).entryList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot);
    ASSERT_LT(0, expected.size());
    ASSERT_EQ(expected.size(), model.rowCount());
    EXPECT_EQ("/" + text(0, 0), model.filePath(at(0)).toStdString());
    EXPECT_EQ("Name", model.headerData(0, Qt::Horizontal).toString().toStdString());
}

TEST_F(HdfsFileSystemModelOnPosix, TimesBefore1970AreTheLastThatFitIn32Bits)
{
    makeFile("old");
    QFile file(path("old"));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QDateTime(QDate(1960, 1, 1), QTime(0, 0)), QFileDevice::FileModificationTime));
    file.close();
    list();
    ASSERT_EQ(1, model.rowCount());
    EXPECT_EQ(0xFFFFFFFFu, model.record(at(0))->modificationTime);
    EXPECT_NE("", text(0, 3));
}

TEST_F(HdfsFileSystemModelOnPosix, NamesThatAreNoTextAreShownAndCannotBeRenamed)
{
    for (const char *name : {"bad\xff\xfename", "\xc3", "a\nb", "\x01\x7f"}) {
        const QByteArray path = QFile::encodeName(directory.path()) + '/' + name;
        std::FILE *created = std::fopen(path.constData(), "w");
        ASSERT_TRUE(created) << name;
        std::fclose(created);
    }
    model.listDirectory(directory.path());
    ASSERT_EQ(4, model.rowCount());
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 6; ++column)
            model.data(at(row, column));
        EXPECT_FALSE(model.fileName(at(row)).isEmpty());
    }
    const std::vector<std::string> rows = names();
    const int row =
        static_cast<int>(std::find(rows.begin(), rows.end(), "bad\xef\xbf\xbd\xef\xbf\xbdname") - rows.begin());
    ASSERT_LT(row, 4);
    EXPECT_FALSE(model.setData(at(row), QLatin1String("good")));
    EXPECT_TRUE(log.holds({"Cannot rename"}));
    EXPECT_EQ("bad\xef\xbf\xbd\xef\xbf\xbdname", text(row, 0));
}

} // namespace
