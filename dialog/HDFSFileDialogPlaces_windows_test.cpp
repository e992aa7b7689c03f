// Drives and shares in the dialog, those that are there and those that are not; nobody is asked for a disk.
#include "dialog/FileDialogTest.h"
#include "testing/LocalPlaces_windows.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>

#include <windows.h>

namespace {

const DWORD kNoQuestions = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;

class HDFSFileDialogPlaces : public FileDialogTest
{
protected:
    HDFSFileDialogPlaces() { ::SetThreadErrorMode(0, &m_outer); }
    ~HDFSFileDialogPlaces() override
    {
        close();
        ::SetThreadErrorMode(m_outer, nullptr);
    }

    bool isAskedForADisk() const { return ::GetThreadErrorMode() != kNoQuestions; }

private:
    DWORD m_outer = 0;
};

TEST_F(HDFSFileDialogPlaces, NobodyIsAskedForADiskWhileTheDialogLives)
{
    EXPECT_TRUE(isAskedForADisk());
    open(DialogModeOpen, local());
    EXPECT_FALSE(isAskedForADisk());
    person->willAnswer({DialogPerson::ByEnter});
    person->typeName("gone.txt");
    person->press(Qt::Key_Return);
    EXPECT_EQ(1u, boxTexts().size());
    EXPECT_FALSE(isAskedForADisk());
    person->press(Qt::Key_Escape);
    close();
    EXPECT_EQ(0u, ::GetThreadErrorMode());
}

TEST_F(HDFSFileDialogPlaces, NobodyIsAskedForADiskByTheFirstLookOfTheDialog)
{
    static DWORD mode;
    mode = 0;
    struct Looks {
        static NameNodeConnection *connect(QString *)
        {
            mode = ::GetThreadErrorMode();
            return nullptr;
        }
    };
    {
        const HDFSFileDialog own(nullptr, DialogModeOpen, QString(), QLatin1String("hdfs:/x"), QString(),
                                 &Looks::connect);
    }
    EXPECT_EQ(kNoQuestions, mode);
    EXPECT_EQ(0u, ::GetThreadErrorMode());
}

TEST_F(HDFSFileDialogPlaces, ADriveWithoutAMediumIsEnteredAndLeft)
{
    const DriveWithoutMedium drive;
    const std::string root = drive.path().toStdString();
    open(DialogModeOpen, "");
    for (const char *button : {"listModeButton", "detailModeButton"}) {
        person->click(button);
        person->doubleClickOn(root);
        EXPECT_EQ(root, person->place());
        EXPECT_EQ(Texts{}, person->names());
        person->click("newFolderButton");
        EXPECT_TRUE(log.takes({"Cannot create directory '" + root + "New Folder'"}));
        EXPECT_EQ(nullptr, person->nameEditor());
        person->press(Qt::Key_F5);
        person->click("toParentButton");
        EXPECT_EQ("My Computer", person->place());
    }
    EXPECT_EQ(Texts{}, boxTexts());
}

TEST_F(HDFSFileDialogPlaces, AFileOfADriveWithoutAMediumIsMissing)
{
    const DriveWithoutMedium drive;
    for (const char *name : {"x.txt", "below/x.txt"}) {
        const std::string path = drive.path().toStdString() + name;
        open(DialogModeOpen, path, "All (*)");
        person->willAnswer({DialogPerson::ByEnter});
        person->press(Qt::Key_Return);
        EXPECT_EQ(Texts{path + "\nFile not found.\nPlease verify the correct file name was given."}, boxTexts());
        EXPECT_TRUE(person->isOpen());
        person->willAnswer({DialogPerson::ByEnter});
        person->press(Qt::Key_Return, Qt::ControlModifier);
        EXPECT_EQ(1u, boxTexts().size());
        EXPECT_EQ(path, accepted());
        open(DialogModeSave, path, "All (*)");
        person->press(Qt::Key_Return);
        EXPECT_EQ(path, accepted());
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HDFSFileDialogPlaces, AFileOfAShareIsChosen)
{
    const Share share;
    const std::string place = share.path().toStdString();
    ASSERT_TRUE(QDir(share.path()).mkdir(QLatin1String("d")));
    QFile file(share.path() + QLatin1String("/d/a.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    for (const std::string &selection : {place, place + "/"}) {
        open(DialogModeOpen, selection);
        EXPECT_EQ(selection, person->place());
        person->doubleClickOn("d");
        EXPECT_EQ(place + "/d", person->place());
        person->doubleClickOn("a.txt");
        EXPECT_EQ(place + "/d/a.txt", accepted());
    }
    open(DialogModeOpen, place + "/d/a.txt");
    EXPECT_EQ(place + "/d", person->place());
    EXPECT_EQ("a.txt", person->typedName());
    person->press(Qt::Key_Return);
    EXPECT_EQ(place + "/d/a.txt", accepted());
    open(DialogModeDirectory, place + "/d");
    person->press(Qt::Key_Return);
    EXPECT_EQ(place + "/d", accepted());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HDFSFileDialogPlaces, AShareIsLeftForItsServerAndThatForTheComputer)
{
    const Share share;
    open(DialogModeOpen, share.path().toStdString());
    person->click("toParentButton");
    EXPECT_EQ(QFileInfo(share.path()).path().toStdString(), person->place());
    person->click("toParentButton");
    EXPECT_EQ("My Computer", person->place());
    EXPECT_EQ(Texts{}, boxTexts());
}

TEST_F(HDFSFileDialogPlaces, AShareThatIsNotThereIsAText)
{
    for (const std::string path :
         {"//quor-no-such-server/share/x.txt", "//quor-no-such-server/share", "//quor-no-such-server/a/b/c/x.txt"}) {
        SCOPED_TRACE(path);
        open(DialogModeOpen, path, "All (*)");
        EXPECT_EQ("My Computer", person->place());
        EXPECT_EQ(path, person->typedName());
        person->willAnswer({DialogPerson::ByEnter});
        person->press(Qt::Key_Return);
        EXPECT_EQ(Texts{path + "\nFile not found.\nPlease verify the correct file name was given."}, boxTexts());
        EXPECT_TRUE(person->isOpen());
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HDFSFileDialogPlaces, AShareThatIsTypedStandsBelowWhatIsShown)
{
    const Share share;
    open(DialogModeOpen, local(), "All (*)");
    person->pasteName(share.path());
    person->willAnswer({DialogPerson::ByEnter});
    person->press(Qt::Key_Return);
    EXPECT_EQ(Texts{local() + share.path().toStdString() +
                    "\nFile not found.\nPlease verify the correct file name was given."},
              boxTexts());
    open(DialogModeOpen, "", "All (*)");
    person->pasteName(share.path());
    person->press(Qt::Key_Return);
    EXPECT_EQ(share.path().toStdString(), person->place());
    EXPECT_EQ(Texts{}, boxTexts());
}

TEST_F(HDFSFileDialogPlaces, ADirectoryMayBeWrittenAsTheSystemWritesIt)
{
    const std::string deep = std::string(200, 'x') + "/" + std::string(200, 'y');
    for (const std::string &directory : {std::string("short"), deep}) {
        makeLocalDirectory(directory);
        makeLocalFile(directory + "/a.txt");
        const std::string native = QDir::toNativeSeparators(QString::fromStdString(local(directory))).toStdString();
        for (const std::string &written : {native, "\\\\?\\" + native}) {
            open(DialogModeOpen, written);
            EXPECT_EQ(written, person->place());
            person->doubleClickOn("a.txt");
            EXPECT_EQ(written + "/a.txt", accepted());
            EXPECT_TRUE(QFileInfo(dialog->selectedPath()).isFile());
        }
        // Only "/" has a parent before it: the text is that of a file, wherever the dialog stands.
        open(DialogModeOpen, native + "\\a.txt");
        EXPECT_EQ("My Computer", person->place());
        EXPECT_EQ(native + "\\a.txt", person->typedName());
        person->press(Qt::Key_Return);
        EXPECT_EQ(native + "\\a.txt", accepted());
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HDFSFileDialogPlaces, ATextThatIsNoPathOfWindowsIsMissing)
{
    makeLocalFile("a.txt");
    for (const char *name :
         {"x:y.txt", "a?", "a*", "<>", "//?/Q:/x", "//./Q:", "\\\\?\\Q:\\x", "nul/x", "1:/x", "::x"}) {
        SCOPED_TRACE(name);
        open(DialogModeOpen, local(), "All (*)");
        person->typeName(QString::fromLatin1(name));
        person->willAnswer({DialogPerson::ByEnter});
        person->press(Qt::Key_Return);
        EXPECT_EQ(1u, boxTexts().size());
        EXPECT_TRUE(person->isOpen());
    }
    EXPECT_TRUE(log.holds({}));
}

} // namespace
