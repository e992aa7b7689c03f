#include "platform/UserFolders.h"

#include "testing/SystemCallFaults.h"
#include "testing/UserFolders_windows.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

namespace {

std::string desktop()
{
    return platform::desktopFolder().toUtf8().toStdString();
}

std::string documents()
{
    return platform::documentsFolder().toUtf8().toStdString();
}

TEST(UserFolders, AreAbsoluteAndWrittenWithSlashes)
{
    for (const QString &folder : {platform::desktopFolder(), platform::documentsFolder()}) {
        EXPECT_TRUE(QFileInfo(folder).isAbsolute()) << folder.toStdString();
        EXPECT_FALSE(folder.contains(QLatin1Char('\\'))) << folder.toStdString();
        EXPECT_EQ(QDir::cleanPath(folder), folder);
    }
    EXPECT_NE(desktop(), documents());
}

TEST(UserFolders, AreWhereTheSystemSaysEvenWhenNothingIsThere)
{
    const QTemporaryDir directory;
    const QString plans = directory.filePath(QString::fromUtf8("Pl\xC3\xA4ne & \xE8\xA8\x88\xE7\x94\xBB"));
    TemporaryUserFolders folders;
    folders.setDesktop(QLatin1String("\\\\quor-no-such-server\\share\\Desktop"));
    folders.setDocuments(QDir::toNativeSeparators(plans + QLatin1Char('/')));
    EXPECT_EQ("//quor-no-such-server/share/Desktop", desktop());
    EXPECT_EQ(plans.toUtf8().toStdString(), documents());
    folders.setDocuments(QLatin1String("D:\\"));
    EXPECT_EQ("D:/", documents());
}

TEST(UserFolders, AreNotMade)
{
    const QTemporaryDir directory;
    TemporaryUserFolders folders;
    folders.setDesktop(QDir::toNativeSeparators(directory.filePath(QLatin1String("Desktop"))));
    folders.setDocuments(QDir::toNativeSeparators(directory.filePath(QLatin1String("Documents"))));
    EXPECT_EQ(directory.filePath(QLatin1String("Desktop")).toStdString(), desktop());
    EXPECT_EQ(directory.filePath(QLatin1String("Documents")).toStdString(), documents());
    EXPECT_TRUE(QDir(directory.path()).isEmpty());
}

TEST(UserFolders, MayBeNamedAfterTheUsersOwnFolder)
{
    TemporaryUserFolders folders;
    folders.setDocuments(QLatin1String("%USERPROFILE%\\OneDrive\\Documents"));
    const QString profile = QDir::fromNativeSeparators(QString::fromLocal8Bit(qgetenv("USERPROFILE")));
    ASSERT_FALSE(profile.isEmpty());
    EXPECT_EQ(profile.toStdString() + "/OneDrive/Documents", documents());
}

TEST(UserFolders, AreNoneWhenTheSystemCannotSay)
{
    // The double of SHGetFolderPathW expects what it is asked for. S_FALSE says that a folder is not there.
    for (const int failure : {E_FAIL, E_INVALIDARG, S_FALSE}) {
        SystemCallFaults faults;
        faults.failFrom(SystemCall::NameFolder, 0, failure);
        EXPECT_TRUE(platform::desktopFolder().isEmpty());
        EXPECT_TRUE(platform::documentsFolder().isEmpty());
        EXPECT_EQ(2, faults.count(SystemCall::NameFolder));
    }
}

} // namespace
