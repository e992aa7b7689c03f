#include "host/marrowby/LocalSource.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Progress.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

namespace {

class LocalSourceTest : public ::testing::Test
{
protected:
    QByteArray at(const QByteArray &name) const { return QFile::encodeName(m_directory.path()) + '/' + name; }
    void put(const char *name, const QByteArray &content) const
    {
        QFile file(QFile::decodeName(at(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    QByteArray failureOf(const QByteArray &path) const
    {
        try {
            LocalFileReader reader(path);
            char byte;
            reader.read(&byte, 1);
        } catch (const Failure &failure) {
            return failure.text();
        }
        return "read";
    }

    QTemporaryDir m_directory;
};

} // namespace

TEST_F(LocalSourceTest, AFileIsReadFromFrontToBack)
{
    put("x", "one two");
    LocalFileReader reader(at("x"));
    EXPECT_EQ(reader.length(), 7u);
    char buffer[8];
    EXPECT_EQ(QByteArray(buffer, static_cast<int>(reader.read(buffer, 4))), "one ");
    EXPECT_EQ(QByteArray(buffer, static_cast<int>(reader.read(buffer, 8))), "two");
    EXPECT_EQ(reader.read(buffer, 8), 0u);
}

TEST_F(LocalSourceTest, ADeviceHasNoLength)
{
    EXPECT_EQ(LocalFileReader("/dev/null").length(), kUnknownTotal);
}

TEST_F(LocalSourceTest, APipeGivesWhatIsThere)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    LocalFileReader reader("/dev/fd/" + QByteArray::number(ends[0]));
    ASSERT_EQ(::write(ends[1], "abc", 3), 3);
    char buffer[8];
    EXPECT_EQ(reader.read(buffer, 8), 3u);
    ::close(ends[1]);
    EXPECT_EQ(reader.read(buffer, 8), 0u);
    ::close(ends[0]);
}

TEST_F(LocalSourceTest, WhatCannotBeReadIsReportedWithItsWholePath)
{
    EXPECT_EQ(failureOf(at("nope")), at("nope") + " (No such file or directory)");
    ASSERT_EQ(::mkdir(at("directory").constData(), 0777), 0);
    EXPECT_EQ(failureOf(at("directory/../directory")), at("directory") + " (Is a directory)");
}

TEST_F(LocalSourceTest, NamesAreSortedAndLeadSomewhere)
{
    put("b", "");
    put("a", "");
    put(".hidden", "");
    ASSERT_EQ(::mkdir(at("c").constData(), 0777), 0);
    ASSERT_EQ(::symlink("a", at("link").constData()), 0);
    ASSERT_EQ(::symlink("nowhere", at("dangling").constData()), 0);
    EXPECT_EQ(localNames(at("")), (std::vector<QByteArray>{".hidden", "a", "b", "c", "link"}));
    EXPECT_THROW(localNames(at("nope")), Failure);
}

TEST_F(LocalSourceTest, WhatIsMovedIsDeletedButNoTreesAndNoTargetsOfLinks)
{
    put("file", "");
    ASSERT_EQ(::symlink("file", at("link").constData()), 0);
    removeLocal(at("link"), "link");
    EXPECT_TRUE(QFile::exists(QFile::decodeName(at("file"))));
    ASSERT_EQ(::mkdir(at("directory").constData(), 0777), 0);
    put("directory/x", "");
    try {
        removeLocal(at("directory"), "directory");
        FAIL();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.text(), "`directory': is copied, but cannot be deleted here: Directory not empty");
    }
    removeLocal(at("directory/x"), "x");
    removeLocal(at("directory"), "directory");
    removeLocal(at("file"), "file");
    EXPECT_TRUE(QDir(m_directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
}
