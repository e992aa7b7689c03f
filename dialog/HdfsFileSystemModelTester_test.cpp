// The model and its proxy under the model tester of Qt, which ends the test executable where they break its rules.
#include "dialog/HdfsFileSystemModel.h"
#include "dialog/HdfsSortFilterProxyModel.h"

#include "testing/FileModelTest.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>
#include <QtTest/QAbstractItemModelTester>

#include <QListView>
#include <QTreeView>

namespace oracle = hadoop::oracle;

namespace {

/// Which of the two the tester watches.
enum Watched { WatchModel = 1, WatchProxy = 2, WatchBoth = 3 };

class HdfsFileSystemModelTester : public FileModelTest, public ::testing::WithParamInterface<Watched>
{
protected:
    HdfsFileSystemModelTester()
    {
        proxy.setSortCaseSensitivity(Qt::CaseInsensitive);
        proxy.setSortRole(Qt::UserRole);
        proxy.setSourceModel(&model);
        proxy.setNameFilter(QLatin1String("All Files (*.*)"));
        context.detail = &treeView;
        context.plain = &listView;
        treeView.setModel(&proxy);
        treeView.setSortingEnabled(true);
        treeView.sortByColumn(0, Qt::AscendingOrder);
        listView.setModel(&proxy);
        if (GetParam() & WatchModel)
            watch(&model);
        if (GetParam() & WatchProxy)
            watch(&proxy);
    }

    void watch(QAbstractItemModel *watched)
    {
        testers.emplace_back(
            new QAbstractItemModelTester(watched, QAbstractItemModelTester::FailureReportingMode::Fatal));
    }

    QTreeView treeView;
    QListView listView;
    HdfsSortFilterProxyModel proxy;
    std::vector<std::unique_ptr<QAbstractItemModelTester>> testers;
};

TEST_P(HdfsFileSystemModelTester, FindsNothingInListingsRenamesNewFoldersAndResets)
{
    listHdfs({});
    listHdfs({fileStatus("a.b"), directoryStatus("d"), fileStatus("c.d"), fileStatus("hidden")});
    EXPECT_EQ(3, proxy.rowCount());

    answerWithResult<oracle::RenameResponseProto>("rename", true);
    EXPECT_TRUE(proxy.setData(proxy.index(1, 0), QLatin1String("z.z"), Qt::EditRole));
    EXPECT_TRUE(proxy.setData(proxy.index(0, 0), QLatin1String("dd"), Qt::EditRole));
    EXPECT_TRUE(model.setData(at(3), QLatin1String("shown.now"), Qt::EditRole));
    EXPECT_EQ(4, proxy.rowCount());
    EXPECT_TRUE(proxy.setData(proxy.index(1, 0), QLatin1String("hiddennow"), Qt::EditRole));
    EXPECT_EQ(3, proxy.rowCount());
    EXPECT_FALSE(proxy.setData(proxy.index(1, 0), QLatin1String(""), Qt::EditRole));

    answerWithResult<oracle::MkdirsResponseProto>("mkdirs", true);
    const QModelIndex made = proxy.mapFromSource(model.mkdir(QLatin1String("New Folder")));
    EXPECT_TRUE(proxy.setData(made, QLatin1String("a name"), Qt::EditRole));
    answerWithResult<oracle::MkdirsResponseProto>("mkdirs", false);
    EXPECT_FALSE(model.mkdir(QLatin1String("not made")).isValid());

    for (int column = 0; column < 6; ++column) {
        proxy.sort(column, Qt::DescendingOrder);
        proxy.sort(column, Qt::AscendingOrder);
    }
    proxy.setNameFilter(QLatin1String("Nothing ()"));
    model.resetRows();
    proxy.setNameFilter(QLatin1String("All (*)"));
    model.resetRows();
    proxy.sort(3);

    nameNode.answer("getFsStats", fsStats());
    model.listDirectory(QString());
    EXPECT_FALSE(proxy.setData(proxy.index(0, 0), QLatin1String("x"), Qt::EditRole));
    nameNode.forget("getListing");
    nameNode.answerException("getListing", "java.io.FileNotFoundException", "gone");
    model.listDirectory(QLatin1String("hdfs:/gone"));
    EXPECT_EQ(0, proxy.rowCount());
    model.listDirectory(QString());

    QTemporaryDir directory;
    for (const char *name : {"one.x", "two.y"})
        ASSERT_TRUE(QFile(directory.path() + QLatin1Char('/') + QLatin1String(name)).open(QIODevice::WriteOnly));
    model.listDirectory(directory.path());
    EXPECT_EQ(2, proxy.rowCount());
    EXPECT_TRUE(proxy.setData(proxy.index(0, 0), QLatin1String("three.z"), Qt::EditRole));
    EXPECT_TRUE(model.mkdir(QLatin1String("folder")).isValid());
    context.nameNode = nullptr;
    model.listDirectory(QLatin1String("hdfs:/unconnected"));
    model.listDirectory(directory.path());
    EXPECT_EQ(3, proxy.rowCount());
}

TEST_P(HdfsFileSystemModelTester, FindsNothingWhileViewsShowAndSelectRows)
{
    treeView.resize(600, 300);
    treeView.show();
    listView.show();
    Entries entries;
    for (int i = 0; i < 300; ++i)
        entries.push_back(i % 5 == 0 ? directoryStatus("d" + std::to_string(i)) : fileStatus(std::to_string(i) + ".x"));
    listHdfs(entries);
    treeView.setCurrentIndex(proxy.index(100, 0));
    listView.selectAll();
    QCoreApplication::processEvents();
    answerWithResult<oracle::RenameResponseProto>("rename", true);
    EXPECT_TRUE(proxy.setData(treeView.currentIndex(), QLatin1String("zzz.x"), Qt::EditRole));
    EXPECT_EQ("zzz.x", treeView.currentIndex().data().toString().toStdString());
    EXPECT_EQ(299, treeView.currentIndex().row());
    QCoreApplication::processEvents();
    answerWithResult<oracle::MkdirsResponseProto>("mkdirs", true);
    EXPECT_TRUE(model.mkdir(QLatin1String("New Folder")).isValid());
    QCoreApplication::processEvents();
    nameNode.answer("getFsStats", fsStats());
    model.listDirectory(QString());
    QCoreApplication::processEvents();
    listHdfs({fileStatus("a.b")});
    QCoreApplication::processEvents();
    EXPECT_EQ(1, proxy.rowCount());
}

std::string watchedName(const ::testing::TestParamInfo<Watched> &parameter)
{
    return parameter.param == WatchBoth ? "Both" : parameter.param == WatchModel ? "Model" : "Proxy";
}

INSTANTIATE_TEST_SUITE_P(Watched, HdfsFileSystemModelTester, ::testing::Values(WatchModel, WatchProxy, WatchBoth),
                         watchedName);

} // namespace
