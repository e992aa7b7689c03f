#include "platform/NativeFileDialog.h"

#include "testing/ReplacedNativeFileDialogs.h"

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>

#include <functional>

namespace {

/// Meets Qt's dialog when it has come up, as a user would.
class NativeFileDialog : public ::testing::Test
{
protected:
    NativeFileDialog()
    {
        // Qt's own widgets are what a test can look into.
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QFile made(file);
        made.open(QIODevice::WriteOnly);
        QObject::connect(&poll, &QTimer::timeout, [this] { meet(); });
        poll.start(10);
    }
    ~NativeFileDialog() override { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs, false); }

    void meet()
    {
        QFileDialog *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        poll.stop();
        ++met;
        whenMet(dialog);
    }

    static void choose(QFileDialog *dialog, const QString &path)
    {
        dialog->selectFile(path);
        QMetaObject::invokeMethod(dialog, "accept");
    }

    const QTemporaryDir scratch;
    const QString directory = scratch.path();
    const QString file = directory + QLatin1String("/some file.txt");
    const QString filter = QLatin1String("Texts (*.txt);;All (*)");
    const QString caption = QLatin1String("A caption");
    QWidget parent;
    QTimer poll;
    std::function<void(QFileDialog *)> whenMet;
    int met = 0;
};

TEST_F(NativeFileDialog, OpensAFileThatIsThere)
{
    whenMet = [this](QFileDialog *dialog) {
        EXPECT_EQ(caption, dialog->windowTitle());
        EXPECT_EQ(QDir(directory), dialog->directory());
        EXPECT_EQ(QStringList() << QLatin1String("Texts (*.txt)") << QLatin1String("All (*)"), dialog->nameFilters());
        EXPECT_EQ(QFileDialog::AcceptOpen, dialog->acceptMode());
        EXPECT_EQ(QFileDialog::ExistingFile, dialog->fileMode());
        EXPECT_EQ(QFileDialog::Options(), dialog->options());
        EXPECT_EQ(&parent, dialog->parentWidget());
        choose(dialog, file);
    };
    EXPECT_EQ(file, platform::getOpenFileName(&parent, caption, directory, filter));
    EXPECT_EQ(1, met);
}

TEST_F(NativeFileDialog, SavesUnderANewName)
{
    const QString newFile = directory + QLatin1String("/new.txt");
    whenMet = [&](QFileDialog *dialog) {
        EXPECT_EQ(caption, dialog->windowTitle());
        EXPECT_EQ(QDir(directory), dialog->directory());
        EXPECT_EQ(QStringList() << QLatin1String("Texts (*.txt)") << QLatin1String("All (*)"), dialog->nameFilters());
        EXPECT_EQ(QFileDialog::AcceptSave, dialog->acceptMode());
        EXPECT_EQ(QFileDialog::AnyFile, dialog->fileMode());
        EXPECT_EQ(QFileDialog::Options(), dialog->options());
        choose(dialog, newFile);
    };
    EXPECT_EQ(newFile, platform::getSaveFileName(&parent, caption, directory, filter));
    EXPECT_EQ(1, met);
}

TEST_F(NativeFileDialog, ShowsDirectoriesOnlyWhereOneIsChosen)
{
    whenMet = [this](QFileDialog *dialog) {
        EXPECT_EQ(caption, dialog->windowTitle());
        EXPECT_EQ(QFileDialog::Options(QFileDialog::ShowDirsOnly), dialog->options());
        choose(dialog, directory);
    };
    EXPECT_EQ(directory, platform::getExistingDirectory(&parent, caption, directory));
    EXPECT_EQ(1, met);
}

TEST_F(NativeFileDialog, ReturnsNothingWhenTheUserCancels)
{
    whenMet = [](QFileDialog *dialog) { dialog->reject(); };
    EXPECT_TRUE(platform::getOpenFileName(nullptr, caption, directory, filter).isEmpty());
    poll.start(10);
    EXPECT_TRUE(platform::getSaveFileName(nullptr, caption, directory, filter).isEmpty());
    poll.start(10);
    EXPECT_TRUE(platform::getExistingDirectory(nullptr, caption, directory).isEmpty());
    EXPECT_EQ(3, met);
}

TEST_F(NativeFileDialog, GivesWayToAReplacementForAsLongAsThatLasts)
{
    {
        ReplacedNativeFileDialogs replaced(QLatin1String("D:/chosen"));
        EXPECT_EQ(QLatin1String("D:/chosen"), platform::getOpenFileName(&parent, caption, directory, filter));
        replaced.answer = QLatin1String("D:/saved");
        EXPECT_EQ(QLatin1String("D:/saved"), platform::getSaveFileName(nullptr, QString(), QString(), filter));
        EXPECT_EQ(QLatin1String("D:/saved"), platform::getExistingDirectory(&parent, caption, directory));
        ASSERT_EQ(3u, replaced.requests.size());
        EXPECT_EQ(ReplacedNativeFileDialogs::OpenFile, replaced.requests[0].kind);
        EXPECT_EQ(&parent, replaced.requests[0].parent);
        EXPECT_EQ(caption, replaced.requests[0].caption);
        EXPECT_EQ(directory, replaced.requests[0].directory);
        EXPECT_EQ(filter, replaced.requests[0].filter);
        EXPECT_EQ(ReplacedNativeFileDialogs::SaveFile, replaced.requests[1].kind);
        EXPECT_EQ(nullptr, replaced.requests[1].parent);
        EXPECT_EQ(ReplacedNativeFileDialogs::Directory, replaced.requests[2].kind);
        EXPECT_TRUE(replaced.requests[2].filter.isNull());
        EXPECT_EQ(0, met);
    }
    whenMet = [](QFileDialog *dialog) { dialog->reject(); };
    EXPECT_TRUE(platform::getOpenFileName(&parent, caption, directory, filter).isEmpty());
    EXPECT_EQ(1, met);
}

} // namespace
