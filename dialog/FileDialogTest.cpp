#include "dialog/FileDialogTest.h"

#include "rpc/NameNodeConnection.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLocale>

FileDialogTest *FileDialogTest::s_current = nullptr;

FileDialogTest::FileDialogTest()
    : nameNode(new ScriptedNameNode), hdfs(new ScriptedNamespace(nameNode.get())), connects(0), canConnect(true),
      user("tester")
{
    EXPECT_TRUE(m_directory.isValid());
    s_current = this;
}

FileDialogTest::~FileDialogTest()
{
    close();
    s_current = nullptr;
}

NameNodeConnection *FileDialogTest::connectToScripted(QString *userName)
{
    FileDialogTest *const test = s_current;
    ++test->connects;
    if (!test->canConnect)
        return nullptr;
    *userName = QString::fromStdString(test->user);
    std::unique_ptr<NameNodeConnection> connection(new NameNodeConnection);
    if (connection->connect("127.0.0.1", static_cast<std::uint32_t>(test->nameNode->port()), test->user.c_str(), 0,
                            false, false, 0, 0) != 0)
        return nullptr;
    return connection.release();
}

void FileDialogTest::open(DialogMode mode, const std::string &selection, const std::string &filter)
{
    makeDialog(mode, selection, filter);
    callPerson();
}

void FileDialogTest::makeDialog(DialogMode mode, const std::string &selection, const std::string &filter)
{
    close();
    dialog.reset(new HDFSFileDialog(nullptr, mode, QLatin1String("Choose"), QString::fromStdString(selection),
                                    QString::fromStdString(filter), &connectToScripted));
}

void FileDialogTest::callPerson()
{
    person.reset(new DialogPerson(dialog.get()));
}

void FileDialogTest::close()
{
    person.reset();
    dialog.reset();
}

std::string FileDialogTest::local(const std::string &name) const
{
    const std::string directory = m_directory.path().toStdString();
    return name.empty() ? directory : directory + "/" + name;
}

void FileDialogTest::makeLocalFile(const std::string &name)
{
    QFile file(QString::fromStdString(local(name)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name;
    file.write("content");
}

void FileDialogTest::makeLocalDirectory(const std::string &name)
{
    ASSERT_TRUE(QDir().mkpath(QString::fromStdString(local(name)))) << name;
}

bool FileDialogTest::hasLocal(const std::string &name) const
{
    return QFileInfo(QString::fromStdString(local(name))).exists();
}

std::string FileDialogTest::accepted() const
{
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(QDialog::Accepted, dialog->result());
    return dialog->selectedPath().toStdString();
}

bool FileDialogTest::isCancelled() const
{
    return !dialog->isVisible() && dialog->result() == QDialog::Rejected && dialog->selectedPath().isEmpty();
}

FileDialogTest::Texts FileDialogTest::boxTexts()
{
    Texts texts;
    for (const SeenBox &box : person->takeBoxes())
        texts.push_back(box.text);
    return texts;
}

void FileDialogTest::loseNameNode()
{
    canConnect = false;
    hdfs.reset();
    nameNode.reset();
}
