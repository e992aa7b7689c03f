// The ways from one directory to another.
#include "dialog/FileDialogTest.h"

#include <QtCore/QDir>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTreeView>

#include <algorithm>

namespace {

class HDFSFileDialogNavigation : public FileDialogTest
{
protected:
    HDFSFileDialogNavigation()
    {
        hdfs->addDirectory("/a");
        hdfs->addDirectory("/a/b");
        hdfs->addDirectory("/a/b/c");
        hdfs->addFile("/a/file.txt");
    }

    Texts history() const
    {
        Texts places;
        foreach (const QString &place, dialog->history())
            places.push_back(place.toStdString());
        return places;
    }

    /// The key of a button presses it like a finger, which takes a moment.
    std::string placeAfter(int key)
    {
        const std::string before = person->place();
        person->press(key, Qt::AltModifier);
        for (int i = 0; i < 100 && person->place() == before; ++i)
            QTest::qWait(10);
        return person->place();
    }

    /// "<" when Back is enabled, ">" when Forward is, "^" when the parent is.
    std::string arrows() const
    {
        return std::string(person->isEnabled("backButton") ? "<" : "") +
               (person->isEnabled("forwardButton") ? ">" : "") + (person->isEnabled("toParentButton") ? "^" : "");
    }
};

/// The two views do the same.
class HDFSFileDialogViews : public HDFSFileDialogNavigation, public ::testing::WithParamInterface<const char *>
{
protected:
    void openIn(DialogMode mode, const std::string &selection)
    {
        open(mode, selection);
        person->click(GetParam());
    }
};

INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogViews, ::testing::Values("listModeButton", "detailModeButton"));

// --- into a directory ---

TEST_P(HDFSFileDialogViews, ADoubleClickEntersADirectory)
{
    for (DialogMode mode : {DialogModeSave, DialogModeOpen, DialogModeDirectory}) {
        openIn(mode, "hdfs:/a");
        hdfs->takeRequests();
        person->doubleClickOn("b");
        EXPECT_EQ("hdfs:/a/b", person->place()) << mode;
        EXPECT_EQ(Texts{"c"}, person->names());
        EXPECT_EQ("", person->typedName()) << mode;
        EXPECT_TRUE(person->isOpen());
        EXPECT_EQ((Texts{"hdfs:/a", "hdfs:/a/b"}), history());
        EXPECT_EQ((Texts{"getFileInfo /a/b", "getListing /a/b"}), hdfs->takeRequests());
    }
}

TEST_P(HDFSFileDialogViews, TheEnterKeyEntersADirectoryAndAcceptsNothing)
{
    for (int key : {Qt::Key_Return, Qt::Key_Enter}) {
        for (DialogMode mode : {DialogModeSave, DialogModeOpen, DialogModeDirectory}) {
            openIn(mode, "hdfs:/a");
            person->clickOn("b");
            EXPECT_EQ("hdfs:/a", person->place());
            person->press(key);
            EXPECT_EQ("hdfs:/a/b", person->place()) << mode;
            EXPECT_TRUE(person->isOpen()) << mode;
            EXPECT_EQ((Texts{"hdfs:/a", "hdfs:/a/b"}), history());
        }
    }
}

TEST_P(HDFSFileDialogViews, ADoubleClickOnAFileChoosesIt)
{
    openIn(DialogModeOpen, "hdfs:/a");
    person->doubleClickOn("file.txt");
    EXPECT_EQ("hdfs:/a/file.txt", accepted());
}

TEST_P(HDFSFileDialogViews, TheEnterKeyOnAFileChoosesItOnce)
{
    openIn(DialogModeSave, "hdfs:/a");
    person->clickOn("file.txt");
    // The question comes once; a second one would fail the test.
    person->willAnswer({DialogPerson::ByEscape});
    person->press(Qt::Key_Return);
    EXPECT_EQ((Texts{"'hdfs:/a/file.txt' already exists.\nDo you want to replace it?"}), boxTexts());
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ("file.txt", person->typedName());
}

TEST_P(HDFSFileDialogViews, TheDirectoryChangesOnlyAfterTheViewHasDoneItsPart)
{
    openIn(DialogModeOpen, "hdfs:/a");
    person->clickOn("b");
    QTest::keyClick(person->view(), Qt::Key_Return);
    EXPECT_EQ("hdfs:/a", person->place());
    EXPECT_EQ((Texts{"b", "file.txt"}), person->names());
    DialogPerson::settle();
    EXPECT_EQ("hdfs:/a/b", person->place());
}

TEST_P(HDFSFileDialogViews, AnActivationWhoseRowIsGoneByThenDoesNothing)
{
    openIn(DialogModeOpen, "hdfs:/a");
    person->clickOn("b");
    QTest::keyClick(person->view(), Qt::Key_Return);
    dialog->setDirectory(QString::fromStdString(local()));
    DialogPerson::settle();
    EXPECT_EQ(local(), person->place());
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogViews, AnActivationThatWasForgottenDoesNotComeWithTheNextOne)
{
    makeLocalDirectory("b");
    makeLocalDirectory("c");
    openIn(DialogModeOpen, local());
    person->clickOn("b");
    QTest::keyClick(person->view(), Qt::Key_Return);
    person->find<QTreeView>("treeView")->sortByColumn(0, Qt::DescendingOrder);
    DialogPerson::settle();
    EXPECT_EQ(local(), person->place());
    person->doubleClickOn("c");
    EXPECT_EQ(local("c"), person->place());
}

TEST_P(HDFSFileDialogViews, LettersJumpToNames)
{
    for (const char *name : {"alpha.txt", "beta.txt", "beta2.txt", "gamma.txt"})
        makeLocalFile(name);
    openIn(DialogModeOpen, local());
    person->clickOn("alpha.txt");
    person->type("g");
    EXPECT_EQ("gamma.txt", person->currentName());
    EXPECT_EQ("gamma.txt", person->typedName());
    QTest::qWait(QApplication::keyboardInputInterval() + 50);
    person->type("beta2");
    EXPECT_EQ("beta2.txt", person->currentName());
    EXPECT_EQ("beta2.txt", person->typedName());
}

TEST_P(HDFSFileDialogViews, ArrowKeysMoveToTheNextName)
{
    for (const char *name : {"alpha.txt", "beta.txt", "gamma.txt"})
        makeLocalFile(name);
    openIn(DialogModeOpen, local());
    person->clickOn("alpha.txt");
    person->press(Qt::Key_Down);
    EXPECT_EQ("beta.txt", person->typedName());
    person->press(Qt::Key_Down);
    EXPECT_EQ("gamma.txt", person->typedName());
    person->press(Qt::Key_Up);
    EXPECT_EQ("beta.txt", person->typedName());
    person->press(Qt::Key_Home);
    EXPECT_EQ("alpha.txt", person->typedName());
}

TEST_P(HDFSFileDialogViews, BackspaceGoesUp)
{
    openIn(DialogModeOpen, "hdfs:/a/b");
    person->clickOn("c");
    person->press(Qt::Key_Backspace);
    EXPECT_EQ("hdfs:/a", person->place());
    person->press(Qt::Key_Backspace);
    EXPECT_EQ("hdfs:/", person->place());
    person->press(Qt::Key_Backspace);
    EXPECT_EQ("My Computer", person->place());
    hdfs->takeRequests();
    person->press(Qt::Key_Backspace);
    EXPECT_EQ("My Computer", person->place());
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
    EXPECT_EQ((Texts{"hdfs:/a/b", "hdfs:/a", "hdfs:/", ""}), history());
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogViews, KeysOfTheDialogWorkInTheView)
{
    openIn(DialogModeOpen, "hdfs:/a/b");
    person->clickOn("c");
    EXPECT_EQ("hdfs:/a", placeAfter(Qt::Key_Up));
    EXPECT_EQ("hdfs:/a/b", placeAfter(Qt::Key_Left));
    EXPECT_EQ("hdfs:/a", placeAfter(Qt::Key_Right));
}

TEST_P(HDFSFileDialogViews, F5ShowsWhatIsNew)
{
    openIn(DialogModeOpen, "hdfs:/a");
    hdfs->addFile("/a/new.txt");
    hdfs->remove("/a/file.txt");
    hdfs->takeRequests();
    EXPECT_EQ((Texts{"b", "file.txt"}), person->names());
    person->press(Qt::Key_F5);
    EXPECT_EQ((Texts{"b", "new.txt"}), person->names());
    EXPECT_EQ(Texts{"getListing /a"}, hdfs->takeRequests());
    EXPECT_EQ(Texts{"hdfs:/a"}, history());
    person->view()->setFocus();
    hdfs->remove("/a/new.txt");
    person->press(Qt::Key_F5);
    EXPECT_EQ(Texts{"b"}, person->names());
}

// --- the name of the current item ---

TEST_P(HDFSFileDialogViews, AClickOnAFileNamesItAndOneOnADirectoryDoesNot)
{
    openIn(DialogModeOpen, "hdfs:/a");
    person->clickOn("file.txt");
    EXPECT_EQ("file.txt", person->typedName());
    EXPECT_TRUE(person->canAccept());
    person->clickOn("b");
    EXPECT_EQ("file.txt", person->typedName());
    openIn(DialogModeDirectory, "hdfs:/a");
    person->clickOn("b");
    EXPECT_EQ("b", person->typedName());
    person->clickOn("file.txt");
    EXPECT_EQ("file.txt", person->typedName());
}

TEST_F(HDFSFileDialogNavigation, WhatIsBeingTypedIsNotReplacedByTheCurrentItem)
{
    open(DialogModeOpen, "hdfs:/a");
    person->typeName("half a na");
    person->view()->setCurrentIndex(person->indexOf("file.txt"));
    EXPECT_EQ("half a na", person->typedName());
}

TEST_F(HDFSFileDialogNavigation, ADirectoryThatIsEnteredClearsTheNameOnlyWhereADirectoryIsChosen)
{
    open(DialogModeSave, "hdfs:/a");
    person->typeName("new.txt");
    person->doubleClickOn("b");
    EXPECT_EQ("hdfs:/a/b", person->place());
    EXPECT_EQ("new.txt", person->typedName());
    open(DialogModeDirectory, "hdfs:/a");
    person->typeName("b");
    person->doubleClickOn("b");
    EXPECT_EQ("", person->typedName());
    person->click("toParentButton");
    person->typeName("typed");
    QMetaObject::invokeMethod(dialog.get(), "on_enterDirectory", Q_ARG(QModelIndex, person->indexOf("b")));
    EXPECT_EQ("hdfs:/a/b", person->place());
    EXPECT_EQ("", person->typedName());
}

// --- back, forward and up ---

TEST_F(HDFSFileDialogNavigation, BackAndForwardWalkThroughTheHistory)
{
    open(DialogModeOpen, "hdfs:/a");
    EXPECT_EQ("^", arrows());
    person->doubleClickOn("b");
    EXPECT_EQ("<^", arrows());
    person->doubleClickOn("c");
    EXPECT_EQ("<^", arrows());
    person->click("backButton");
    EXPECT_EQ("hdfs:/a/b", person->place());
    EXPECT_EQ("<>^", arrows());
    person->click("backButton");
    EXPECT_EQ("hdfs:/a", person->place());
    EXPECT_EQ(">^", arrows());
    person->click("backButton");
    EXPECT_EQ("hdfs:/a", person->place());
    person->click("forwardButton");
    EXPECT_EQ("hdfs:/a/b", person->place());
    person->click("forwardButton");
    EXPECT_EQ("hdfs:/a/b/c", person->place());
    EXPECT_EQ("<^", arrows());
    person->click("forwardButton");
    EXPECT_EQ("hdfs:/a/b/c", person->place());
    EXPECT_EQ((Texts{"hdfs:/a", "hdfs:/a/b", "hdfs:/a/b/c"}), history());
}

TEST_F(HDFSFileDialogNavigation, ANewWayDropsWhatWasAhead)
{
    makeLocalDirectory("x");
    open(DialogModeOpen, "hdfs:/a");
    person->doubleClickOn("b");
    person->doubleClickOn("c");
    person->click("backButton");
    person->click("backButton");
    person->clickBookmark("My Computer");
    EXPECT_EQ((Texts{"hdfs:/a", ""}), history());
    EXPECT_EQ("<", arrows());
    person->click("backButton");
    EXPECT_EQ("hdfs:/a", person->place());
    person->click("forwardButton");
    EXPECT_EQ("My Computer", person->place());
}

TEST_F(HDFSFileDialogNavigation, TheSamePlaceAgainAddsNothing)
{
    open(DialogModeOpen, "hdfs:/");
    person->clickBookmark("hdfs:/");
    person->clickBookmark("hdfs:/");
    EXPECT_EQ(Texts{"hdfs:/"}, history());
    person->doubleClickOn("a");
    person->click("backButton");
    // Nor does it drop what is ahead.
    person->clickBookmark("hdfs:/");
    EXPECT_EQ((Texts{"hdfs:/", "hdfs:/a"}), history());
    EXPECT_EQ(">^", arrows());
}

TEST_F(HDFSFileDialogNavigation, TheParentButtonEndsAtTheComputer)
{
    open(DialogModeOpen, "hdfs:/a/b");
    person->click("toParentButton");
    EXPECT_EQ("hdfs:/a", person->place());
    person->click("toParentButton");
    EXPECT_EQ("hdfs:/", person->place());
    person->click("toParentButton");
    EXPECT_EQ("My Computer", person->place());
    EXPECT_EQ("<", arrows());
    EXPECT_FALSE(person->isEnabled("newFolderButton"));
    person->click("backButton");
    EXPECT_EQ("<>^", arrows());
    EXPECT_TRUE(person->isEnabled("newFolderButton"));
}

TEST_F(HDFSFileDialogNavigation, TheParentOfALocalDirectory)
{
    makeLocalDirectory("x/y");
    open(DialogModeOpen, local("x/y"));
    person->click("toParentButton");
    EXPECT_EQ(local("x"), person->place());
    EXPECT_EQ(Texts{"y"}, person->names());
    person->click("toParentButton");
    EXPECT_EQ(local(), person->place());
    EXPECT_EQ(0, connects);
}

TEST_F(HDFSFileDialogNavigation, KeysOfTheDialogWorkWhileANameIsTyped)
{
    open(DialogModeOpen, "hdfs:/a/b");
    person->typeName("n.txt");
    EXPECT_EQ("hdfs:/a", placeAfter(Qt::Key_Up));
    EXPECT_EQ("hdfs:/a/b", placeAfter(Qt::Key_Left));
    EXPECT_EQ("hdfs:/a", placeAfter(Qt::Key_Right));
    // What edits the text stays with the text.
    person->press(Qt::Key_Backspace);
    EXPECT_EQ("n.tx", person->typedName());
    person->press(Qt::Key_Home);
    person->press(Qt::Key_Delete);
    EXPECT_EQ(".tx", person->typedName());
    EXPECT_EQ("hdfs:/a", person->place());
}

// --- the computer level ---

TEST_F(HDFSFileDialogNavigation, TheComputerLevelHasTheDrivesAndHdfs)
{
    open(DialogModeOpen, "");
    EXPECT_EQ("My Computer", person->place());
    const Texts rows = person->names();
    ASSERT_EQ(static_cast<std::size_t>(QDir::drives().size() + 1), rows.size());
    EXPECT_EQ(1, std::count(rows.begin(), rows.end(), "hdfs:/"));
    EXPECT_EQ((Texts{"getFsStats"}), hdfs->takeRequests());
    person->doubleClickOn("hdfs:/");
    EXPECT_EQ("hdfs:/", person->place());
    EXPECT_EQ(Texts{"a"}, person->names());
    EXPECT_EQ((Texts{"getFileInfo /", "getListing /"}), hdfs->takeRequests());
}

TEST_F(HDFSFileDialogNavigation, ADriveIsEntered)
{
    open(DialogModeOpen, "");
    const std::string drive = QDir::drives().first().absolutePath().toStdString();
    person->doubleClickOn(drive);
    EXPECT_EQ(drive, person->place());
    EXPECT_FALSE(person->names().empty());
    person->click("toParentButton");
    EXPECT_EQ("My Computer", person->place());
}

// --- bookmarks ---

TEST_F(HDFSFileDialogNavigation, TheEndKeyLeadsToTheLastItemAlsoAtFirst)
{
    hdfs->addFile("/a/last.txt");
    for (const char *button : {"listModeButton", "detailModeButton"}) {
        SCOPED_TRACE(button);
        open(DialogModeOpen, "hdfs:/a");
        person->click(button);
        person->view()->setFocus();
        EXPECT_EQ("", person->currentName());
        person->press(Qt::Key_End);
        EXPECT_EQ("last.txt", person->currentName());
        EXPECT_EQ(Texts{"last.txt"}, person->selectedNames());
        person->press(Qt::Key_Home);
        EXPECT_EQ("b", person->currentName());
        close();
    }
}

TEST_F(HDFSFileDialogNavigation, EnterOnABookmarkGoesThereAndAcceptsNothing)
{
    open(DialogModeDirectory, local());
    QListWidget *const bookmarks = person->find<QListWidget>("listWidget");
    bookmarks->setFocus();
    bookmarks->setCurrentRow(1);
    ASSERT_EQ(std::string("hdfs:/"), bookmarks->currentItem()->text().toStdString());
    person->press(Qt::Key_Return);
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ("hdfs:/", person->place());
}

// --- the look-in list ---

TEST_F(HDFSFileDialogNavigation, TheLookInListOffersTheWayUpAndWhereTheUserWas)
{
    open(DialogModeOpen, "hdfs:/a");
    person->doubleClickOn("b");
    EXPECT_EQ(Texts{"hdfs:/a/b"}, person->offeredPlaces());
    hdfs->takeRequests();
    person->openPlaces();
    EXPECT_EQ((Texts{"hdfs:/a/b", "hdfs:/a", "hdfs:/", "My Computer", "Recent Places", "hdfs:/a", "hdfs:/a/b"}),
              person->offeredPlaces());
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
    person->choosePlace(1);
    EXPECT_EQ("hdfs:/a", person->place());
    EXPECT_EQ((Texts{"b", "file.txt"}), person->names());
    EXPECT_EQ(Texts{"getListing /a"}, hdfs->takeRequests());
    EXPECT_EQ((Texts{"hdfs:/a", "hdfs:/a/b", "hdfs:/a"}), history());
}

TEST_F(HDFSFileDialogNavigation, TheLookInListLeadsToTheComputer)
{
    open(DialogModeOpen, "hdfs:/a/b");
    person->openPlaces();
    person->choosePlace(3);
    EXPECT_EQ("My Computer", person->place());
    EXPECT_EQ((Texts{"hdfs:/a/b", ""}), history());
}

TEST_F(HDFSFileDialogNavigation, TheLookInListLeadsToRecentPlacesAndSkipsTheirHeading)
{
    open(DialogModeOpen, local());
    person->clickBookmark("hdfs:/");
    person->openPlaces();
    EXPECT_EQ((Texts{"hdfs:/", "My Computer", "Recent Places", local(), "hdfs:/"}), person->offeredPlaces());
    QAbstractItemView *const list = person->find<QComboBox>("lookInCombo")->view();
    EXPECT_FALSE(list->model()->flags(list->model()->index(2, 0)) & Qt::ItemIsEnabled);
    person->choosePlace(3);
    EXPECT_EQ(local(), person->place());
    EXPECT_EQ((Texts{local(), "hdfs:/", local()}), history());
}

TEST_F(HDFSFileDialogNavigation, TheLookInListCanBeLeftWithoutAChoice)
{
    open(DialogModeOpen, "hdfs:/a/b");
    person->openPlaces();
    person->press(Qt::Key_Down);
    person->press(Qt::Key_Escape);
    EXPECT_EQ("hdfs:/a/b", person->place());
    EXPECT_EQ(Texts{"hdfs:/a/b"}, history());
    EXPECT_TRUE(person->isOpen());
}

// --- list and details ---

TEST_F(HDFSFileDialogNavigation, TheModeButtonsChangeTheView)
{
    open(DialogModeOpen, "hdfs:/a");
    person->click("detailModeButton");
    EXPECT_TRUE(person->isShown("treeView"));
    EXPECT_FALSE(person->isShown("listView"));
    EXPECT_FALSE(person->find<QAbstractButton>("listModeButton")->isChecked());
    EXPECT_TRUE(person->find<QAbstractButton>("detailModeButton")->isChecked());
    // A second click on the same button changes nothing.
    person->click("detailModeButton");
    EXPECT_TRUE(person->isShown("treeView"));
    EXPECT_TRUE(person->find<QAbstractButton>("detailModeButton")->isChecked());
    person->click("listModeButton");
    EXPECT_TRUE(person->isShown("listView"));
    EXPECT_FALSE(person->isShown("treeView"));
    EXPECT_TRUE(person->find<QAbstractButton>("listModeButton")->isChecked());
    EXPECT_FALSE(person->find<QAbstractButton>("detailModeButton")->isChecked());
    person->click("listModeButton");
    EXPECT_TRUE(person->isShown("listView"));
    EXPECT_TRUE(person->find<QAbstractButton>("listModeButton")->isChecked());
}

TEST_F(HDFSFileDialogNavigation, AClickOnAHeaderSortsAndASecondOneTurnsTheOrder)
{
    hdfs->addFile("/a/zebra.txt");
    hdfs->addFile("/a/file10.txt");
    hdfs->addFile("/a/file2.txt");
    open(DialogModeOpen, "hdfs:/a");
    EXPECT_EQ((Texts{"b", "file.txt", "file2.txt", "file10.txt", "zebra.txt"}), person->names());
    person->click("detailModeButton");
    person->clickHeader(0);
    EXPECT_EQ((Texts{"zebra.txt", "file10.txt", "file2.txt", "file.txt", "b"}), person->names());
    person->clickHeader(0);
    EXPECT_EQ((Texts{"b", "file.txt", "file2.txt", "file10.txt", "zebra.txt"}), person->names());
}

TEST_F(HDFSFileDialogNavigation, TheOrderStaysInTheNextDirectory)
{
    makeLocalDirectory("x");
    makeLocalFile("x/1.txt");
    makeLocalFile("x/2.txt");
    open(DialogModeOpen, local());
    person->click("detailModeButton");
    person->clickHeader(0);
    person->doubleClickOn("x");
    EXPECT_EQ((Texts{"2.txt", "1.txt"}), person->names());
}

// --- the Tab key ---

TEST_F(HDFSFileDialogNavigation, TheTabKeyVisitsEverythingInTheOrderOfTheForm)
{
    hdfs->addFile("/a/b/f.txt");
    open(DialogModeSave, "hdfs:/a/b");
    person->doubleClickOn("c");
    person->click("toParentButton");
    person->click("backButton");
    person->click("toParentButton");
    person->click("backButton");
    ASSERT_EQ("<>^", arrows());
    person->typeName("n.txt");
    const Texts expected = {"fileTypeCombo",    "sbReplication",  "sbBlockSize",     "OK",
                            "Cancel",           "pbNative",       "lookInCombo",     "backButton",
                            "forwardButton",    "toParentButton", "newFolderButton", "listModeButton",
                            "detailModeButton", "listWidget",     "listView",        "fileNameEdit"};
    Texts visited;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        person->press(Qt::Key_Tab);
        const QWidget *const focus = dialog->focusWidget();
        const QAbstractButton *const button = qobject_cast<const QAbstractButton *>(focus);
        visited.push_back(focus->objectName().isEmpty() && button ? button->text().remove('&').toStdString()
                                                                  : focus->objectName().toStdString());
    }
    EXPECT_EQ(expected, visited);
    EXPECT_EQ("n.txt", person->typedName());
}

} // namespace
