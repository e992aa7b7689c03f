// A NameNode that is not there, that goes away, that refuses, breaks off or lies.
#include "dialog/FileDialogTest.h"

#include "rpc/NameNodeConnection.h"
#include "testing/NamespaceMessages.h"

#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QLineEdit>

namespace oracle = hadoop::oracle;

namespace {

const char kListed[] = "#ffffff";
const char kNotListed[] = "#ffc8c8";

class HDFSFileDialogFaults : public FileDialogTest
{
protected:
    /// In both views.
    void expectColour(const char *colour)
    {
        EXPECT_EQ(colour, person->viewColour());
        person->click("detailModeButton");
        EXPECT_EQ(colour, person->viewColour());
        person->click("listModeButton");
    }
};

// --- no connection ---

TEST_F(HDFSFileDialogFaults, WithoutAConnectionHdfsIsPaleRedAndEmpty)
{
    canConnect = false;
    open(DialogModeOpen, local());
    expectColour(kListed);
    person->clickBookmark("hdfs:/");
    EXPECT_EQ("hdfs:/", person->place());
    EXPECT_EQ(Texts{}, person->names());
    expectColour(kNotListed);
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ(Texts{}, boxTexts());
}

TEST_F(HDFSFileDialogFaults, WithoutAConnectionTheDialogStaysUsable)
{
    canConnect = false;
    makeLocalFile("a.txt");
    open(DialogModeOpen, "hdfs:/d/file.txt");
    EXPECT_EQ("My Computer", person->place());
    EXPECT_EQ("hdfs:/d/file.txt", person->typedName());
    person->clickBookmark("hdfs:/");
    person->click("toParentButton");
    EXPECT_EQ("My Computer", person->place());
    person->clickBookmark("hdfs:/");
    person->click("backButton");
    person->typeName(QString::fromStdString(local()));
    person->press(Qt::Key_Return);
    EXPECT_EQ(local(), person->place());
    expectColour(kListed);
    person->doubleClickOn("a.txt");
    EXPECT_EQ(local("a.txt"), accepted());
}

TEST_F(HDFSFileDialogFaults, AConnectionIsTriedForAgainAtEachAccess)
{
    canConnect = false;
    hdfs->addFile("/a.txt");
    open(DialogModeOpen, local());
    EXPECT_EQ(0, connects);
    person->clickBookmark("hdfs:/");
    EXPECT_EQ(1, connects);
    person->press(Qt::Key_F5);
    EXPECT_EQ(2, connects);
    canConnect = true;
    person->press(Qt::Key_F5);
    EXPECT_EQ(3, connects);
    expectColour(kListed);
    EXPECT_EQ(Texts{"a.txt"}, person->names());
    person->press(Qt::Key_F5);
    EXPECT_EQ(3, connects);
}

TEST_F(HDFSFileDialogFaults, NothingIsMadeWithoutAConnection)
{
    canConnect = false;
    open(DialogModeSave, local());
    person->clickBookmark("hdfs:/");
    person->click("newFolderButton");
    EXPECT_TRUE(log.takes({"Cannot create directory 'hdfs:/New Folder'"}));
    EXPECT_EQ(nullptr, person->nameEditor());
    expectColour(kNotListed);
    person->press(Qt::Key_Delete);
    EXPECT_EQ(Texts{}, boxTexts());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HDFSFileDialogFaults, ASaveIsTakenWithoutAConnection)
{
    canConnect = false;
    open(DialogModeSave, "hdfs:/|3|128");
    person->typeName("hdfs:/new.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ("hdfs:/new.txt|3|128", accepted());
}

TEST_F(HDFSFileDialogFaults, AnOpenWithoutAConnectionIsRefusedAsMissing)
{
    canConnect = false;
    open(DialogModeOpen, "");
    person->typeName("hdfs:/a.txt");
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return);
    EXPECT_EQ((Texts{"hdfs:/a.txt\nFile not found.\nPlease verify the correct file name was given."}), boxTexts());
    EXPECT_TRUE(person->isOpen());
}

TEST_F(HDFSFileDialogFaults, TheComputerLevelNeedsNoConnection)
{
    canConnect = false;
    open(DialogModeOpen, "");
    const QModelIndex root = person->indexOf("hdfs:/", 1);
    EXPECT_EQ("-1 bytes", root.data().toString().toStdString());
    EXPECT_EQ("-1 bytes", root.sibling(root.row(), 2).data().toString().toStdString());
    EXPECT_EQ(-1, root.sibling(root.row(), 3).data().toInt());
}

// --- it goes away ---

TEST_F(HDFSFileDialogFaults, ANameNodeThatIsGoneLeavesTheDialogUsable)
{
    makeLocalFile("a.txt");
    hdfs->addDirectory("/d");
    open(DialogModeOpen, "hdfs:/");
    EXPECT_EQ(Texts{"d"}, person->names());
    loseNameNode();
    person->doubleClickOn("d");
    // It cannot be told from a file any more, and is no file that could be opened.
    EXPECT_TRUE(person->isOpen());
    person->press(Qt::Key_F5);
    EXPECT_EQ(Texts{}, person->names());
    expectColour(kNotListed);
    person->clickBookmark("My Computer");
    person->typeName(QString::fromStdString(local("a.txt")));
    person->press(Qt::Key_Return);
    EXPECT_EQ(local("a.txt"), accepted());
}

TEST_F(HDFSFileDialogFaults, ANameNodeThatComesBackIsConnectedToAgain)
{
    hdfs->addFile("/a.txt");
    open(DialogModeOpen, "hdfs:/");
    EXPECT_EQ(1, connects);
    loseNameNode();
    person->press(Qt::Key_F5);
    expectColour(kNotListed);
    EXPECT_EQ(2, connects);
    nameNode.reset(new ScriptedNameNode);
    hdfs.reset(new ScriptedNamespace(nameNode.get()));
    hdfs->addFile("/b.txt");
    canConnect = true;
    person->press(Qt::Key_F5);
    EXPECT_EQ(3, connects);
    expectColour(kListed);
    EXPECT_EQ(Texts{"b.txt"}, person->names());
    person->press(Qt::Key_F5);
    EXPECT_EQ(3, connects);
}

TEST_F(HDFSFileDialogFaults, AConnectionThatWasClosedMeanwhileIsReplacedUnnoticed)
{
    hdfs->addFile("/a.txt");
    open(DialogModeOpen, "hdfs:/");
    const int port = nameNode->port();
    hdfs.reset();
    nameNode.reset();
    nameNode.reset(new ScriptedNameNode("127.0.0.1", port));
    hdfs.reset(new ScriptedNamespace(nameNode.get()));
    hdfs->addFile("/a.txt");
    hdfs->addFile("/b.txt");
    person->press(Qt::Key_F5);
    EXPECT_EQ(2, connects);
    EXPECT_EQ((Texts{"a.txt", "b.txt"}), person->names());
    expectColour(kListed);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HDFSFileDialogFaults, WhatIsAskedForWhileTheNameNodeIsGoneFailsAndIsLogged)
{
    hdfs->addDirectory("/d");
    hdfs->addFile("/a.txt");
    open(DialogModeOpen, "hdfs:/");
    loseNameNode();
    person->clickOn("a.txt");
    person->press(Qt::Key_F2);
    ASSERT_NE(nullptr, person->nameEditor());
    person->press(Qt::Key_A, Qt::ControlModifier);
    person->type("b.txt");
    person->press(Qt::Key_Return);
    EXPECT_TRUE(log.takes({"Cannot rename"}));
    EXPECT_EQ((Texts{"d", "a.txt"}), person->names());
    person->clickOn("d");
    person->willAnswer({DialogPerson::Yes});
    person->press(Qt::Key_Delete);
    EXPECT_TRUE(log.takes({"Cannot delete 'd'"}));
    EXPECT_EQ(1u, boxTexts().size());
    EXPECT_EQ(Texts{}, person->names());
    expectColour(kNotListed);
}

TEST_F(HDFSFileDialogFaults, ItsMenuOffersNoFolderWhenTheNameNodeIsGone)
{
    hdfs->addFile("/a.txt");
    open(DialogModeOpen, "hdfs:/");
    loseNameNode();
    person->willChoose("");
    person->rightClickOn("a.txt");
    EXPECT_EQ((Texts{"Rename", "Delete", "-", "(New Folder)"}), person->takeMenu());
}

// --- it refuses ---

TEST_F(HDFSFileDialogFaults, ADirectoryThatMayNotBeListedIsPaleRedAndCanBeLeft)
{
    hdfs->addDirectory("/secret", 0700, "other");
    hdfs->refuse("getListing", "/secret");
    open(DialogModeOpen, "hdfs:/");
    person->doubleClickOn("secret");
    EXPECT_EQ("hdfs:/secret", person->place());
    EXPECT_EQ(Texts{}, person->names());
    expectColour(kNotListed);
    EXPECT_EQ(1u, log.lines().size());
    // The connection is as good as before.
    person->click("backButton");
    EXPECT_EQ(Texts{"secret"}, person->names());
    expectColour(kListed);
    EXPECT_EQ(1, connects);
}

TEST_F(HDFSFileDialogFaults, AFailedListingIsWhiteAgainOnTheLocalDisk)
{
    hdfs->refuse("getListing", "/");
    makeLocalFile("a.txt");
    open(DialogModeOpen, local());
    person->clickBookmark("hdfs:/");
    expectColour(kNotListed);
    // The computer level leaves the colour as it is.
    person->clickBookmark("My Computer");
    expectColour(kNotListed);
    person->click("backButton");
    person->click("backButton");
    EXPECT_EQ(local(), person->place());
    expectColour(kListed);
}

// --- it lies ---

TEST_F(HDFSFileDialogFaults, ANameNodeThatHasEveryNameDoesNotKeepNewFolderAsking)
{
    nameNode->forget("getFileInfo");
    nameNode->answer("getFileInfo", fileInfoOf(oracle::HdfsFileStatusProto::IS_DIR));
    open(DialogModeOpen, "hdfs:/");
    hdfs->takeRequests();
    person->click("newFolderButton");
    const Texts requests = hdfs->takeRequests();
    EXPECT_EQ(9999u, requests.size());
    EXPECT_EQ("getFileInfo /New Folder(9999)", requests.back());
    EXPECT_TRUE(log.holds({"Cannot create directory 'hdfs:/New Folder'"}));
    EXPECT_EQ(nullptr, person->nameEditor());
    EXPECT_TRUE(person->isOpen());
}

TEST_F(HDFSFileDialogFaults, AListingThatIsAFileStatusOfNoKindIsShownAsItCame)
{
    oracle::GetListingResponseProto page;
    for (const char *name : {"", "/", "..", "a/b"})
        *page.mutable_dirlist()->add_partiallisting() = fileStatus(name);
    page.mutable_dirlist()->set_remainingentries(0);
    nameNode->forget("getListing");
    nameNode->answer("getListing", page);
    open(DialogModeOpen, "hdfs:/", "All (*)");
    for (int row = 0; row < person->view()->model()->rowCount(); ++row) {
        person->view()->setCurrentIndex(person->view()->model()->index(row, 0));
        DialogPerson::settle();
    }
    EXPECT_TRUE(person->isOpen());
}

TEST_F(HDFSFileDialogFaults, AFileThatIsSaidToBeADirectoryIsEnteredAndNothingElse)
{
    hdfs->addFile("/a.txt");
    open(DialogModeOpen, "hdfs:/");
    hdfs->addDirectory("/a.txt");
    person->doubleClickOn("a.txt");
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ("hdfs:/a.txt", person->place());
}

TEST_F(HDFSFileDialogFaults, ADirectoryThatWasReplacedByAFileIsNotEntered)
{
    hdfs->addDirectory("/a.d");
    open(DialogModeOpen, "hdfs:/");
    hdfs->addFile("/a.d");
    person->doubleClickOn("a.d");
    EXPECT_TRUE(person->isOpen());
    EXPECT_EQ("hdfs:/", person->place());
    person->press(Qt::Key_F5);
    person->doubleClickOn("a.d");
    EXPECT_EQ("hdfs:/a.d", accepted());
}

// --- the host loses patience ---

/// What somebody is asked, and the host deletes the dialog meanwhile.
class HDFSFileDialogInterrupted : public HDFSFileDialogFaults
{
protected:
    HDFSFileDialogInterrupted()
    {
        hdfs->addFile("/a.txt");
        hdfs->addFile("/b.txt", 0444);
    }

    void openToBeInterrupted(DialogMode mode, const std::string &selection)
    {
        open(mode, selection);
        person->willBeInterrupted([this] { dialog.reset(); });
        hdfs->takeRequests();
    }

    void expectNothingElse()
    {
        EXPECT_EQ(nullptr, dialog);
        for (const std::string &request : hdfs->takeRequests())
            EXPECT_EQ(0u, request.find("getFileInfo")) << request;
        EXPECT_TRUE(log.holds({}));
        person.reset();
    }
};

TEST_F(HDFSFileDialogInterrupted, WhileItAsksWhetherToReplace)
{
    openToBeInterrupted(DialogModeSave, "hdfs:/a.txt");
    person->press(Qt::Key_Return);
    expectNothingElse();
}

TEST_F(HDFSFileDialogInterrupted, WhileItWarnsOfAMissingFile)
{
    openToBeInterrupted(DialogModeOpen, "hdfs:/gone.txt");
    person->press(Qt::Key_Return);
    expectNothingElse();
}

TEST_F(HDFSFileDialogInterrupted, WhileItWarnsOfAMissingDirectory)
{
    openToBeInterrupted(DialogModeDirectory, "hdfs:/gone.txt");
    person->press(Qt::Key_Return);
    expectNothingElse();
}

TEST_F(HDFSFileDialogInterrupted, WhileItAsksWhetherToDelete)
{
    for (const char *name : {"a.txt", "b.txt"}) {
        open(DialogModeOpen, "hdfs:/");
        person->clickOn(name);
        person->willBeInterrupted([this] { dialog.reset(); });
        hdfs->takeRequests();
        person->press(Qt::Key_Delete);
        expectNothingElse();
    }
}

TEST_F(HDFSFileDialogInterrupted, WhileItsMenuIsOpen)
{
    open(DialogModeOpen, "hdfs:/");
    person->clickOn("a.txt");
    person->willBeInterrupted([this] { dialog.reset(); });
    hdfs->takeRequests();
    person->pressContextMenuKey();
    expectNothingElse();
}

// --- it breaks off ---

/// What a dialog asks for while it opens and the user enters a directory.
class HDFSFileDialogBreaks : public HDFSFileDialogFaults
{
protected:
    HDFSFileDialogBreaks()
    {
        hdfs->addDirectory("/d");
        hdfs->addFile("/d/some.txt");
        hdfs->addFile("/d/more.txt");
    }

    void lookAround()
    {
        open(DialogModeOpen, "hdfs:/d");
        person->press(Qt::Key_F5);
        person->click("toParentButton");
        EXPECT_TRUE(person->isOpen());
    }

    /// Everything that the NameNode says in it.
    std::size_t sentBytes()
    {
        lookAround();
        const std::size_t size = nameNode->peer().sent().size();
        close();
        return size;
    }
};

TEST_F(HDFSFileDialogBreaks, TheDialogLivesWhereverTheNameNodeBreaksOff)
{
    const std::size_t size = sentBytes();
    ASSERT_GT(size, 100u);
    for (std::size_t position = 0; position < size; position += 5) {
        SCOPED_TRACE(position);
        const bool isReset = position % 2;
        // The first connection of this dialog; another one comes after it.
        const int connection = static_cast<int>(nameNode->peer().connectionCount());
        nameNode->peer().setSendFault(isReset ? Fault::resetAt(position) : Fault::closeAt(position), connection);
        lookAround();
        // What is asked for next is answered, by the second connection.
        person->press(Qt::Key_F5);
        EXPECT_EQ(2, static_cast<int>(nameNode->peer().connectionCount()) - connection);
        if (person->place() != "My Computer") {
            EXPECT_EQ(Texts{"d"}, person->names());
            expectColour(kListed);
        }
        close();
    }
}

TEST_F(HDFSFileDialogBreaks, TheDialogLivesWhicheverByteOfAListingIsChanged)
{
    oracle::GetListingResponseProto page = listingPage({"some.txt", "more.txt"}, 0);
    addNewerFields(page.mutable_dirlist()->mutable_partiallisting(0));
    const std::string listing = page.SerializeAsString();
    open(DialogModeOpen, "hdfs:/d");
    nameNode->forget("getListing");
    std::size_t position = 0;
    unsigned char mask = 0;
    nameNode->respond("getListing", [&](ScriptedConnection &connection, const NameNodeCall &call) {
        std::string changed = listing;
        changed[position] ^= static_cast<char>(mask);
        connection.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), lengthDelimited(changed)));
    });
    for (; position < listing.size(); ++position) {
        for (unsigned char bits : {0x01, 0x80, 0xff}) {
            SCOPED_TRACE(position);
            mask = bits;
            person->press(Qt::Key_F5);
            EXPECT_TRUE(person->isOpen());
            EXPECT_LE(person->names().size(), 4u);
        }
    }
    mask = 0;
    position = 0;
    person->press(Qt::Key_F5);
    EXPECT_EQ((Texts{"more.txt", "some.txt"}), person->names());
    expectColour(kListed);
}

} // namespace
