// What the dialog looks like when it opens, and what its widgets say of its state.
#include "dialog/FileDialogTest.h"

#include "host/core/MainUI.h"

#include <QtCore/QTimer>
#include <QtGui/QBrush>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QTreeView>

#include <QtGui/QPixmapCache>

namespace {

class HDFSFileDialogTest : public FileDialogTest
{
protected:
    int replication() { return person->find<QSpinBox>("sbReplication")->value(); }
    int blockSize() { return person->find<QSpinBox>("sbBlockSize")->value(); }
};

// --- where it opens ---

/// What the dialog is opened with, and what it shows then. There are the directory /d and the file /d/there.txt.
struct Selection {
    const char *selection;
    const char *place;
    const char *name;
    int replication;
    int blockSize;
};

class HDFSFileDialogSelection : public HDFSFileDialogTest, public ::testing::WithParamInterface<Selection>
{
};

TEST_P(HDFSFileDialogSelection, IsTakenApart)
{
    hdfs->addDirectory("/d");
    hdfs->addFile("/d/there.txt");
    open(DialogModeSave, GetParam().selection);
    EXPECT_EQ(GetParam().place, person->place());
    EXPECT_EQ(GetParam().name, person->typedName());
    EXPECT_EQ(GetParam().replication, replication());
    EXPECT_EQ(GetParam().blockSize, blockSize());
    EXPECT_TRUE(log.holds({}));
    EXPECT_TRUE(person->takeBoxes().empty());
}

const Selection kSelections[] = {
    // a path alone
    {"", "My Computer", "", 1, 64},
    {"hdfs:/", "hdfs:/", "", 1, 64},
    {"hdfs:", "hdfs:", "", 1, 64},
    {"hdfs:/d", "hdfs:/d", "", 1, 64},
    {"hdfs:/d/there.txt", "hdfs:/d", "there.txt", 1, 64},
    {"hdfs:/d/new.txt", "hdfs:/d", "new.txt", 1, 64},
    {"hdfs:/new.txt", "hdfs:/", "new.txt", 1, 64},
    {"hdfs:/gone/new.txt", "My Computer", "hdfs:/gone/new.txt", 1, 64},
    {"hdfs:/d/there.txt/below", "My Computer", "hdfs:/d/there.txt/below", 1, 64},
    {"new.txt", "My Computer", "new.txt", 1, 64},
    // with write options
    {"hdfs:/d/new.txt|3|128", "hdfs:/d", "new.txt", 3, 128},
    {"hdfs:/d/new.txt|3", "hdfs:/d", "new.txt", 3, 64},
    {"hdfs:/d/new.txt||128", "hdfs:/d", "new.txt", 1, 128},
    {"hdfs:/d|2|1000", "hdfs:/d", "", 2, 1000},
    {"|3|128", "My Computer", "", 3, 128},
    // bent ones
    {"hdfs:/d||", "hdfs:/d", "", 1, 64},
    {"hdfs:/d|", "hdfs:/d", "", 1, 64},
    {"|", "My Computer", "", 1, 64},
    {"|||", "My Computer", "", 1, 64},
    {"hdfs:/d|3.9|128.7|more", "hdfs:/d", "", 3, 128},
    {"hdfs:/d|x|y", "hdfs:/d", "", 1, 1},
    {"hdfs:/d|1e99|-5", "hdfs:/d", "", 1, 1},
    {"hdfs:/d|-1e99|1e99", "hdfs:/d", "", 1, 64},
    {"hdfs:/d|nan|inf", "hdfs:/d", "", 1, 64},
    {"hdfs:/d|0|0", "hdfs:/d", "", 1, 1},
    {"hdfs:/d|70000|1001", "hdfs:/d", "", 65535, 1000},
    {"hdfs:/d|2147483647|2147483648", "hdfs:/d", "", 65535, 64},
    {"hdfs:/d|1e2|2.5e2", "hdfs:/d", "", 100, 250},
};
INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogSelection, ::testing::ValuesIn(kSelections));

TEST_F(HDFSFileDialogTest, OpensInALocalDirectoryWithTheNameOfAFile)
{
    makeLocalDirectory("sub");
    open(DialogModeOpen, local("sub/file.txt"));
    EXPECT_EQ(local("sub"), person->place());
    EXPECT_EQ("file.txt", person->typedName());
    open(DialogModeOpen, local("sub"));
    EXPECT_EQ(local("sub"), person->place());
    EXPECT_EQ("", person->typedName());
    open(DialogModeOpen, local("gone/file.txt"));
    EXPECT_EQ("My Computer", person->place());
    EXPECT_EQ(local("gone/file.txt"), person->typedName());
}

TEST_F(HDFSFileDialogTest, DoesNotConnectForALocalDirectory)
{
    open(DialogModeOpen, local());
    person->typeName("file.txt");
    person->press(Qt::Key_F5);
    EXPECT_EQ(0, connects);
    EXPECT_TRUE(nameNode->calls().empty());
}

TEST_F(HDFSFileDialogTest, ConnectsOnceAndAsksForWhatItShows)
{
    hdfs->addDirectory("/d");
    hdfs->addFile("/d/there.txt");
    open(DialogModeOpen, "hdfs:/d");
    EXPECT_EQ((Texts{"getFileInfo /d", "getListing /d"}), hdfs->takeRequests());
    EXPECT_EQ((Texts{"there.txt"}), person->names());
    EXPECT_EQ(1, connects);
    ASSERT_EQ(1u, nameNode->introductions().size());
    EXPECT_EQ("tester", nameNode->introductions()[0].user);
    open(DialogModeOpen, "hdfs:/d/there.txt");
    EXPECT_EQ((Texts{"getFileInfo /d/there.txt", "getFileInfo /d", "getListing /d"}), hdfs->takeRequests());
    EXPECT_EQ(2, connects);
    close();
    // Each dialog ends its own connection.
    nameNode->peer().waitUntilOver(2);
}

// --- how it looks ---

TEST_F(HDFSFileDialogTest, ShowsTheCallersTitleAndItsOwnTexts)
{
    open(DialogModeOpen, local());
    EXPECT_EQ("Choose", dialog->windowTitle().toStdString());
    EXPECT_EQ("OK", person->okText());
    EXPECT_FALSE(dialog->nativeRequested());
    EXPECT_EQ("", dialog->selectedPath().toStdString());
    EXPECT_EQ(DialogModeOpen, dialog->mode());
    EXPECT_EQ("", dialog->userGroup().toStdString());
}

TEST_F(HDFSFileDialogTest, TheFieldForTheNameHasTheFocus)
{
    for (DialogMode mode : {DialogModeSave, DialogModeOpen, DialogModeDirectory}) {
        open(mode, local());
        EXPECT_TRUE(person->hasFocus("fileNameEdit")) << mode;
    }
}

TEST_F(HDFSFileDialogTest, StartsAsAList)
{
    open(DialogModeOpen, local());
    EXPECT_TRUE(person->isShown("listView"));
    EXPECT_FALSE(person->isShown("treeView"));
    EXPECT_TRUE(person->find<QToolButton>("listModeButton")->isChecked());
    EXPECT_FALSE(person->find<QToolButton>("detailModeButton")->isChecked());
}

TEST_F(HDFSFileDialogTest, AllButtonsHaveAnIcon)
{
    open(DialogModeOpen, local());
    for (const char *button :
         {"backButton", "forwardButton", "toParentButton", "newFolderButton", "listModeButton", "detailModeButton"})
        EXPECT_FALSE(person->find<QToolButton>(button)->icon().isNull()) << button;
    const QStyle *const style = dialog->style();
    const auto looksLike = [&](const char *button, QStyle::StandardPixmap which) {
        const QSize size(16, 16);
        return person->find<QToolButton>(button)->icon().pixmap(size).toImage() ==
               style->standardIcon(which).pixmap(size).toImage();
    };
    EXPECT_TRUE(looksLike("backButton", QStyle::SP_ArrowBack));
    EXPECT_TRUE(looksLike("forwardButton", QStyle::SP_ArrowForward));
    EXPECT_TRUE(looksLike("toParentButton", QStyle::SP_FileDialogToParent));
    EXPECT_TRUE(looksLike("listModeButton", QStyle::SP_FileDialogContentsView));
    EXPECT_TRUE(looksLike("detailModeButton", QStyle::SP_FileDialogDetailedView));
    EXPECT_TRUE(looksLike("newFolderButton", QStyle::SP_FileDialogNewFolder));
}

TEST_F(HDFSFileDialogTest, TheColumnsAreAsWideAsTheHostsFontNeeds)
{
    open(DialogModeOpen, local());
    const QTreeView *const tree = person->find<QTreeView>("treeView");
    const int widths[] = {21, 6, 9, 11, 6, 6};
    for (int column = 0; column < 6; ++column)
        EXPECT_EQ(widths[column] * MainUI::pixelSize(), tree->columnWidth(column)) << column;
    EXPECT_EQ(0, tree->header()->sortIndicatorSection());
    EXPECT_EQ(Qt::AscendingOrder, tree->header()->sortIndicatorOrder());
    EXPECT_TRUE(tree->isSortingEnabled());
}

TEST_F(HDFSFileDialogTest, TheBookmarksAreTheNarrowPaneAndCanBeDraggedWider)
{
    open(DialogModeOpen, local());
    const QSplitter *const splitter = person->find<QSplitter>("splitter");
    const QList<int> before = splitter->sizes();
    ASSERT_EQ(2, before.size());
    // 80 to 500, in whatever room there is.
    EXPECT_NEAR(80.0 / 580, double(before[0]) / (before[0] + before[1]), 0.02);
    person->dragSplitter(100);
    EXPECT_EQ(before[0] + 100, splitter->sizes()[0]);
    EXPECT_EQ(before[1] - 100, splitter->sizes()[1]);
}

TEST_F(HDFSFileDialogTest, TheTwoViewsHaveOneSelection)
{
    makeLocalFile("a.txt");
    makeLocalFile("b.txt");
    open(DialogModeOpen, local());
    EXPECT_EQ(person->find<QAbstractItemView>("listView")->selectionModel(),
              person->find<QAbstractItemView>("treeView")->selectionModel());
    person->clickOn("b.txt");
    person->click("detailModeButton");
    EXPECT_EQ("b.txt", person->currentName());
    EXPECT_EQ(Texts{"b.txt"}, person->selectedNames());
    person->clickOn("a.txt", Qt::NoModifier, 3);
    person->click("listModeButton");
    EXPECT_EQ("a.txt", person->currentName());
    EXPECT_EQ(Texts{"a.txt"}, person->selectedNames());
}

// --- file types ---

TEST_F(HDFSFileDialogTest, WithoutAFilterAllFilesAreOffered)
{
    makeLocalFile("a.txt");
    makeLocalFile("README");
    makeLocalDirectory("sub");
    open(DialogModeOpen, local());
    const QComboBox *const types = person->find<QComboBox>("fileTypeCombo");
    ASSERT_EQ(1, types->count());
    EXPECT_EQ("All Files (*.*)", types->itemText(0).toStdString());
    // A name without a dot is none of them.
    EXPECT_EQ((Texts{"sub", "a.txt"}), person->names());
}

struct Filter {
    const char *filter;
    std::vector<std::string> items;
};

class HDFSFileDialogFilter : public HDFSFileDialogTest, public ::testing::WithParamInterface<Filter>
{
};

TEST_P(HDFSFileDialogFilter, IsOfferedItemByItem)
{
    open(DialogModeOpen, local(), GetParam().filter);
    const QComboBox *const types = person->find<QComboBox>("fileTypeCombo");
    Texts items;
    for (int i = 0; i < types->count(); ++i)
        items.push_back(types->itemText(i).toStdString());
    EXPECT_EQ(GetParam().items, items);
    EXPECT_EQ(0, types->currentIndex());
}

const Filter kFilters[] = {
    {"Text (*.txt)", {"Text (*.txt)"}},
    {"Text (*.txt);;CSV (*.csv)", {"Text (*.txt)", "CSV (*.csv)"}},
    {"Text (*.txt)\nCSV (*.csv)", {"Text (*.txt)", "CSV (*.csv)"}},
    // A line feed separates only where nothing else does.
    {"Text\n(*.txt);;CSV (*.csv)", {"Text (*.txt)", "CSV (*.csv)"}},
    {"  Text \t (*.txt)  ;; CSV (*.csv)", {"Text (*.txt)", "CSV (*.csv)"}},
    {"Text (*.txt);;", {"Text (*.txt)", ""}},
    {"*.*", {"*.*"}},
};
INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogFilter, ::testing::ValuesIn(kFilters));

TEST_F(HDFSFileDialogTest, TheFirstFilterHoldsAtFirstAndAnotherOnceItIsChosen)
{
    makeLocalFile("a.txt");
    makeLocalFile("b.csv");
    makeLocalFile("C.CSV");
    makeLocalDirectory("sub.d");
    open(DialogModeOpen, local(), "Text (*.txt);;CSV (*.csv);;Both (*.csv *.txt)");
    EXPECT_EQ((Texts{"sub.d", "a.txt"}), person->names());
    person->chooseFilter("CSV (*.csv)");
    EXPECT_EQ((Texts{"sub.d", "b.csv", "C.CSV"}), person->names());
    person->click("detailModeButton");
    person->chooseFilter("Both (*.csv *.txt)");
    EXPECT_EQ((Texts{"sub.d", "a.txt", "b.csv", "C.CSV"}), person->names());
    person->chooseFilter("Text (*.txt)");
    EXPECT_EQ((Texts{"sub.d", "a.txt"}), person->names());
    EXPECT_EQ(local(), person->place());
}

TEST_F(HDFSFileDialogTest, AnotherFilterDoesNotAskTheNameNode)
{
    hdfs->addFile("/a.txt");
    hdfs->addFile("/b.csv");
    open(DialogModeOpen, "hdfs:/", "Text (*.txt);;CSV (*.csv)");
    hdfs->takeRequests();
    person->chooseFilter("CSV (*.csv)");
    EXPECT_EQ(Texts{"b.csv"}, person->names());
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
}

// --- write options ---

TEST_F(HDFSFileDialogTest, WriteOptionsAreShownForSavesIntoHdfsOnly)
{
    hdfs->addDirectory("/d");
    for (DialogMode mode : {DialogModeSave, DialogModeOpen, DialogModeDirectory}) {
        open(mode, "hdfs:/d");
        EXPECT_EQ(mode == DialogModeSave, person->isShown("widgetHDFS")) << mode;
        EXPECT_EQ(mode == DialogModeSave, person->isShown("sbReplication")) << mode;
        person->click("toParentButton");
        EXPECT_EQ("hdfs:/", person->place());
        EXPECT_EQ(mode == DialogModeSave, person->isShown("widgetHDFS")) << mode;
        person->click("toParentButton");
        EXPECT_EQ("My Computer", person->place());
        EXPECT_FALSE(person->isShown("widgetHDFS")) << mode;
        open(mode, local());
        EXPECT_FALSE(person->isShown("widgetHDFS")) << mode;
    }
}

TEST_F(HDFSFileDialogTest, WriteOptionsComeAndGoWithTheDirectoryAndKeepTheirValues)
{
    hdfs->addDirectory("/d");
    open(DialogModeSave, "hdfs:/d|3|128");
    person->clickBookmark("My Computer");
    EXPECT_FALSE(person->isShown("widgetHDFS"));
    person->clickBookmark("hdfs:/");
    EXPECT_TRUE(person->isShown("widgetHDFS"));
    EXPECT_EQ(3, replication());
    EXPECT_EQ(128, blockSize());
}

TEST_F(HDFSFileDialogTest, WriteOptionsAreTypedAndStayInTheirRange)
{
    open(DialogModeSave, "hdfs:/");
    person->typeName("a.bin");
    person->press(Qt::Key_Tab);
    person->press(Qt::Key_Tab);
    ASSERT_TRUE(person->hasFocus("sbReplication"));
    person->type("12");
    person->press(Qt::Key_Tab);
    ASSERT_TRUE(person->hasFocus("sbBlockSize"));
    person->type("5000");
    person->clickOk();
    EXPECT_EQ("hdfs:/a.bin|12|500", accepted());
}

// --- OK and Cancel ---

struct Name {
    const char *name;
    bool canAccept;
    const char *ok;
};

class HDFSFileDialogName : public HDFSFileDialogTest, public ::testing::WithParamInterface<Name>
{
};

TEST_P(HDFSFileDialogName, SaysWhatTheButtonsCan)
{
    hdfs->addDirectory("/d");
    hdfs->addDirectory("/d/sub");
    hdfs->addFile("/d/there.txt");
    for (DialogMode mode : {DialogModeSave, DialogModeOpen, DialogModeDirectory}) {
        open(mode, "hdfs:/d");
        EXPECT_EQ(mode == DialogModeDirectory, person->canAccept()) << mode;
        EXPECT_EQ("OK", person->okText());
        person->typeName(QString::fromUtf8(GetParam().name));
        EXPECT_EQ(GetParam().canAccept, person->canAccept()) << mode;
        EXPECT_EQ(GetParam().ok, person->okText()) << mode;
        person->typeName(QString());
        EXPECT_EQ(mode == DialogModeDirectory, person->canAccept()) << mode;
        EXPECT_EQ("OK", person->okText());
    }
}

const Name kNames[] = {
    {"there.txt", true, "OK"},
    {"new.txt", true, "OK"},
    {"..", true, "&Open"},
    {"hdfs:/d/sub", true, "&Open"},
    {"hdfs:/d/there.txt", true, "OK"},
    // the directory itself is nothing to choose
    {"hdfs:/d", false, "&Open"},
    {"hdfs:/d/", false, "OK"},
    {"hdfs:/d/new.txt", true, "OK"},
    {"hdfs:/gone/new.txt", true, "OK"},
    {"hdfs:/d/sub/..", true, "OK"},
    {"a..b", true, "OK"},
    {"hdfs:/", true, "&Open"},
    {"HDFS:/d/sub", true, "&Open"},
    {"/", true, "&Open"},
    {"a/b/c", true, "OK"},
    {" ", true, "OK"},
};
INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogName, ::testing::ValuesIn(kNames));

TEST_F(HDFSFileDialogTest, ATextWithTwoDotsIsNotTakenForTheDirectoryThatIsShown)
{
    hdfs->addDirectory("/a..b");
    open(DialogModeOpen, "hdfs:/a..b");
    person->typeName("hdfs:/a..b");
    EXPECT_FALSE(person->canAccept());
    person->typeName("hdfs:/a..b/");
    EXPECT_TRUE(person->canAccept());
}

TEST_F(HDFSFileDialogTest, WhatIsNotOfHdfsIsTypedWithoutAskingTheNameNode)
{
    open(DialogModeSave, "hdfs:/");
    hdfs->takeRequests();
    person->typeName("report-2024.txt");
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
}

TEST_F(HDFSFileDialogTest, EachLetterOfAPathOfHdfsAsksTheNameNodeOnce)
{
    open(DialogModeSave, "hdfs:/");
    hdfs->takeRequests();
    person->typeName("hdfs:/ab");
    EXPECT_EQ((Texts{"getFileInfo /", "getFileInfo /", "getFileInfo /a", "getFileInfo /ab"}), hdfs->takeRequests());
    person->pasteName("hdfs:/abc/def");
    EXPECT_EQ((Texts{"getFileInfo /abc/def"}), hdfs->takeRequests());
}

TEST_F(HDFSFileDialogTest, CancelAndEscapeReturnNothing)
{
    makeLocalFile("a.txt");
    open(DialogModeOpen, local("a.txt"));
    person->clickCancel();
    EXPECT_TRUE(isCancelled());
    open(DialogModeOpen, local("a.txt"));
    person->press(Qt::Key_Escape);
    EXPECT_TRUE(isCancelled());
    EXPECT_FALSE(dialog->nativeRequested());
    // Cancel is disabled with an empty name, the Escape key is not.
    open(DialogModeOpen, local());
    person->clickCancel();
    EXPECT_TRUE(person->isOpen());
    person->press(Qt::Key_Escape);
    EXPECT_TRUE(isCancelled());
}

TEST_F(HDFSFileDialogTest, TheNativeDialogIsAskedForByItsButton)
{
    makeLocalFile("a.txt");
    open(DialogModeOpen, local("a.txt"));
    person->click("pbNative");
    EXPECT_TRUE(isCancelled());
    EXPECT_TRUE(dialog->nativeRequested());
}

// --- permissions ---

struct Colours {
    DialogMode mode;
    std::vector<std::string> red;
};

class HDFSFileDialogColours : public HDFSFileDialogTest, public ::testing::WithParamInterface<Colours>
{
};

TEST_P(HDFSFileDialogColours, ShowWhatTheUserCannotUse)
{
    user = "me";
    hdfs->addDirectory("/closed", 0666, "other");
    hdfs->addDirectory("/mine", 0100, "me");
    hdfs->addDirectory("/open", 0001, "other");
    hdfs->addFile("/mine.rw", 0600, "me");
    hdfs->addFile("/readable.txt", 0444, "other");
    hdfs->addFile("/secret.txt", 0700, "other");
    hdfs->addFile("/writable.txt", 0002, "other");
    // Nobody belongs to a group.
    hdfs->addFile("/of.group", 0770, "other");
    open(GetParam().mode, "hdfs:/");
    ASSERT_EQ((Texts{"closed", "mine", "open", "mine.rw", "of.group", "readable.txt", "secret.txt", "writable.txt"}),
              person->names());
    for (const char *button : {"listModeButton", "detailModeButton"}) {
        person->click(button);
        Texts red;
        for (const std::string &name : person->names()) {
            const QVariant background = person->indexOf(name).data(Qt::BackgroundRole);
            if (background.isValid() && background.value<QBrush>().color() == QColor(255, 200, 200))
                red.push_back(name);
            else
                EXPECT_FALSE(background.isValid()) << name;
        }
        EXPECT_EQ(GetParam().red, red);
    }
}

const Colours kColours[] = {
    {DialogModeSave, {"closed", "of.group", "readable.txt", "secret.txt"}},
    {DialogModeOpen, {"closed", "of.group", "secret.txt", "writable.txt"}},
    {DialogModeDirectory, {"closed"}},
};
INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogColours, ::testing::ValuesIn(kColours));

// --- as the host runs it ---

TEST_F(HDFSFileDialogTest, RunsModallyAndReturnsWhatWasChosen)
{
    makeLocalFile("a.txt");
    makeDialog(DialogModeOpen, local());
    QTimer::singleShot(0, [this] {
        EXPECT_EQ(dialog.get(), QApplication::activeModalWidget());
        callPerson();
        person->typeName("a.txt");
        person->press(Qt::Key_Return);
    });
    const int result = dialog->exec();
    EXPECT_EQ(QDialog::Accepted, result);
    EXPECT_EQ(local("a.txt"), accepted());
}

TEST_F(HDFSFileDialogTest, ForgetsTheIconsThatWereKeptWhenItGoes)
{
    QPixmap icon(1, 1);
    icon.fill(Qt::red);
    makeDialog(DialogModeOpen, local());
    QPixmapCache::insert("qt_.TEST", icon);
    close();
    QPixmap found;
    EXPECT_FALSE(QPixmapCache::find("qt_.TEST", &found));
}

Qt::CursorShape pointerWhileConnecting;

NameNodeConnection *lookAtThePointer(QString *)
{
    const QCursor *const pointer = QApplication::overrideCursor();
    pointerWhileConnecting = pointer ? pointer->shape() : Qt::ArrowCursor;
    return nullptr;
}

TEST_F(HDFSFileDialogTest, ShowsABusyPointerWhileTheClusterIsAsked)
{
    pointerWhileConnecting = Qt::ArrowCursor;
    HDFSFileDialog asking(nullptr, DialogModeOpen, "Choose", "hdfs:/", QString(), lookAtThePointer);
    EXPECT_EQ(Qt::WaitCursor, pointerWhileConnecting);
    EXPECT_EQ(nullptr, QApplication::overrideCursor());
}

} // namespace
