// Bookmarks of a user whose home directory the test may choose.
#include "dialog/FileDialogTest.h"

#include "testing/TemporarySettings.h"

#include <QtCore/QFile>

namespace {

class HDFSFileDialogBookmarks : public FileDialogTest
{
protected:
    Texts history() const
    {
        Texts places;
        foreach (const QString &place, dialog->history())
            places.push_back(place.toStdString());
        return places;
    }
};

TEST_F(HDFSFileDialogBookmarks, BookmarksLeadToTheComputerHdfsAndTheUsersOwnFolders)
{
    makeLocalDirectory("home/Desktop");
    makeLocalDirectory("home/Documents");
    const TemporaryEnvironment home("HOME", local("home").c_str());
    open(DialogModeOpen, local());
    const Texts places = person->bookmarks();
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", local("home"), local("home/Desktop"), local("home/Documents")}), places);
    for (const std::string &place : places) {
        person->clickBookmark(place);
        EXPECT_EQ(place, person->place());
    }
    EXPECT_EQ((Texts{local(), "", "hdfs:/", local("home"), local("home/Desktop"), local("home/Documents")}), history());
}

TEST_F(HDFSFileDialogBookmarks, FoldersThatTheUserHasNotAreNoBookmarks)
{
    makeLocalDirectory("home");
    makeLocalFile("home/Desktop");
    const TemporaryEnvironment home("HOME", local("home").c_str());
    open(DialogModeOpen, local());
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", local("home")}), person->bookmarks());
}

TEST_F(HDFSFileDialogBookmarks, OneFolderIsOneBookmark)
{
    makeLocalDirectory("home/Desktop");
    ASSERT_TRUE(QFile::link(QLatin1String("Desktop"), QString::fromStdString(local("home/Documents"))));
    const TemporaryEnvironment home("HOME", local("home").c_str());
    open(DialogModeOpen, local());
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", local("home"), local("home/Desktop")}), person->bookmarks());
}

} // namespace
