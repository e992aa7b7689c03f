// What the dialog returns, and what it asks and refuses before it does.
#include "dialog/FileDialogTest.h"

#include <QtWidgets/QSpinBox>

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
    {1, 64, ""},    {3, 128, "|3|128"}, {3, 64, "|3"},         {1, 128, "||128"},
    {1, 1, "||1"},  {2, 63, "|2|63"},   {65535, 1000, "|65535|1000"},
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

} // namespace
