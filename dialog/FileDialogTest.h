// A file dialog with a person in front of it, a directory on the local disk and a scripted HDFS.
#ifndef DIALOG_FILEDIALOGTEST_H
#define DIALOG_FILEDIALOGTEST_H

#include "dialog/DialogPerson.h"
#include "dialog/HDFSFileDialog.h"
#include "dialog/ScriptedNamespace.h"
#include "testing/LogCapture.h"
#include "testing/ScriptedNameNode.h"

#include <gtest/gtest.h>

#include <QtCore/QTemporaryDir>

#include <memory>
#include <string>
#include <vector>

class FileDialogTest : public ::testing::Test
{
protected:
    typedef std::vector<std::string> Texts;

    FileDialogTest();
    ~FileDialogTest() override;

    /// Opens a dialog and puts the person in front of it. One at a time.
    void open(DialogMode mode, const std::string &selection, const std::string &filter = std::string());
    /// The two steps of it.
    void makeDialog(DialogMode mode, const std::string &selection, const std::string &filter = std::string());
    void callPerson();
    void close();

    /// An absolute path in the test's own directory, which is itself for "".
    std::string local(const std::string &name = std::string()) const;
    void makeLocalFile(const std::string &name);
    void makeLocalDirectory(const std::string &name);
    bool hasLocal(const std::string &name) const;

    /// What the dialog returned; fails the test unless it was accepted.
    std::string accepted() const;
    bool isCancelled() const;

    /// The texts of the message boxes since the last time.
    Texts boxTexts();

    /// From now on no NameNode can be reached; connections that there are end.
    void loseNameNode();

    LogCapture log;
    std::unique_ptr<ScriptedNameNode> nameNode;
    std::unique_ptr<ScriptedNamespace> hdfs;
    int connects;     ///< how often the dialog asked for a connection
    bool canConnect;  ///< whether it gets one
    std::string user; ///< as whom
    std::unique_ptr<HDFSFileDialog> dialog;
    std::unique_ptr<DialogPerson> person;

private:
    static NameNodeConnection *connectToScripted(QString *userName);
    static FileDialogTest *s_current;

    QTemporaryDir m_directory;
};

#endif
