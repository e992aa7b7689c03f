// A file system model on a scripted NameNode, without a dialog.
#ifndef TESTING_FILEMODELTEST_H
#define TESTING_FILEMODELTEST_H

#include "dialog/HdfsFileSystemModel.h"
#include "rpc/NameNodeConnection.h"
#include "testing/FakeDialogContext.h"
#include "testing/LogCapture.h"
#include "testing/NamespaceMessages.h"
#include "testing/ScriptedNameNode.h"

#include <gtest/gtest.h>

#include <QListView>
#include <QTreeView>
#include <QtCore/QLocale>

#include <string>
#include <vector>

inline hadoop::oracle::HdfsFileStatusProto directoryStatus(const std::string &name)
{
    hadoop::oracle::HdfsFileStatusProto status = fileStatus(name);
    status.set_filetype(hadoop::oracle::HdfsFileStatusProto::IS_DIR);
    status.set_length(0);
    status.mutable_permission()->set_perm(0755);
    return status;
}

class FileModelTest : public ::testing::Test
{
protected:
    typedef std::vector<hadoop::oracle::HdfsFileStatusProto> Entries;

    FileModelTest() : model(context) { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    ~FileModelTest() override { QLocale::setDefault(outerLocale); }

    /// Gives the context a connection to `nameNode`.
    void connectToNameNode()
    {
        if (context.nameNode)
            return;
        ASSERT_EQ(0, connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false,
                                        false, 0, 0));
        context.nameNode = &connection;
    }

    /// Lists `path` and lets the NameNode answer with these entries.
    void listHdfs(const Entries &entries, const char *path = "hdfs:/d")
    {
        connectToNameNode();
        hadoop::oracle::GetListingResponseProto page = listingPage({}, 0);
        for (const hadoop::oracle::HdfsFileStatusProto &entry : entries)
            *page.mutable_dirlist()->add_partiallisting() = entry;
        nameNode.forget("getListing");
        nameNode.answer("getListing", page);
        model.listDirectory(QString::fromUtf8(path));
    }

    template <class Response> void answerWithResult(const char *method, bool result)
    {
        Response response;
        response.set_result(result);
        nameNode.forget(method);
        nameNode.answer(method, response);
    }

    QModelIndex at(int row, int column = 0) const { return model.index(row, column); }
    std::string text(int row, int column, int role = Qt::DisplayRole) const
    {
        return model.data(at(row, column), role).toString().toStdString();
    }
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (int row = 0; row < model.rowCount(); ++row)
            names.push_back(text(row, 0));
        return names;
    }

    const QLocale outerLocale;
    LogCapture log;
    ScriptedNameNode nameNode;
    NameNodeConnection connection;
    FakeDialogContext context;
    HdfsFileSystemModel model;
};

/// The same in front of two views.
class ViewedFileModelTest : public FileModelTest
{
protected:
    ViewedFileModelTest()
    {
        context.detail = &treeView;
        context.plain = &listView;
    }

    /// The colour of both views; "" when they have none or not the same.
    std::string background() const
    {
        const QString tree = treeView.styleSheet();
        const QString list = listView.styleSheet();
        const QString begin = QLatin1String("QTreeView { background-color: #");
        const QString colour = tree.mid(begin.length(), 6);
        return tree == begin + colour + QLatin1String("; }") &&
                       list == QLatin1String("QListView { background-color: #") + colour + QLatin1String("; }")
                   ? colour.toStdString()
                   : std::string();
    }

    /// Lists a local directory that cannot be listed.
    void expectEmptyAndWhite(const QString &path, const QString &currentPath)
    {
        model.setBackgroundColour(QLatin1String("FFC8C8"));
        model.listDirectory(path);
        EXPECT_EQ(0, model.rowCount()) << path.toStdString();
        EXPECT_EQ(currentPath, model.currentPath());
        EXPECT_EQ("FFFFFF", background());
        EXPECT_TRUE(log.takes({}));
    }

    QTreeView treeView;
    QListView listView;
};

#endif
