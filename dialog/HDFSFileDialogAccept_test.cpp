// What the dialog returns, and what it asks and refuses before it does.
#include "dialog/FileDialogTest.h"

#include <QtWidgets/QSpinBox>

#include <QtWidgets/QAbstractItemView>

namespace {

class HDFSFileDialogAccept : public FileDialogTest
{
};

// --- saving ---

TEST_F(HDFSFileDialogAccept, ANameThatIsTypedAndEnteredIsInTheDirectoryThatIsShown)
{
    open(DialogModeSave, local());
    person->typeName("report.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("report.txt"), accepted());
    EXPECT_EQ(0, connects);
}

struct WriteOptions {
    int replication;
    int blockSize;
    const char *behindThePath;
};

class HDFSFileDialogWriteOptions : public HDFSFileDialogAccept, public ::testing::WithParamInterface<WriteOptions>
{
};

TEST_P(HDFSFileDialogWriteOptions, StandBehindAPathOfHdfs)
{
    hdfs->addDirectory("/d");
    open(DialogModeSave, "hdfs:/d");
    person->find<QSpinBox>("sbReplication")->setValue(GetParam().replication);
    person->find<QSpinBox>("sbBlockSize")->setValue(GetParam().blockSize);
    person->typeName("new.bin");
    person->press(Qt::Key_Return);
    EXPECT_EQ(std::string("hdfs:/d/new.bin") + GetParam().behindThePath, accepted());
}

const WriteOptions kWriteOptions[] = {
    {1, 64, ""},      {3, 128, "|3|128"},           {3, 64, "|3"}, {1, 128, "||128"}, {1, 1, "||1"},
    {2, 63, "|2|63"}, {65535, 1000, "|65535|1000"},
};
INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogWriteOptions, ::testing::ValuesIn(kWriteOptions));

TEST_F(HDFSFileDialogAccept, ALocalPathHasNoWriteOptions)
{
    open(DialogModeSave, local() + "|3|128");
    person->typeName("new.bin");
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("new.bin"), accepted());
}

TEST_F(HDFSFileDialogAccept, OnlySavingHasWriteOptions)
{
    hdfs->addFile("/there.bin");
    open(DialogModeOpen, "hdfs:/there.bin|3|128");
    person->press(Qt::Key_Return);
    EXPECT_EQ("hdfs:/there.bin", accepted());
    open(DialogModeDirectory, "hdfs:/|3|128");
    person->press(Qt::Key_Return);
    EXPECT_EQ("hdfs:", accepted());
}

TEST_F(HDFSFileDialogAccept, ReplacingIsAskedForAndDoneAfterYes)
{
    makeLocalFile("old.txt");
    open(DialogModeSave, local("old.txt"));
    person->willAnswer({DialogPerson::Yes});
    person->press(Qt::Key_Return);
    const std::vector<SeenBox> boxes = person->takeBoxes();
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ("Choose", boxes[0].title);
    EXPECT_EQ("'" + local("old.txt") + "' already exists.\nDo you want to replace it?", boxes[0].text);
    EXPECT_EQ("Yes,[No]", boxes[0].buttons);
    EXPECT_EQ(local("old.txt"), accepted());
}

TEST_F(HDFSFileDialogAccept, ReplacingIsNotDoneByTheEnterOrEscapeKey)
{
    hdfs->addFile("/old.txt");
    open(DialogModeSave, "hdfs:/old.txt");
    person->willAnswer({DialogPerson::ByEnter, DialogPerson::ByEscape});
    person->press(Qt::Key_Return);
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ("old.txt", person->typedName());
    person->press(Qt::Key_Return);
    EXPECT_TRUE(person->isOpen());
    const std::string question = "'hdfs:/old.txt' already exists.\nDo you want to replace it?";
    EXPECT_EQ((Texts{question, question}), boxTexts());
}

// --- opening ---

TEST_F(HDFSFileDialogAccept, AFileThatIsMissingIsRefused)
{
    open(DialogModeOpen, local());
    person->typeName("missing.txt");
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return);
    const std::vector<SeenBox> boxes = person->takeBoxes();
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ("Choose", boxes[0].title);
    EXPECT_EQ(local("missing.txt") + "\nFile not found.\nPlease verify the correct file name was given.",
              boxes[0].text);
    EXPECT_EQ("[OK]", boxes[0].buttons);
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ("missing.txt", person->typedName());
}

TEST_F(HDFSFileDialogAccept, AFileThatIsMissingIsTakenWithControlHeld)
{
    open(DialogModeOpen, local());
    person->typeName("missing.txt");
    person->willAnswer({DialogPerson::ByEnter});
    person->clickOk(Qt::ControlModifier);
    EXPECT_EQ(1u, boxTexts().size());
    EXPECT_EQ(local("missing.txt"), accepted());
}

TEST_F(HDFSFileDialogAccept, ControlAndEnterAreControlAndOk)
{
    open(DialogModeOpen, local());
    person->typeName("missing.txt");
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(1u, boxTexts().size());
    EXPECT_EQ(local("missing.txt"), accepted());
}

TEST_F(HDFSFileDialogAccept, DotDotGoesUpAndClearsTheName)
{
    makeLocalDirectory("sub");
    open(DialogModeOpen, local("sub"));
    person->typeName("..");
    EXPECT_EQ("&Open", person->okText());
    person->clickOk();
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ(local(), person->place());
    EXPECT_EQ("", person->typedName());
}

TEST_F(HDFSFileDialogAccept, DotDotAtTheComputerStaysThere)
{
    open(DialogModeOpen, "");
    person->typeName("..");
    person->press(Qt::Key_Return);
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ("My Computer", person->place());
    EXPECT_EQ("", person->typedName());
}

TEST_F(HDFSFileDialogAccept, AnEmptyNameIsNothingToSaveOrOpen)
{
    for (DialogMode mode : {DialogModeSave, DialogModeOpen}) {
        open(mode, local());
        person->press(Qt::Key_Return);
        person->clickOk();
        // Whoever calls it.
        dialog->accept();
        EXPECT_TRUE(person->isOpen()) << mode;
        EXPECT_EQ("", dialog->selectedPath().toStdString());
    }
}

TEST_F(HDFSFileDialogAccept, SavingAsksTheNameNodeWhetherTheFileIsThere)
{
    hdfs->addDirectory("/d");
    open(DialogModeSave, "hdfs:/d");
    person->typeName("new.txt");
    hdfs->takeRequests();
    person->press(Qt::Key_Return);
    // once for a directory, once for a file
    EXPECT_EQ((Texts{"getFileInfo /d/new.txt", "getFileInfo /d/new.txt"}), hdfs->takeRequests());
    EXPECT_EQ("hdfs:/d/new.txt", accepted());
}

TEST_F(HDFSFileDialogAccept, NoToReplacingLeavesTheNameInItsDirectory)
{
    makeLocalDirectory("sub");
    makeLocalFile("sub/old.txt");
    open(DialogModeSave, local());
    person->typeName(QString::fromStdString(local("sub/old.txt")));
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return);
    EXPECT_EQ(1u, boxTexts().size());
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ(local("sub"), person->place());
    EXPECT_EQ("old.txt", person->typedName());
    EXPECT_EQ("", dialog->selectedPath().toStdString());
}

TEST_F(HDFSFileDialogAccept, ReplacingAFileOfHdfsKeepsTheWriteOptions)
{
    hdfs->addFile("/old.txt");
    open(DialogModeSave, "hdfs:/old.txt|2|32");
    person->willAnswer({DialogPerson::Yes});
    person->clickOk();
    EXPECT_EQ((Texts{"'hdfs:/old.txt' already exists.\nDo you want to replace it?"}), boxTexts());
    EXPECT_EQ("hdfs:/old.txt|2|32", accepted());
}

TEST_F(HDFSFileDialogAccept, ControlDoesNotReplaceWithoutAsking)
{
    makeLocalFile("old.txt");
    open(DialogModeSave, local("old.txt"));
    person->willAnswer({DialogPerson::ByEscape});
    person->clickOk(Qt::ControlModifier);
    EXPECT_EQ(1u, boxTexts().size());
    EXPECT_TRUE(person->isOpen());
}

TEST_F(HDFSFileDialogAccept, AFileThatIsThereIsOpenedWithoutAQuestion)
{
    makeLocalFile("there.txt");
    open(DialogModeOpen, local());
    person->typeName("there.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("there.txt"), accepted());
}

TEST_F(HDFSFileDialogAccept, AFileThatIsMissingInHdfsIsRefusedAndTakenWithControlHeld)
{
    open(DialogModeOpen, "hdfs:/");
    person->typeName("missing.txt");
    person->willAnswer({DialogPerson::ByEscape});
    person->press(Qt::Key_Return);
    EXPECT_TRUE(person->isOpen());
    person->willAnswer({DialogPerson::ByEnter});
    person->clickOk(Qt::ControlModifier);
    const std::string refused = "hdfs:/missing.txt\nFile not found.\nPlease verify the correct file name was given.";
    EXPECT_EQ((Texts{refused, refused}), boxTexts());
    EXPECT_EQ("hdfs:/missing.txt", accepted());
}

// --- a directory is current or typed ---

TEST_F(HDFSFileDialogAccept, OkDoesNothingWhileADirectoryIsCurrent)
{
    makeLocalDirectory("sub.d");
    makeLocalFile("there.txt");
    for (DialogMode mode : {DialogModeSave, DialogModeOpen}) {
        for (const char *button : {"listModeButton", "detailModeButton"}) {
            open(mode, local("there.txt"));
            person->click(button);
            person->clickOn("sub.d");
            person->clickOk();
            EXPECT_TRUE(person->isOpen()) << mode;
            EXPECT_EQ(local(), person->place());
            EXPECT_EQ("there.txt", person->typedName());
        }
    }
}

TEST_F(HDFSFileDialogAccept, ANameThatIsTypedCountsAlthoughADirectoryWasCurrent)
{
    makeLocalDirectory("sub.d");
    open(DialogModeSave, local());
    person->clickOn("sub.d");
    person->typeName("new.txt");
    EXPECT_EQ(Texts{}, person->selectedNames());
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("new.txt"), accepted());
}

TEST_F(HDFSFileDialogAccept, ANameThatWasTypedStaysWhenTheViewGetsTheFocus)
{
    makeLocalFile("a.csv");
    for (const char *view : {"listView", "treeView"}) {
        SCOPED_TRACE(view);
        open(DialogModeSave, local());
        if (std::string(view) == "treeView")
            person->click("detailModeButton");
        person->typeName("mine.csv");
        person->view()->setFocus(Qt::TabFocusReason);
        EXPECT_EQ("mine.csv", person->typedName());
        EXPECT_EQ("", person->currentName());
        close();
    }
}

TEST_F(HDFSFileDialogAccept, ADirectoryThatIsTypedIsOpened)
{
    makeLocalDirectory("sub.d");
    hdfs->addDirectory("/a.d");
    for (DialogMode mode : {DialogModeSave, DialogModeOpen}) {
        open(mode, local());
        person->typeName("sub.d");
        person->press(Qt::Key_Return);
        EXPECT_TRUE(person->isOpen());
        EXPECT_EQ(local("sub.d"), person->place());
        person->typeName("hdfs:/a.d");
        EXPECT_EQ("&Open", person->okText());
        person->press(Qt::Key_Return);
        EXPECT_TRUE(person->isOpen());
        EXPECT_EQ("hdfs:/a.d", person->place());
        person->clickBookmark("My Computer");
        person->typeName(QString::fromStdString(local()));
        person->press(Qt::Key_Return);
        EXPECT_EQ(local(), person->place());
    }
}

// --- choosing a directory ---

TEST_F(HDFSFileDialogAccept, TheDirectoryThatIsShownIsChosenWithoutAName)
{
    hdfs->addDirectory("/d");
    open(DialogModeDirectory, "hdfs:/d");
    person->press(Qt::Key_Return);
    EXPECT_EQ("hdfs:/d", accepted());
    open(DialogModeDirectory, local());
    person->clickOk();
    EXPECT_EQ(local(), accepted());
}

TEST_F(HDFSFileDialogAccept, TheComputerIsChosenWithoutANameAsAnEmptyPath)
{
    open(DialogModeDirectory, "");
    EXPECT_TRUE(person->canAccept());
    person->clickOk();
    EXPECT_FALSE(person->isOpen());
    EXPECT_EQ("", accepted());
}

TEST_F(HDFSFileDialogAccept, TheLocalDirectoryThatIsShownIsNothingToOpen)
{
    makeLocalDirectory("below");
    open(DialogModeOpen, local());
    person->typeName(QString::fromStdString(local()));
    EXPECT_FALSE(person->canAccept());
    person->typeName(QString::fromStdString(local("below")));
    EXPECT_TRUE(person->canAccept());
    EXPECT_EQ("&Open", person->okText());
}

TEST_F(HDFSFileDialogAccept, TheDirectoryThatIsCurrentIsChosen)
{
    hdfs->addDirectory("/d");
    hdfs->addDirectory("/d/sub");
    open(DialogModeDirectory, "hdfs:/d", "*.*");
    person->clickOn("sub");
    person->clickOk();
    EXPECT_EQ("hdfs:/d/sub", accepted());
    // Without write options, which are those of files.
    EXPECT_TRUE(boxTexts().empty());
}

TEST_F(HDFSFileDialogAccept, ADirectoryThatIsMissingIsRefused)
{
    hdfs->addDirectory("/d");
    open(DialogModeDirectory, "hdfs:/");
    person->typeName("d/gone");
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return);
    const std::vector<SeenBox> boxes = person->takeBoxes();
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ("Choose", boxes[0].title);
    EXPECT_EQ("hdfs:/d/gone\nDirectory not found.\nPlease verify the correct directory name was given.", boxes[0].text);
    EXPECT_EQ("[OK]", boxes[0].buttons);
    EXPECT_TRUE(person->isOpen());
    // Where it would be is shown.
    EXPECT_EQ("hdfs:/d", person->place());
    EXPECT_EQ("gone", person->typedName());
}

TEST_F(HDFSFileDialogAccept, ADirectoryThatIsMissingIsTakenWithControlHeld)
{
    open(DialogModeDirectory, local());
    person->typeName("gone");
    person->willAnswer({DialogPerson::ByEnter});
    person->clickOk(Qt::ControlModifier);
    EXPECT_EQ((Texts{local("gone") + "\nDirectory not found.\nPlease verify the correct directory name was given."}),
              boxTexts());
    EXPECT_EQ(local("gone"), accepted());
}

TEST_F(HDFSFileDialogAccept, AFileIsNoDirectory)
{
    makeLocalFile("file.txt");
    open(DialogModeDirectory, local());
    person->clickOn("file.txt");
    person->willAnswer({DialogPerson::ByEnter});
    person->clickOk();
    EXPECT_EQ(1u, boxTexts().size());
    EXPECT_TRUE(person->isOpen());
}

TEST_F(HDFSFileDialogAccept, TheNameOfADirectoryGetsNoExtension)
{
    makeLocalDirectory("sub");
    open(DialogModeDirectory, local(), "CSV (*.csv)");
    person->typeName("sub");
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("sub"), accepted());
}

// --- extensions ---

struct Extension {
    const char *filter;
    const char *typed;
    const char *name;
};

class HDFSFileDialogExtension : public HDFSFileDialogAccept, public ::testing::WithParamInterface<Extension>
{
};

TEST_P(HDFSFileDialogExtension, IsThatOfTheFirstPattern)
{
    open(DialogModeSave, local(), GetParam().filter);
    person->typeName(GetParam().typed);
    person->press(Qt::Key_Return);
    EXPECT_EQ(local(GetParam().name), accepted());
    EXPECT_EQ(GetParam().name, person->typedName());
}

TEST_P(HDFSFileDialogExtension, IsSearchedForWhenAFileIsOpened)
{
    open(DialogModeOpen, "hdfs:/", GetParam().filter);
    person->typeName(GetParam().typed);
    hdfs->addFile(std::string("/") + GetParam().name);
    person->press(Qt::Key_Return);
    EXPECT_EQ(std::string("hdfs:/") + GetParam().name, accepted());
}

const Extension kExtensions[] = {
    {"CSV (*.csv)", "report", "report.csv"},
    {"CSV (*.csv)", "report.txt", "report.csv"},
    {"CSV (*.csv)", "report.csv", "report.csv"},
    {"CSV (*.csv)", "REPORT.CSV", "REPORT.CSV"},
    {"CSV (*.csv)", "a.b/c", "a.b/c.csv"},
    {"CSV (*.csv)", "a.b/c.d", "a.b/c.csv"},
    {"CSV (*.csv)", "a.b.c", "a.b.csv"},
    {"CSV (*.csv)", "report.", "report.csv"},
    {"CSV (*.csv)", ".profile", ".csv"},
    {"Tables (*.csv *.tsv)", "t", "t.csv"},
    {"Tables (*.csv *.tsv)", "t.tsv", "t.tsv"},
    {"Archives (*.tar.gz)", "t", "t.tar.gz"},
    {"Archives (*.tar.gz)", "t.tar", "t.tar.gz"},
    {"Parts (part-*.txt)", "x", "x.txt"},
    {"All Files (*.*)", "README", "README"},
    {"All Files (*.*)", "a.b", "a.b"},
    {"All Files (*)", "README", "README"},
    {"Parts (part-*)", "x.y", "x.y"},
    {"Profiles (.profile)", "x.y", "x.y"},
    {"No patterns ()", "x.y", "x.y"},
    {"", "README", "README"},
    {"CSV (*.csv);;Text (*.txt)", "report", "report.csv"},
};
INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogExtension, ::testing::ValuesIn(kExtensions));

TEST_F(HDFSFileDialogAccept, TheExtensionIsThatOfTheFilterThatWasChosen)
{
    open(DialogModeSave, local(), "CSV (*.csv);;Text (*.txt)");
    person->chooseFilter("Text (*.txt)");
    person->typeName("report.csv");
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("report.txt"), accepted());
}

// --- where a name is ---

struct Typed {
    const char *place;
    const char *typed;
    const char *path;
};

class HDFSFileDialogTyped : public HDFSFileDialogAccept, public ::testing::WithParamInterface<Typed>
{
};

TEST_P(HDFSFileDialogTyped, NamesAPath)
{
    hdfs->addDirectory("/d");
    open(DialogModeSave, GetParam().place);
    person->typeName(GetParam().typed);
    person->press(Qt::Key_Return);
    EXPECT_EQ(GetParam().path, accepted());
}

const Typed kTyped[] = {
    {"hdfs:/d", "new.txt", "hdfs:/d/new.txt"},
    {"hdfs:/", "new.txt", "hdfs:/new.txt"},
    {"hdfs:", "new.txt", "hdfs:/new.txt"},
    {"hdfs:/d", "hdfs:/new.txt", "hdfs:/new.txt"},
    {"hdfs:/d", "sub/new.txt", "hdfs:/d/sub/new.txt"},
    {"hdfs:/d", "D:/new.txt", "D:/new.txt"},
    {"hdfs:/d", "D:x", "D:x"},
    {"hdfs:/d", "D:", "hdfs:/d/D:"},
    {"", "hdfs:/new.txt", "hdfs:/new.txt"},
    {"", "D:/new.txt", "D:/new.txt"},
    {"", "new.txt", "/new.txt"},
    // only the prefix in small letters is HDFS's
    {"hdfs:/d", "HDFS:/new.txt", "hdfs:/d/HDFS:/new.txt"},
};
INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogTyped, ::testing::ValuesIn(kTyped));

TEST_F(HDFSFileDialogAccept, AnAbsoluteLocalPathIsTakenAsItIs)
{
    makeLocalDirectory("sub");
    open(DialogModeSave, local("sub"));
    person->typeName(QString::fromStdString(local("new.txt")));
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("new.txt"), accepted());
}

} // namespace
