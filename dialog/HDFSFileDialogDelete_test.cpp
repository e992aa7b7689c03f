// Deleting, and the menu that offers it.
#include "dialog/FileDialogTest.h"

#include <QtCore/QFile>
#include <QtCore/QItemSelectionModel>
#include <QtWidgets/QAbstractItemView>

namespace {

/// In both views.
class HDFSFileDialogDelete : public FileDialogTest, public ::testing::WithParamInterface<const char *>
{
protected:
    void openIn(DialogMode mode, const std::string &selection)
    {
        open(mode, selection);
        person->click(GetParam());
    }

    static std::string sure(const std::string &name) { return "Are you sure you want to delete '" + name + "'?"; }
    static std::string isProtected(const std::string &name)
    {
        return "'" + name + "' is write protected.\nDo you want to delete it anyway?";
    }

    /// Both views let one row be selected; the dialog takes several all the same.
    void select(const Texts &names)
    {
        QItemSelectionModel *const selection = person->view()->selectionModel();
        selection->clear();
        for (const std::string &name : names)
            selection->select(person->indexOf(name), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        person->view()->setFocus();
    }
};

INSTANTIATE_TEST_SUITE_P(All, HDFSFileDialogDelete, ::testing::Values("listModeButton", "detailModeButton"));

const DialogPerson::Answer kYes = DialogPerson::Yes;
const DialogPerson::Answer kNo = DialogPerson::ByEnter;

// --- the Delete key ---

TEST_P(HDFSFileDialogDelete, TheDeleteKeyDeletesAfterYes)
{
    hdfs->addDirectory("/d");
    hdfs->addFile("/d/a.txt");
    hdfs->addFile("/d/b.txt");
    openIn(DialogModeOpen, "hdfs:/d");
    person->clickOn("a.txt");
    hdfs->takeRequests();
    person->willAnswer({kYes});
    person->press(Qt::Key_Delete);
    const std::vector<SeenBox> boxes = person->takeBoxes();
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ("Delete", boxes[0].title);
    EXPECT_EQ(sure("a.txt"), boxes[0].text);
    EXPECT_EQ("Yes,[No]", boxes[0].buttons);
    EXPECT_EQ((Texts{"delete /d/a.txt", "getListing /d"}), hdfs->takeRequests());
    EXPECT_EQ(Texts{"b.txt"}, person->names());
    EXPECT_TRUE(person->isOpen());
    EXPECT_TRUE(log.holds({}));
}

TEST_P(HDFSFileDialogDelete, NothingIsDeletedByTheEnterOrEscapeKey)
{
    hdfs->addFile("/a.txt");
    openIn(DialogModeOpen, "hdfs:/");
    for (DialogPerson::Answer no : {DialogPerson::ByEnter, DialogPerson::ByEscape}) {
        person->clickOn("a.txt");
        hdfs->takeRequests();
        person->willAnswer({no});
        person->press(Qt::Key_Delete);
        EXPECT_EQ(Texts{sure("a.txt")}, boxTexts());
        // The directory is listed again all the same.
        EXPECT_EQ(Texts{"getListing /"}, hdfs->takeRequests());
        EXPECT_EQ(Texts{"a.txt"}, person->names());
    }
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogDelete, ALocalDirectoryIsDeletedWhenItIsEmpty)
{
    makeLocalDirectory("empty");
    openIn(DialogModeOpen, local());
    person->clickOn("empty");
    person->willAnswer({kYes});
    person->press(Qt::Key_Delete);
    EXPECT_EQ(Texts{sure("empty")}, boxTexts());
    EXPECT_FALSE(hasLocal("empty"));
    EXPECT_EQ(Texts{}, person->names());
    EXPECT_TRUE(log.holds({}));
}

TEST_P(HDFSFileDialogDelete, LocalFilesAndFullDirectoriesStay)
{
    makeLocalDirectory("full/sub");
    makeLocalFile("file.txt");
    openIn(DialogModeOpen, local());
    person->clickOn("full");
    person->willAnswer({kYes});
    person->press(Qt::Key_Delete);
    EXPECT_TRUE(log.takes({"Cannot delete 'full'"}));
    person->clickOn("file.txt");
    person->willAnswer({kYes});
    person->press(Qt::Key_Delete);
    EXPECT_TRUE(log.takes({"Cannot delete 'file.txt'"}));
    EXPECT_TRUE(hasLocal("full/sub"));
    EXPECT_TRUE(hasLocal("file.txt"));
    EXPECT_EQ((Texts{"full", "file.txt"}), person->names());
    EXPECT_EQ((Texts{sure("full"), sure("file.txt")}), boxTexts());
}

TEST_P(HDFSFileDialogDelete, ADirectoryOfHdfsThatIsNotEmptyStays)
{
    hdfs->addDirectory("/full");
    hdfs->addFile("/full/x.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("full");
    hdfs->takeRequests();
    person->willAnswer({kYes});
    person->press(Qt::Key_Delete);
    boxTexts();
    EXPECT_EQ((Texts{"delete /full", "getListing /"}), hdfs->takeRequests());
    EXPECT_TRUE(log.holds({"*", "Cannot delete 'full'"}));
    EXPECT_EQ(Texts{"full"}, person->names());
}

TEST_P(HDFSFileDialogDelete, WithoutAnythingCurrentNothingIsAsked)
{
    hdfs->addFile("/a.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->view()->setFocus();
    person->view()->selectionModel()->clear();
    hdfs->takeRequests();
    person->press(Qt::Key_Delete);
    EXPECT_EQ(Texts{"getListing /"}, hdfs->takeRequests());
    EXPECT_EQ(Texts{}, boxTexts());
}

TEST_P(HDFSFileDialogDelete, TheCurrentItemCountsWhereNothingIsSelected)
{
    hdfs->addFile("/a.txt");
    hdfs->addFile("/b.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->view()->setFocus();
    person->view()->selectionModel()->setCurrentIndex(person->indexOf("b.txt"), QItemSelectionModel::NoUpdate);
    EXPECT_EQ(Texts{}, person->selectedNames());
    person->willAnswer({kYes});
    person->press(Qt::Key_Delete);
    EXPECT_EQ(Texts{sure("b.txt")}, boxTexts());
    EXPECT_EQ(Texts{"a.txt"}, person->names());
}

// --- what is write protected ---

TEST_P(HDFSFileDialogDelete, WhatIsWriteProtectedIsAskedForTwice)
{
    hdfs->addFile("/locked.txt", 0555);
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("locked.txt");
    person->willAnswer({kYes, kYes});
    person->press(Qt::Key_Delete);
    const std::vector<SeenBox> boxes = person->takeBoxes();
    ASSERT_EQ(2u, boxes.size());
    EXPECT_EQ("Delete", boxes[0].title);
    EXPECT_EQ(isProtected("locked.txt"), boxes[0].text);
    EXPECT_EQ("Yes,[No]", boxes[0].buttons);
    EXPECT_EQ("Delete", boxes[1].title);
    EXPECT_EQ(sure("locked.txt"), boxes[1].text);
    EXPECT_EQ(Texts{}, person->names());
}

TEST_P(HDFSFileDialogDelete, EachNoKeepsWhatIsWriteProtected)
{
    hdfs->addFile("/locked.txt", 0444);
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("locked.txt");
    person->willAnswer({kNo});
    person->press(Qt::Key_Delete);
    EXPECT_EQ(Texts{isProtected("locked.txt")}, boxTexts());
    person->clickOn("locked.txt");
    person->willAnswer({kYes, kNo});
    person->press(Qt::Key_Delete);
    EXPECT_EQ((Texts{isProtected("locked.txt"), sure("locked.txt")}), boxTexts());
    EXPECT_EQ(Texts{"locked.txt"}, person->names());
    EXPECT_TRUE(hdfs->has("/locked.txt"));
}

TEST_P(HDFSFileDialogDelete, OneBitForWritingIsEnough)
{
    for (unsigned mode : {0200u, 0020u, 0002u}) {
        hdfs->addFile("/a.txt", mode);
        openIn(DialogModeOpen, "hdfs:/");
        person->clickOn("a.txt");
        person->willAnswer({kNo});
        person->press(Qt::Key_Delete);
        EXPECT_EQ(Texts{sure("a.txt")}, boxTexts()) << mode;
    }
}

// --- several ---

TEST_P(HDFSFileDialogDelete, SeveralAreAskedForFromTheLastToTheFirst)
{
    for (const char *name : {"a.txt", "b.txt", "c.txt", "d.txt"})
        hdfs->addFile(std::string("/") + name);
    openIn(DialogModeOpen, "hdfs:/");
    select({"a.txt", "c.txt", "d.txt"});
    hdfs->takeRequests();
    person->willAnswer({kYes, kNo, kYes});
    person->press(Qt::Key_Delete);
    EXPECT_EQ((Texts{sure("d.txt"), sure("c.txt"), sure("a.txt")}), boxTexts());
    EXPECT_EQ((Texts{"delete /d.txt", "delete /a.txt", "getListing /"}), hdfs->takeRequests());
    EXPECT_EQ((Texts{"b.txt", "c.txt"}), person->names());
}

TEST_P(HDFSFileDialogDelete, AfterAFailureTheOthersFollow)
{
    for (const char *name : {"a.txt", "b.txt", "c.txt"})
        hdfs->addFile(std::string("/") + name);
    hdfs->refuse("delete", "/b.txt");
    hdfs->refuse("delete", "/c.txt");
    openIn(DialogModeOpen, "hdfs:/");
    select({"a.txt", "b.txt", "c.txt"});
    person->willAnswer({kYes, kYes, kYes});
    person->press(Qt::Key_Delete);
    boxTexts();
    EXPECT_TRUE(log.holds({"*", "Cannot delete 'c.txt'", "*", "Cannot delete 'b.txt'"}));
    EXPECT_EQ((Texts{"b.txt", "c.txt"}), person->names());
}

TEST_P(HDFSFileDialogDelete, RowsAreThoseOfTheOrderThatIsShown)
{
    for (const char *name : {"a.txt", "b.txt", "c.txt"})
        hdfs->addFile(std::string("/") + name);
    open(DialogModeOpen, "hdfs:/");
    person->click("detailModeButton");
    person->clickHeader(0);
    person->click(GetParam());
    ASSERT_EQ((Texts{"c.txt", "b.txt", "a.txt"}), person->names());
    select({"c.txt", "a.txt"});
    person->willAnswer({kYes, kYes});
    person->press(Qt::Key_Delete);
    EXPECT_EQ((Texts{sure("a.txt"), sure("c.txt")}), boxTexts());
    EXPECT_EQ(Texts{"b.txt"}, person->names());
}

TEST_P(HDFSFileDialogDelete, NothingElseBecomesCurrentOrChosen)
{
    for (const char *name : {"/a.csv", "/b.csv", "/c.csv"})
        hdfs->addFile(name);
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("b.csv");
    person->willAnswer({kYes});
    person->press(Qt::Key_Delete);
    EXPECT_EQ("", person->currentName());
    person->press(Qt::Key_Return);
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ("b.csv", person->typedName());
    // The arrows begin at the first.
    person->press(Qt::Key_Down);
    EXPECT_EQ("a.csv", person->currentName());
}

TEST_P(HDFSFileDialogDelete, WhatHasNoProperNameIsNotDeleted)
{
    hdfs->addDirectory("/d");
    hdfs->addFile("/d/..");
    openIn(DialogModeOpen, "hdfs:/d");
    hdfs->takeRequests();
    person->view()->setFocus();
    person->view()->setCurrentIndex(person->view()->model()->index(0, 0));
    person->press(Qt::Key_Delete);
    EXPECT_EQ(Texts{"getListing /d"}, hdfs->takeRequests());
    EXPECT_TRUE(log.holds({"Cannot delete '..'"}));
}

TEST_P(HDFSFileDialogDelete, ADriveIsNotDeleted)
{
    hdfs->addFile("/a.csv");
    openIn(DialogModeOpen, "");
    hdfs->takeRequests();
    person->clickOn("hdfs:/");
    person->press(Qt::Key_Delete);
    for (const std::string &request : hdfs->takeRequests())
        EXPECT_EQ(std::string::npos, request.find("delete")) << request;
    EXPECT_TRUE(log.holds({"Cannot delete 'hdfs:/'"}));
}

// --- the context menu ---

TEST_P(HDFSFileDialogDelete, TheMenuOfAnItemOffersAllThree)
{
    hdfs->addFile("/a.txt");
    openIn(DialogModeOpen, "hdfs:/");
    hdfs->takeRequests();
    person->willChoose("");
    person->rightClickOn("a.txt");
    EXPECT_EQ((Texts{"Rename", "Delete", "-", "New Folder"}), person->takeMenu());
    EXPECT_EQ(Texts{"getFileInfo /"}, hdfs->takeRequests());
    EXPECT_EQ("a.txt", person->currentName());
    EXPECT_TRUE(person->isOpen());
}

TEST_P(HDFSFileDialogDelete, TheMenuOfAnItemThatCannotBeWrittenOffersNewFolderOnly)
{
    hdfs->addFile("/other.txt", 0755, "other");
    hdfs->addDirectory("/dir", 0555, "tester");
    hdfs->addFile("/mine.txt", 0200, "tester");
    openIn(DialogModeOpen, "hdfs:/");
    for (const char *name : {"other.txt", "dir"}) {
        person->willChoose("");
        person->rightClickOn(name);
        EXPECT_EQ((Texts{"(Rename)", "(Delete)", "-", "New Folder"}), person->takeMenu()) << name;
    }
    person->willChoose("");
    person->rightClickOn("mine.txt");
    EXPECT_EQ((Texts{"Rename", "Delete", "-", "New Folder"}), person->takeMenu());
}

TEST_P(HDFSFileDialogDelete, TheMenuInADirectoryThatCannotBeWrittenOffersNoFolder)
{
    hdfs->addDirectory("/d", 0555);
    hdfs->addFile("/d/a.txt");
    openIn(DialogModeOpen, "hdfs:/d");
    person->willChoose("");
    person->rightClickOn("a.txt");
    EXPECT_EQ((Texts{"Rename", "Delete", "-", "(New Folder)"}), person->takeMenu());
    // Any write bit will do, whoever it is for.
    for (unsigned mode : {0200u, 0020u, 0002u}) {
        hdfs->addDirectory("/d", mode, "other");
        person->willChoose("");
        person->rightClickOn("a.txt");
        EXPECT_EQ((Texts{"Rename", "Delete", "-", "New Folder"}), person->takeMenu());
    }
}

TEST_P(HDFSFileDialogDelete, TheMenuOfALocalItemTestsTheSameBitsOfTheFlagsOfQt)
{
    const QFile::Permissions ownersOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    makeLocalDirectory("sub");
    makeLocalFile("sub/a.txt");
    for (QFile::Permissions permissions : {ownersOnly, ownersOnly | QFile::ReadGroup | QFile::ExeGroup}) {
        ASSERT_TRUE(QFile::setPermissions(QString::fromStdString(local("sub")), permissions));
        const bool anyBit = QFile::permissions(QString::fromStdString(local("sub"))) & 0222;
        openIn(DialogModeOpen, local("sub"));
        person->willChoose("");
        person->rightClickOn("a.txt");
        EXPECT_EQ((Texts{"Rename", "Delete", "-", anyBit ? "New Folder" : "(New Folder)"}), person->takeMenu());
    }
}

TEST_P(HDFSFileDialogDelete, TheMenuOfNothingIsEmpty)
{
    hdfs->addFile("/a.txt");
    openIn(DialogModeOpen, "hdfs:/");
    hdfs->takeRequests();
    person->willChoose("");
    person->rightClickOnNothing();
    EXPECT_EQ(1, person->menusSeen());
    EXPECT_EQ(Texts{}, person->takeMenu());
    EXPECT_EQ(Texts{}, hdfs->takeRequests());
}

TEST_P(HDFSFileDialogDelete, TheMenuDeletes)
{
    hdfs->addFile("/a.txt");
    hdfs->addFile("/b.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("a.txt");
    person->willChoose("Delete");
    person->willAnswer({kYes});
    person->rightClickOn("b.txt");
    EXPECT_EQ(Texts{sure("b.txt")}, boxTexts());
    EXPECT_EQ(Texts{"a.txt"}, person->names());
}

TEST_P(HDFSFileDialogDelete, TheMenuRenames)
{
    hdfs->addFile("/a.txt");
    hdfs->addFile("/b.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->willChoose("Rename");
    person->rightClickOn("b.txt");
    ASSERT_NE(nullptr, person->nameEditor());
    person->press(Qt::Key_A, Qt::ControlModifier);
    person->type("c.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ((Texts{"a.txt", "c.txt"}), person->names());
    EXPECT_TRUE(hdfs->has("/c.txt"));
}

TEST_P(HDFSFileDialogDelete, TheMenuMakesAFolder)
{
    hdfs->addFile("/a.txt");
    openIn(DialogModeOpen, "hdfs:/");
    person->willChoose("New Folder");
    person->rightClickOn("a.txt");
    ASSERT_NE(nullptr, person->nameEditor());
    person->type("made");
    person->press(Qt::Key_Return);
    EXPECT_TRUE(hdfs->has("/made"));
    EXPECT_EQ((Texts{"made", "a.txt"}), person->names());
}

TEST_P(HDFSFileDialogDelete, TheMenusKeyOpensItForTheCurrentItem)
{
    hdfs->addFile("/a.txt");
    hdfs->addFile("/b.txt", 0444);
    openIn(DialogModeOpen, "hdfs:/");
    person->clickOn("b.txt");
    person->willChoose("");
    person->pressContextMenuKey();
    EXPECT_EQ((Texts{"(Rename)", "(Delete)", "-", "New Folder"}), person->takeMenu());
}

TEST_P(HDFSFileDialogDelete, KeysWorkAfterAMenuThatOfferedNothing)
{
    hdfs->addFile("/locked.txt", 0444);
    openIn(DialogModeOpen, "hdfs:/");
    person->willChoose("");
    person->rightClickOn("locked.txt");
    EXPECT_EQ("(Delete)", person->takeMenu().at(1));
    person->willAnswer({kNo});
    person->press(Qt::Key_Delete);
    EXPECT_EQ(Texts{isProtected("locked.txt")}, boxTexts());
}

TEST_P(HDFSFileDialogDelete, TheMenuAtTheComputer)
{
    openIn(DialogModeOpen, "");
    person->willChoose("");
    person->rightClickOn("hdfs:/");
    EXPECT_EQ((Texts{"Rename", "Delete", "-", "(New Folder)"}), person->takeMenu());
}

} // namespace
