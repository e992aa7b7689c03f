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

TEST_F(HdfsFileSystemModelOnPosix, OddNamesAreShownAndThoseThatAreNoTextAreLeftOut)
{
    const std::vector<std::string> shown = {
        "a\nb", "-rf", "\x01\x7f", "|", "\xe2\x80\xaeright to left", "%1.%2", "\\", " ", std::string(255, 'n')};
    const std::vector<std::string> leftOut = {"bad\xff\xfename", "\xc3"};
    const std::string prefix = directory.path().toStdString() + "/";
    for (const std::vector<std::string> &names : {shown, leftOut}) {
        for (const std::string &name : names) {
            std::FILE *created = std::fopen((prefix + name).c_str(), "w");
            ASSERT_TRUE(created) << name;
            std::fclose(created);
        }
    }
    list();
    const std::vector<std::string> rows = names();
    EXPECT_EQ(std::set<std::string>(shown.begin(), shown.end()), std::set<std::string>(rows.begin(), rows.end()));
    for (int row = 0; row < model.rowCount(); ++row) {
        EXPECT_EQ(prefix + rows[static_cast<std::size_t>(row)], model.filePath(at(row)).toStdString());
        for (int column = 0; column < 6; ++column) {
            for (int role = 0; role < 40; ++role)
                model.data(at(row, column), role);
        }
    }
    // QTemporaryDir does not see them either.
    for (const std::string &name : leftOut)
        std::remove((prefix + name).c_str());
}

} // namespace
