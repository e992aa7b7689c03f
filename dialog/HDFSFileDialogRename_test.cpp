// New names for what is there, and new folders.
#include "dialog/FileDialogTest.h"

#include <QtCore/QDir>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QLineEdit>

namespace {

/// In both views.
class HDFSFileDialogRename : public FileDialogTest, public ::testing::WithParamInterface<const char *>
{
protected:
    void openIn(DialogMode mode, const std::string &selection, const std::string &filter = std::string())
    {
        open(mode, selection, filter);
        person->click(GetParam());
    }

    /// Types another name over the one that is being edited.
    void typeOver(const QString &name)
    {
        ASSERT_NE(nullptr, person->nameEditor());
        person->press(Qt::Key_A, Qt::ControlModifier);
        person->press(Qt::Key_Delete);
        person->type(name);
    }
};

INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogRename, ::testing::Values("listModeButton", "detailModeButton"));

// --- F2 ---

TEST_P(HDFSFileDialogRename, F2AndANewNameRenameALocalFile)
{
    makeLocalFile("old.txt");
    openIn(DialogModeOpen, local());
    person->clickOn("old.txt");
    person->press(Qt::Key_F2);
    ASSERT_NE(nullptr, person->nameEditor());
    EXPECT_EQ("old.txt", person->nameEditor()->text().toStdString());
    typeOver("new.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ(nullptr, person->nameEditor());
    // The key ended the typing and not the dialog.
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ(Texts{"new.txt"}, person->names());
    EXPECT_EQ("new.txt", person->currentName());
    EXPECT_EQ("new.txt", person->typedName());
    EXPECT_TRUE(hasLocal("new.txt"));
    EXPECT_FALSE(hasLocal("old.txt"));
    EXPECT_TRUE(log.holds({}));
}

TEST_P(HDFSFileDialogRename, TheEnterKeyOfTheKeypadEndsTheTypingToo)
{
    makeLocalFile("old.txt");
    openIn(DialogModeSave, local());
    person->clickOn("old.txt");
    person->press(Qt::Key_F2);
    typeOver("new.txt");
    person->press(Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_TRUE(person->isOpen());
    EXPECT_TRUE(hasLocal("new.txt"));
}

TEST_P(HDFSFileDialogRename, F2AndANewNameRenameAFileOfHdfs)
{
    hdfs->addDirectory("/d");
    hdfs->addFile("/d/old.txt");
    openIn(DialogModeOpen, "hdfs:/d");
    person->clickOn("old.txt");
    hdfs->takeRequests();
    person->press(Qt::Key_F2);
    typeOver("new.txt");
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{"rename /d/old.txt /d/new.txt"}, hdfs->takeRequests());
    EXPECT_EQ(Texts{"new.txt"}, person->names());
    EXPECT_TRUE(hdfs->has("/d/new.txt"));
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogRename, ADirectoryInTheRootOfHdfsIsRenamed)
{
    hdfs->addDirectory("/old");
    openIn(DialogModeDirectory, "hdfs:/");
    person->clickOn("old");
    hdfs->takeRequests();
    person->press(Qt::Key_F2);
    typeOver("new");
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{"rename /old /new"}, hdfs->takeRequests());
    EXPECT_EQ(Texts{"new"}, person->names());
    EXPECT_EQ("new", person->typedName());
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogRename, WhatIsRenamedMovesToItsPlace)
{
    for (const char *name : {"a.txt", "b.txt", "c.txt"})
        makeLocalFile(name);
    openIn(DialogModeOpen, local());
    person->clickOn("a.txt");
    person->press(Qt::Key_F2);
    typeOver("z.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ((Texts{"b.txt", "c.txt", "z.txt"}), person->names());
    EXPECT_EQ("z.txt", person->currentName());
}

TEST_P(HDFSFileDialogRename, ANewNameThatTheFilterHidesMakesNoNeighbourCurrent)
{
    for (const char *name : {"/a.csv", "/b.csv", "/c.csv"})
        hdfs->addFile(name);
    openIn(DialogModeOpen, "hdfs:/", "Tables (*.csv)");
    person->clickOn("b.csv");
    person->press(Qt::Key_F2);
    typeOver("b.bak");
    person->press(Qt::Key_Return);
    EXPECT_EQ((Texts{"a.csv", "c.csv"}), person->names());
    EXPECT_EQ("", person->currentName());
    EXPECT_EQ(Texts{}, person->selectedNames());
    EXPECT_EQ("b.bak", person->typedName());
}

TEST_P(HDFSFileDialogRename, EscapeKeepsTheNameAndTheDialog)
{
    hdfs->addFile("/old.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("old.txt");
    hdfs->takeRequests();
    person->press(Qt::Key_F2);
    typeOver("new.txt");
    person->press(Qt::Key_Escape);
    EXPECT_EQ(nullptr, person->nameEditor());
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ(Texts{"old.txt"}, person->names());
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
}

TEST_P(HDFSFileDialogRename, TheSameNameAgainAsksNobody)
{
    hdfs->addFile("/old.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("old.txt");
    hdfs->takeRequests();
    person->press(Qt::Key_F2);
    person->press(Qt::Key_Return);
    EXPECT_EQ(nullptr, person->nameEditor());
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
    EXPECT_TRUE(log.holds({}));
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogRename, EditingKeysStayInTheEditor)
{
    makeLocalDirectory("sub");
    makeLocalFile("sub/name.txt");
    openIn(DialogModeOpen, local("sub"));
    person->clickOn("name.txt");
    person->press(Qt::Key_F2);
    typeOver("ab");
    for (int i = 0; i < 4; ++i)
        person->press(Qt::Key_Backspace);
    EXPECT_EQ(local("sub"), person->place());
    person->press(Qt::Key_Delete);
    ASSERT_NE(nullptr, person->nameEditor());
    EXPECT_EQ("", person->nameEditor()->text().toStdString());
    person->type("xy");
    person->press(Qt::Key_Home);
    person->press(Qt::Key_Delete);
    EXPECT_EQ("y", person->nameEditor()->text().toStdString());
    person->press(Qt::Key_Escape);
    EXPECT_EQ(Texts{"name.txt"}, person->names());
}

TEST_P(HDFSFileDialogRename, ANameThatIsTakenIsRefused)
{
    makeLocalFile("a.txt");
    makeLocalFile("b.txt");
    openIn(DialogModeOpen, local());
    person->clickOn("a.txt");
    person->press(Qt::Key_F2);
    typeOver("b.txt");
    person->press(Qt::Key_Return);
    EXPECT_TRUE(log.holds({"Cannot rename"}));
    EXPECT_EQ((Texts{"a.txt", "b.txt"}), person->names());
    EXPECT_TRUE(hasLocal("a.txt"));
    EXPECT_TRUE(hasLocal("b.txt"));
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogRename, ARenameThatTheNameNodeRefusesKeepsTheName)
{
    hdfs->addFile("/a.txt");
    hdfs->refuse("rename", "/a.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("a.txt");
    person->press(Qt::Key_F2);
    typeOver("b.txt");
    person->press(Qt::Key_Return);
    EXPECT_TRUE(log.holds({"*", "Cannot rename"}));
    EXPECT_EQ(Texts{"a.txt"}, person->names());
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogRename, NoNameIsRefused)
{
    makeLocalFile("a.txt");
    openIn(DialogModeOpen, local());
    person->clickOn("a.txt");
    for (const char *name : {"", ".", "..", "x/y"}) {
        person->press(Qt::Key_F2);
        typeOver(name);
        person->press(Qt::Key_Return);
        EXPECT_TRUE(log.takes({"Cannot rename"})) << name;
        EXPECT_EQ(Texts{"a.txt"}, person->names()) << name;
    }
    EXPECT_TRUE(hasLocal("a.txt"));
}

TEST_P(HDFSFileDialogRename, WithoutACurrentItemF2DoesNothing)
{
    makeLocalFile("a.txt");
    openIn(DialogModeOpen, local());
    person->view()->setFocus();
    person->view()->setCurrentIndex(QModelIndex());
    person->press(Qt::Key_F2);
    EXPECT_EQ(nullptr, person->nameEditor());
}

TEST_P(HDFSFileDialogRename, DrivesHaveNoOtherName)
{
    openIn(DialogModeOpen, "");
    person->clickOn("hdfs:/");
    person->press(Qt::Key_F2);
    EXPECT_EQ(nullptr, person->nameEditor());
    EXPECT_TRUE(log.holds({}));
}

TEST_P(HDFSFileDialogRename, ADoubleClickDoesNotRename)
{
    makeLocalFile("a.txt");
    openIn(DialogModeOpen, local());
    person->clickOn("a.txt");
    person->clickOn("a.txt");
    EXPECT_EQ(nullptr, person->nameEditor());
}

class HDFSFileDialogRenameInDetail : public FileDialogTest, public ::testing::WithParamInterface<int>
{
};

TEST_P(HDFSFileDialogRenameInDetail, F2RenamesWhicheverColumnWasClicked)
{
    makeLocalFile("old.txt");
    open(DialogModeOpen, local());
    person->click("detailModeButton");
    person->clickOn("old.txt", Qt::NoModifier, GetParam());
    EXPECT_EQ("old.txt", person->typedName());
    person->press(Qt::Key_F2);
    ASSERT_NE(nullptr, person->nameEditor());
    EXPECT_EQ("old.txt", person->nameEditor()->text().toStdString());
    person->press(Qt::Key_A, Qt::ControlModifier);
    person->type("new.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{"new.txt"}, person->names());
    EXPECT_TRUE(hasLocal("new.txt"));
}

INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogRenameInDetail, ::testing::Range(0, 6));

// --- new folders ---

TEST_P(HDFSFileDialogRename, ANewFolderIsMadeAndNamedAtOnce)
{
    openIn(DialogModeSave, local());
    person->click("newFolderButton");
    EXPECT_TRUE(hasLocal("New Folder"));
    ASSERT_NE(nullptr, person->nameEditor());
    EXPECT_EQ("New Folder", person->nameEditor()->text().toStdString());
    EXPECT_EQ("New Folder", person->nameEditor()->selectedText().toStdString());
    person->type("results");
    person->press(Qt::Key_Return);
    EXPECT_TRUE(person->isOpen());
    EXPECT_TRUE(hasLocal("results"));
    EXPECT_FALSE(hasLocal("New Folder"));
    EXPECT_EQ(Texts{"results"}, person->names());
    EXPECT_EQ("results", person->currentName());
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("results"), person->place());
}

TEST_P(HDFSFileDialogRename, ANewFolderKeepsItsNameAfterEscape)
{
    openIn(DialogModeOpen, local());
    person->click("newFolderButton");
    person->press(Qt::Key_Escape);
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ(Texts{"New Folder"}, person->names());
    EXPECT_TRUE(hasLocal("New Folder"));
}

TEST_P(HDFSFileDialogRename, ANewFolderOfHdfs)
{
    hdfs->addDirectory("/d");
    openIn(DialogModeSave, "hdfs:/d");
    hdfs->takeRequests();
    person->click("newFolderButton");
    EXPECT_EQ((Texts{"getFileInfo /d/New Folder", "mkdirs /d/New Folder 777"}), hdfs->takeRequests());
    ASSERT_NE(nullptr, person->nameEditor());
    person->type("results");
    person->press(Qt::Key_Return);
    EXPECT_EQ((Texts{"rename /d/New Folder /d/results"}), hdfs->takeRequests());
    EXPECT_EQ(Texts{"results"}, person->names());
    EXPECT_TRUE(log.holds({}));
}

TEST_P(HDFSFileDialogRename, NewFoldersAreNumbered)
{
    openIn(DialogModeOpen, local());
    for (int i = 0; i < 4; ++i) {
        person->click("newFolderButton");
        person->press(Qt::Key_Return);
    }
    EXPECT_EQ((Texts{"New Folder", "New Folder(2)", "New Folder(3)", "New Folder(4)"}), person->names());
    ASSERT_TRUE(QDir().rmdir(QString::fromStdString(local("New Folder(2)"))));
    person->click("newFolderButton");
    EXPECT_EQ("New Folder(2)", person->nameEditor()->text().toStdString());
}

TEST_P(HDFSFileDialogRename, NewFoldersAreNumberedInHdfsToo)
{
    hdfs->addDirectory("/New Folder");
    hdfs->addFile("/New Folder(2)");
    openIn(DialogModeOpen, "hdfs:/");
    hdfs->takeRequests();
    person->click("newFolderButton");
    EXPECT_EQ((Texts{"getFileInfo /New Folder", "getFileInfo /New Folder(2)", "getFileInfo /New Folder(3)",
                     "mkdirs /New Folder(3) 777"}),
              hdfs->takeRequests());
    EXPECT_EQ("New Folder(3)", person->nameEditor()->text().toStdString());
}

TEST_P(HDFSFileDialogRename, ANewFolderIsTheOnlyThingThatIsSelected)
{
    makeLocalFile("a.txt");
    makeLocalDirectory("z");
    openIn(DialogModeOpen, local());
    person->clickOn("a.txt");
    person->click("newFolderButton");
    EXPECT_EQ(Texts{"New Folder"}, person->selectedNames());
    EXPECT_EQ("New Folder", person->currentName());
    EXPECT_EQ((Texts{"New Folder", "z", "a.txt"}), person->names());
}

TEST_P(HDFSFileDialogRename, AFolderThatCannotBeMadeIsLogged)
{
    hdfs->addDirectory("/d");
    hdfs->refuse("mkdirs", "/d/New Folder");
    openIn(DialogModeOpen, "hdfs:/d");
    person->click("newFolderButton");
    EXPECT_TRUE(log.holds({"*", "Cannot create directory 'hdfs:/d/New Folder'"}));
    EXPECT_EQ(nullptr, person->nameEditor());
    EXPECT_EQ(Texts{}, person->names());
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogRename, ANewFolderInALongListIsScrolledTo)
{
    for (int i = 0; i < 300; ++i)
        hdfs->addDirectory("/a folder of many " + std::to_string(i));
    openIn(DialogModeOpen, "hdfs:/");
    person->click("newFolderButton");
    ASSERT_NE(nullptr, person->nameEditor());
    EXPECT_TRUE(person->view()->viewport()->rect().contains(
        person->view()->visualRect(person->indexOf("New Folder")).center()));
    person->type("zz");
    person->press(Qt::Key_Return);
    EXPECT_TRUE(hdfs->has("/zz"));
}

} // namespace
