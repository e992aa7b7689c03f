// Names and texts that nobody would choose, and that are there all the same.
#include "dialog/FileDialogTest.h"

#include <QtCore/QElapsedTimer>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QLineEdit>

namespace {

class HDFSFileDialogBadInput : public FileDialogTest, public ::testing::WithParamInterface<const char *>
{
protected:
    std::string name() const { return GetParam(); }
    QString qtName() const { return QString::fromUtf8(GetParam()); }
};

const char *const kNames[] = {
    "<b>x<i>",
    "a&b",
    "%1 %2",
    "line\nfeed",
    "tab\there",
    "-rf",
    " leading and trailing ",
    "x|3|128",
    "\xe2\x80\xae"
    "txt.exe",
    "\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d",
    "\xe6\xb1\x89\xe5\xad\x97",
    "\xf0\x9f\x90\x98",
    "e\xcc\x81",
    "'quoted' \"twice\"",
    "back\\slash",
    "...",
    "a..b",
    "~",
    "*?[x]",
    // 255 bytes
    "1234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890"
    "1234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890"
    "1234567890123456789012345678901234567890123456789012345",
};
INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogBadInput, ::testing::ValuesIn(kNames));

TEST_P(HDFSFileDialogBadInput, ADirectoryOfThatNameIsShownEnteredAndLeft)
{
    hdfs->addDirectory("/" + name());
    hdfs->addFile("/" + name() + "/in.txt");
    for (const char *button : {"listModeButton", "detailModeButton"}) {
        open(DialogModeOpen, "hdfs:/");
        person->click(button);
        ASSERT_EQ(Texts{name()}, person->names());
        person->doubleClickOn(name());
        EXPECT_EQ("hdfs:/" + name(), person->place());
        EXPECT_EQ(Texts{"in.txt"}, person->names());
        person->openPlaces();
        EXPECT_EQ("hdfs:/" + name(), person->offeredPlaces().at(0));
        person->choosePlace(1);
        EXPECT_EQ("hdfs:/", person->place());
        person->click("backButton");
        EXPECT_EQ("hdfs:/" + name(), person->place());
    }
}

TEST_P(HDFSFileDialogBadInput, AFileOfThatNameIsChosenByItsRow)
{
    hdfs->addFile("/" + name());
    open(DialogModeOpen, "hdfs:/", "All (*)");
    ASSERT_EQ(Texts{name()}, person->names());
    person->doubleClickOn(name());
    EXPECT_EQ("hdfs:/" + name(), accepted());
}

TEST_P(HDFSFileDialogBadInput, QuestionsShowTheNameAsItIs)
{
    hdfs->addFile("/" + name(), 0444);
    open(DialogModeSave, "hdfs:/", "All (*)");
    person->clickOn(name());
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return);
    person->clickOn(name());
    person->willAnswer({DialogPerson::Yes, DialogPerson::Yes});
    person->press(Qt::Key_Delete);
    const std::vector<SeenBox> boxes = person->takeBoxes();
    ASSERT_EQ(3u, boxes.size());
    EXPECT_EQ("'hdfs:/" + name() + "' already exists.\nDo you want to replace it?", boxes[0].text);
    EXPECT_EQ("'" + name() + "' is write protected.\nDo you want to delete it anyway?", boxes[1].text);
    EXPECT_EQ("Are you sure you want to delete '" + name() + "'?", boxes[2].text);
    for (const SeenBox &box : boxes)
        EXPECT_FALSE(box.takesMarkup);
    EXPECT_FALSE(hdfs->has("/" + name()));
    EXPECT_EQ(Texts{}, person->names());
}

TEST_P(HDFSFileDialogBadInput, AWarningShowsTheNameAsItIs)
{
    hdfs->addDirectory("/d");
    for (DialogMode mode : {DialogModeOpen, DialogModeDirectory}) {
        open(mode, "hdfs:/d", "All (*)");
        person->pasteName("gone/" + qtName());
        const std::string typed = person->typedName();
        person->willAnswer({DialogPerson::ByEnter});
        person->press(Qt::Key_Return);
        const std::vector<SeenBox> boxes = person->takeBoxes();
        ASSERT_EQ(1u, boxes.size());
        EXPECT_EQ(0u, boxes[0].text.find("hdfs:/d/" + typed + "\n")) << boxes[0].text;
        EXPECT_FALSE(boxes[0].takesMarkup);
        EXPECT_TRUE(person->isOpen());
    }
}

TEST_P(HDFSFileDialogBadInput, AFailureIsLoggedWithTheNameAsItIs)
{
    hdfs->addFile("/" + name());
    hdfs->refuse("delete", "/" + name());
    open(DialogModeOpen, "hdfs:/", "All (*)");
    person->clickOn(name());
    person->willAnswer({DialogPerson::Yes});
    person->press(Qt::Key_Delete);
    EXPECT_TRUE(log.holds({"*", "Cannot delete '" + name() + "'"}));
}

TEST_P(HDFSFileDialogBadInput, AFileIsRenamedToThatNameAndBack)
{
    hdfs->addFile("/a.txt");
    open(DialogModeOpen, "hdfs:/", "All (*)");
    person->clickOn("a.txt");
    person->press(Qt::Key_F2);
    ASSERT_NE(nullptr, person->nameEditor());
    // What an editor of one line makes of the name is what is asked for.
    QLineEdit one;
    one.setText(qtName());
    const std::string typed = one.text().toStdString();
    person->nameEditor()->setText(qtName());
    hdfs->takeRequests();
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{"rename /a.txt /" + typed}, hdfs->takeRequests());
    EXPECT_EQ(Texts{typed}, person->names());
    person->press(Qt::Key_F2);
    ASSERT_NE(nullptr, person->nameEditor());
    person->nameEditor()->setText("b.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{"rename /" + typed + " /b.txt"}, hdfs->takeRequests());
    EXPECT_EQ(Texts{"b.txt"}, person->names());
}

TEST_P(HDFSFileDialogBadInput, ItIsTakenAsAFilterAndAsATitle)
{
    makeLocalFile("a.txt");
    open(DialogModeOpen, local(), name() + " (*.txt)");
    EXPECT_TRUE(person->isOpen());
    open(DialogModeOpen, local(), name());
    EXPECT_TRUE(person->isOpen());
    open(DialogModeOpen, name());
    EXPECT_TRUE(person->isOpen());
    person->press(Qt::Key_Escape);
    EXPECT_TRUE(isCancelled());
}

// --- long texts ---

class HDFSFileDialogLongText : public FileDialogTest
{
protected:
    const QString letters = QString(100000, QLatin1Char('x'));
    const QString slashes = QString(100000, QLatin1Char('/'));
    const QString dots = QString(100000, QLatin1Char('.'));
};

TEST_F(HDFSFileDialogLongText, IsPastedAndRefused)
{
    for (const QString &text : {letters, QLatin1String("a/") + dots, dots, slashes + letters}) {
        open(DialogModeOpen, local(), "CSV (*.csv)");
        QElapsedTimer timer;
        timer.start();
        person->pasteName(text);
        // The field takes 32767 characters.
        EXPECT_EQ(32767u, person->typedName().size());
        person->willAnswer({DialogPerson::ByEnter});
        person->press(Qt::Key_Return);
        EXPECT_TRUE(person->isOpen());
        EXPECT_EQ(1u, boxTexts().size());
        EXPECT_LT(timer.elapsed(), 10000);
    }
}

TEST_F(HDFSFileDialogLongText, OfHdfsIsTooLongForACallAndMissing)
{
    open(DialogModeOpen, "hdfs:/");
    hdfs->takeRequests();
    person->pasteName(QLatin1String("hdfs:/") + letters);
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ(1u, boxTexts().size());
    person->typeName("hdfs:/short");
    EXPECT_EQ("getFileInfo /short", hdfs->takeRequests().back());
}

TEST_F(HDFSFileDialogLongText, IsASelectionToOpenWith)
{
    for (const QString &text : {letters, slashes, dots, QLatin1String("hdfs:") + slashes,
                                QString(100000, QLatin1Char('|')), QLatin1String("|") + QString(1000, '9')}) {
        open(DialogModeSave, text.toStdString());
        EXPECT_TRUE(person->isOpen());
    }
}

TEST_F(HDFSFileDialogLongText, IsAFilter)
{
    open(DialogModeOpen, local(), (letters + " (*." + letters + ")").toStdString());
    person->typeName("a");
    EXPECT_TRUE(person->isOpen());
    open(DialogModeOpen, local(), QString(";;").repeated(1000).toStdString());
    EXPECT_TRUE(person->isOpen());
}

// --- long local paths ---

/// A directory whose path is longer than the 260 characters of Windows's own names.
class HDFSFileDialogLongPath : public FileDialogTest
{
protected:
    HDFSFileDialogLongPath() { makeLocalDirectory(deep); }

    const std::string deep = std::string(100, 'a') + "/" + std::string(100, 'b') + "/" + std::string(100, 'c');
};

TEST_F(HDFSFileDialogLongPath, IsEnteredAndAFileOfItChosen)
{
    makeLocalFile(deep + "/in.txt");
    open(DialogModeOpen, local(std::string(100, 'a') + "/" + std::string(100, 'b')));
    person->doubleClickOn(std::string(100, 'c'));
    EXPECT_EQ(local(deep), person->place());
    person->doubleClickOn("in.txt");
    EXPECT_EQ(local(deep + "/in.txt"), accepted());
    open(DialogModeOpen, local(deep + "/in.txt"));
    EXPECT_EQ(local(deep), person->place());
    EXPECT_EQ("in.txt", person->typedName());
    person->press(Qt::Key_Return);
    EXPECT_EQ(local(deep + "/in.txt"), accepted());
    open(DialogModeDirectory, local());
    person->pasteName(QString::fromStdString(local(deep)));
    person->press(Qt::Key_Return);
    EXPECT_EQ(local(deep), accepted());
}

TEST_F(HDFSFileDialogLongPath, WarnsOfWhatIsMissingAndOfWhatIsThere)
{
    makeLocalFile(deep + "/in.txt");
    open(DialogModeOpen, local(deep));
    person->pasteName(QString::fromStdString(local(deep + "/out.txt")));
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{local(deep + "/out.txt") + "\nFile not found.\nPlease verify the correct file name was given."},
              boxTexts());
    open(DialogModeSave, local(deep));
    person->typeName("in.txt");
    person->willAnswer({DialogPerson::Yes});
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{"'" + local(deep + "/in.txt") + "' already exists.\nDo you want to replace it?"}, boxTexts());
    EXPECT_EQ(local(deep + "/in.txt"), accepted());
}

TEST_F(HDFSFileDialogLongPath, TakesNewFoldersNewNamesAndDeletion)
{
    open(DialogModeOpen, local(deep));
    person->click("newFolderButton");
    ASSERT_NE(nullptr, person->nameEditor());
    EXPECT_TRUE(hasLocal(deep + "/New Folder"));
    person->nameEditor()->setText(QString(200, QLatin1Char('d')));
    person->press(Qt::Key_Return);
    EXPECT_TRUE(hasLocal(deep + "/" + std::string(200, 'd')));
    EXPECT_FALSE(hasLocal(deep + "/New Folder"));
    person->clickOn(std::string(200, 'd'));
    person->willAnswer({DialogPerson::Yes});
    person->press(Qt::Key_Delete);
    EXPECT_EQ(1u, boxTexts().size());
    EXPECT_FALSE(hasLocal(deep + "/" + std::string(200, 'd')));
    EXPECT_EQ(Texts{}, person->names());
    EXPECT_TRUE(log.holds({}));
}

} // namespace
