// Which dialog the host's three file-choosing operations show, and what comes back from it.
#include "plugin/FileDialogs.h"

#include "dialog/HDFSFileDialog.h"
#include "platform/NativeFileDialog.h"
#include "testing/LogCapture.h"

#include <gtest/gtest.h>

#include <QtCore/QPointer>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtTest/QTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListView>
#include <QtWidgets/QPushButton>

#include <functional>

namespace {

/// What reached the operating system's dialogs, each call as one line, and what they answer.
QStringList nativeCalls;
const char kNativeAnswer[] = "/chosen/in/the/native/one";

QString noteCall(const char *name, QWidget *parent, const QStringList &texts)
{
    nativeCalls.append(QString("%1 %2 %3").arg(name, parent ? parent->objectName() : "-", texts.join("|")));
    return kNativeAnswer;
}

QString nativeOpen(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return noteCall("open", parent, QStringList() << caption << directory << filter);
}

QString nativeSave(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return noteCall("save", parent, QStringList() << caption << directory << filter);
}

QString nativeDirectory(QWidget *parent, const QString &caption, const QString &directory)
{
    return noteCall("directory", parent, QStringList() << caption << directory);
}

void setDefaultBrowser(const QString &value)
{
    QSettings settings("Quor", "Marrowby");
    if (value.isNull())
        settings.remove("defaultBrowser");
    else
        settings.setValue("defaultBrowser", value);
}

HDFSFileDialog *dialogOnScreen()
{
    return qobject_cast<HDFSFileDialog *>(QApplication::activeModalWidget());
}

class FileDialogs : public ::testing::Test
{
protected:
    FileDialogs()
        : before(
              platform::replaceNativeFileDialogs(platform::NativeFileDialogs{nativeOpen, nativeSave, nativeDirectory})),
          dialogsShown(0)
    {
        nativeCalls.clear();
        setDefaultBrowser(QString());
        parent.setObjectName("parent");
        // Also after a test that failed in the middle.
        holdControl(false);
    }
    ~FileDialogs()
    {
        holdControl(false);
        platform::replaceNativeFileDialogs(before);
        setDefaultBrowser(QString());
        EXPECT_FALSE(dialogOnScreen());
        EXPECT_FALSE(lastDialog) << "a dialog was left behind";
    }

    void holdControl(bool held)
    {
        if (held)
            QTest::keyPress(&parent, Qt::Key_Control, Qt::ControlModifier);
        else
            QTest::keyRelease(&parent, Qt::Key_Control);
        keyboardIs(held ? Qt::ControlModifier : Qt::NoModifier);
    }

    /// What QApplication::keyboardModifiers says follows the keys of the display, or of QTest's events to a window.
    void keyboardIs(Qt::KeyboardModifiers modifiers) { ASSERT_EQ(modifiers, QApplication::keyboardModifiers()); }

    /// Does something to the own dialog once it is on the screen.
    void onceShown(const std::function<void(HDFSFileDialog *)> &action)
    {
        QTimer::singleShot(0, &parent, [this, action] {
            HDFSFileDialog *const dialog = dialogOnScreen();
            ASSERT_TRUE(dialog);
            ++dialogsShown;
            lastDialog = dialog;
            action(dialog);
        });
    }

    /// Where the dialogs open, with one file.
    QString localDirectory()
    {
        QFile file(directory.filePath("data.csv"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return directory.path();
    }

    LogCapture log;
    QTemporaryDir directory;
    QWidget parent;
    const platform::NativeFileDialogs before;
    QPointer<HDFSFileDialog> lastDialog;
    int dialogsShown;
};

TEST_F(FileDialogs, AreTheSystemsOwnUnlessTheSettingBeginsWithTheLetterA)
{
    for (const char *value : {"", "native", "b", "hdfs", " a", "1", "Ä", "|a"}) {
        SCOPED_TRACE(value);
        setDefaultBrowser(QString::fromUtf8(value));
        nativeCalls.clear();
        EXPECT_EQ(QString(kNativeAnswer), chooseFileToOpen(&parent, "Pick", "/x", "F (*.f)"));
        EXPECT_EQ(QStringList("open parent Pick|/x|F (*.f)"), nativeCalls);
    }
    setDefaultBrowser(QString());
    nativeCalls.clear();
    EXPECT_EQ(QString(kNativeAnswer), chooseFileToSave(&parent, "Keep", "/y", "G (*.g)"));
    EXPECT_EQ(QString(kNativeAnswer), chooseDirectory(nullptr, "Where", "/z"));
    EXPECT_EQ(QStringList() << "save parent Keep|/y|G (*.g)"
                            << "directory - Where|/z",
              nativeCalls);
    EXPECT_EQ(0, dialogsShown);
}

TEST_F(FileDialogs, AreTheOwnOneWhenTheSettingBeginsWithTheLetterA)
{
    for (const char *value : {"a", "A", "all", "Any,thing", "apple"}) {
        SCOPED_TRACE(value);
        setDefaultBrowser(value);
        onceShown([](HDFSFileDialog *dialog) { dialog->reject(); });
        EXPECT_EQ(QString(), chooseFileToOpen(&parent, "Pick", localDirectory(), "F (*.f)"));
    }
    EXPECT_EQ(5, dialogsShown);
    EXPECT_EQ(QStringList(), nativeCalls);
}

TEST_F(FileDialogs, SwapWhileControlIsHeld)
{
    holdControl(true);
    onceShown([](HDFSFileDialog *dialog) { dialog->reject(); });
    EXPECT_EQ(QString(), chooseFileToSave(&parent, "Keep", localDirectory(), "F (*.f)"));
    EXPECT_EQ(1, dialogsShown);
    EXPECT_EQ(QStringList(), nativeCalls);

    // The display has told the dialog that no key is down.
    holdControl(true);
    setDefaultBrowser("all");
    EXPECT_EQ(QString(kNativeAnswer), chooseFileToSave(&parent, "Keep", "/y", "F (*.f)"));
    EXPECT_EQ(1, dialogsShown);
    EXPECT_EQ(QStringList("save parent Keep|/y|F (*.f)"), nativeCalls);
}

TEST_F(FileDialogs, GiveTheOwnDialogWhatTheHostGave)
{
    setDefaultBrowser("all");
    const QString place = localDirectory();
    onceShown([this](HDFSFileDialog *dialog) {
        EXPECT_EQ("Pick one", dialog->windowTitle());
        EXPECT_EQ(DialogModeOpen, dialog->mode());
        EXPECT_EQ(&parent, dialog->parentWidget());
        EXPECT_TRUE(dialog->isModal());
        QComboBox *const types = dialog->findChild<QComboBox *>("fileTypeCombo");
        EXPECT_EQ(2, types->count());
        EXPECT_EQ("B (*.b)", types->itemText(1));
        dialog->reject();
    });
    chooseFileToOpen(&parent, "Pick one", place, "A (*.a);;B (*.b)");
    onceShown([](HDFSFileDialog *dialog) {
        EXPECT_EQ(DialogModeSave, dialog->mode());
        EXPECT_EQ(nullptr, dialog->parentWidget());
        dialog->reject();
    });
    chooseFileToSave(nullptr, "Keep it", place, "A (*.a);;B (*.b)");
    onceShown([](HDFSFileDialog *dialog) {
        EXPECT_EQ(DialogModeDirectory, dialog->mode());
        QComboBox *const types = dialog->findChild<QComboBox *>("fileTypeCombo");
        EXPECT_EQ(1, types->count());
        EXPECT_EQ("*.*", types->itemText(0));
        dialog->reject();
    });
    chooseDirectory(&parent, "Where", place);
    EXPECT_EQ(3, dialogsShown);
}

TEST_F(FileDialogs, ReturnTheChosenPathAsItStands)
{
    setDefaultBrowser("all");
    const QString place = localDirectory();
    const auto choose = [](HDFSFileDialog *dialog) {
        QTest::keyClicks(dialog->findChild<QLineEdit *>("fileNameEdit"), "data.csv");
        QTest::keyClick(dialog->findChild<QLineEdit *>("fileNameEdit"), Qt::Key_Return);
    };
    onceShown(choose);
    EXPECT_EQ(place + "/data.csv", chooseFileToOpen(nullptr, "Pick", place, "Tables (*.csv)"));
    onceShown([](HDFSFileDialog *dialog) { dialog->accept(); });
    EXPECT_EQ(place, chooseDirectory(&parent, "Where", place));
    EXPECT_EQ(2, dialogsShown);
    EXPECT_EQ(QStringList(), nativeCalls);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(FileDialogs, GoOnInTheSystemsOwnWhenTheUserAsksForThat)
{
    setDefaultBrowser("all");
    const QString place = localDirectory();
    const auto leave = [](HDFSFileDialog *dialog) {
        QTest::mouseClick(dialog->findChild<QPushButton *>("pbNative"), Qt::LeftButton);
    };
    onceShown(leave);
    EXPECT_EQ(QString(kNativeAnswer), chooseFileToOpen(&parent, "Pick", place, "F (*.f)"));
    onceShown(leave);
    EXPECT_EQ(QString(kNativeAnswer), chooseFileToSave(&parent, "Keep", place, "G (*.g)"));
    onceShown(leave);
    EXPECT_EQ(QString(kNativeAnswer), chooseDirectory(nullptr, "Where", place));
    EXPECT_EQ(QStringList() << "open parent Pick|" + place + "|F (*.f)"
                            << "save parent Keep|" + place + "|G (*.g)"
                            << "directory - Where|" + place,
              nativeCalls);
    EXPECT_EQ(3, dialogsShown);
}

TEST_F(FileDialogs, SurviveAHostThatDestroysTheParentMeanwhile)
{
    setDefaultBrowser("all");
    QWidget *const shortLived = new QWidget;
    onceShown([shortLived](HDFSFileDialog *) { delete shortLived; });
    EXPECT_EQ(QString(), chooseFileToOpen(shortLived, "Pick", localDirectory(), "F (*.f)"));
    EXPECT_EQ(1, dialogsShown);
    EXPECT_EQ(QStringList(), nativeCalls);
}

/// Waits for a window inside the own dialog's own event loop and destroys the host's parent then.
void destroyOnceThereIs(const char *windowClass, QWidget *doomed)
{
    QTimer *const watch = new QTimer(doomed);
    QObject::connect(watch, &QTimer::timeout, watch, [windowClass, doomed] {
        foreach (QWidget *window, QApplication::topLevelWidgets()) {
            if (window->inherits(windowClass) && window->isVisible()) {
                delete doomed;
                return;
            }
        }
    });
    watch->start(10);
}

TEST_F(FileDialogs, SurviveAHostThatDestroysTheParentWhileAQuestionIsOpen)
{
    setDefaultBrowser("all");
    const QString place = localDirectory();
    QWidget *const shortLived = new QWidget;
    onceShown([shortLived](HDFSFileDialog *dialog) {
        destroyOnceThereIs("QMessageBox", shortLived);
        dialog->findChild<QLineEdit *>("fileNameEdit")->setText("data.csv");
        dialog->accept();
    });
    EXPECT_EQ(QString(), chooseFileToSave(shortLived, "Keep", place, "Tables (*.csv)"));
    EXPECT_EQ(1, dialogsShown);
}

TEST_F(FileDialogs, SurviveAHostThatDestroysTheParentWhileAWarningIsOpen)
{
    setDefaultBrowser("all");
    const QString place = localDirectory();
    for (const bool directoryMode : {false, true}) {
        QWidget *const shortLived = new QWidget;
        onceShown([shortLived](HDFSFileDialog *dialog) {
            destroyOnceThereIs("QMessageBox", shortLived);
            dialog->findChild<QLineEdit *>("fileNameEdit")->setText("missing.csv");
            dialog->accept();
        });
        EXPECT_EQ(QString(), directoryMode ? chooseDirectory(shortLived, "Where", place)
                                           : chooseFileToOpen(shortLived, "Pick", place, "Tables (*.csv)"));
    }
    EXPECT_EQ(2, dialogsShown);
}

TEST_F(FileDialogs, SurviveAHostThatDestroysTheParentWhileADeletionIsAskedFor)
{
    setDefaultBrowser("all");
    const QString place = localDirectory();
    QWidget *const shortLived = new QWidget;
    onceShown([shortLived](HDFSFileDialog *dialog) {
        destroyOnceThereIs("QMessageBox", shortLived);
        QListView *const list = dialog->findChild<QListView *>("listView");
        list->setCurrentIndex(list->model()->index(0, 0));
        dialog->findChild<QAction *>("actionDelete")->trigger();
    });
    EXPECT_EQ(QString(), chooseFileToOpen(shortLived, "Pick", place, "Tables (*.csv)"));
    EXPECT_EQ(1, dialogsShown);
    EXPECT_TRUE(log.holds({}));
}

} // namespace
