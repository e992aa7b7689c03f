// Bookmarks of a user whose folders the registry names; the home folder is the system's.
#include "dialog/FileDialogTest.h"

#include "testing/SystemCallFaults.h"
#include "testing/UserFolders_windows.h"

#include <QtCore/QDir>

namespace {

class HDFSFileDialogBookmarks : public FileDialogTest
{
protected:
    QString native(const char *name) const { return QDir::toNativeSeparators(QString::fromStdString(local(name))); }

    Texts bookmarks()
    {
        open(DialogModeOpen, local());
        return person->bookmarks();
    }

    const std::string home = QDir::homePath().toStdString();
    TemporaryUserFolders folders;
};

TEST_F(HDFSFileDialogBookmarks, LeadToTheUsersFoldersWhereverTheyAre)
{
    makeLocalDirectory("My Desktop");
    makeLocalDirectory("OneDrive - Quor/Dokumente");
    folders.setDesktop(native("My Desktop"));
    folders.setDocuments(native("OneDrive - Quor/Dokumente") + QLatin1Char('\\'));
    const Texts places = bookmarks();
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", home, local("My Desktop"), local("OneDrive - Quor/Dokumente")}), places);
    for (const std::string &place : places) {
        person->clickBookmark(place);
        EXPECT_EQ(place, person->place());
    }
}

TEST_F(HDFSFileDialogBookmarks, FoldersThatTheUserHasNotAreNoBookmarksAndAreNotMade)
{
    makeLocalFile("Desktop");
    folders.setDesktop(native("Desktop"));
    folders.setDocuments(native("Documents"));
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", home}), bookmarks());
    EXPECT_FALSE(hasLocal("Documents"));
}

TEST_F(HDFSFileDialogBookmarks, FoldersOnAServerAreBookmarksWithoutWaitingForIt)
{
    makeLocalDirectory("Desktop");
    folders.setDesktop(native("Desktop"));
    folders.setDocuments(QLatin1String("\\\\quor-no-such-server\\share\\Documents"));
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", home, local("Desktop"), "//quor-no-such-server/share/Documents"}),
              bookmarks());
}

TEST_F(HDFSFileDialogBookmarks, FoldersThatTheSystemCannotNameAreNoBookmarks)
{
    makeLocalDirectory("Documents");
    folders.setDocuments(native("Documents"));
    SystemCallFaults faults;
    faults.fail(SystemCall::NameFolder, 0, E_FAIL);
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", home, local("Documents")}), bookmarks());
}

TEST_F(HDFSFileDialogBookmarks, OneFolderIsOneBookmark)
{
    makeLocalDirectory("Both");
    folders.setDesktop(native("Both"));
    folders.setDocuments(native("bOTH"));
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", home, local("Both")}), bookmarks());
    folders.setDesktop(QDir::toNativeSeparators(QDir::homePath()));
    folders.setDocuments(native("Both"));
    EXPECT_EQ((Texts{"My Computer", "hdfs:/", home, local("Both")}), bookmarks());
}

} // namespace
