#include "dialog/HdfsFileSystemModel.h"

#include "platform/DiskSpace.h"
#include "testing/FileModelTest.h"
#include "testing/SystemCallFaults.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>

#include <algorithm>
#include <limits>

namespace oracle = hadoop::oracle;

namespace {

class HdfsFileSystemModelListing : public ViewedFileModelTest
{
protected:
    std::vector<std::string> listedPaths() const
    {
        std::vector<std::string> paths;
        for (const NameNodeCall &call : nameNode.calls("getListing"))
            paths.push_back(call.as<oracle::GetListingRequestProto>().src());
        return paths;
    }

    int hdfsRow() const { return model.rowCount() - 1; }
};

// --- what is listed ---

TEST_F(HdfsFileSystemModelListing, ANewModelHasNoRowsAndSixColumns)
{
    EXPECT_EQ(0, model.rowCount());
    EXPECT_EQ(6, model.columnCount());
    EXPECT_EQ(QString(), model.currentPath());
    EXPECT_FALSE(model.data(model.index(0, 0)).isValid());
    EXPECT_EQ(0, context.connectionRequests);
}

TEST_F(HdfsFileSystemModelListing, ShowsAnHdfsDirectoryInTheOrderOfTheListing)
{
    listHdfs({fileStatus("b"), directoryStatus("c"), fileStatus("a")});
    EXPECT_EQ((std::vector<std::string>{"b", "c", "a"}), names());
    EXPECT_EQ(6, model.columnCount());
    EXPECT_EQ(std::vector<std::string>{"/d"}, listedPaths());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelListing, TakesTheRootOfHdfsWithAndWithoutItsSlash)
{
    for (const char *path : {"hdfs:", "hdfs:/"}) {
        listHdfs({fileStatus("a")}, path);
        EXPECT_EQ(QString::fromLatin1("hdfs:"), model.currentPath());
        EXPECT_EQ("hdfs:/a", model.filePath(at(0)).toStdString());
    }
    EXPECT_EQ((std::vector<std::string>{"/", "/"}), listedPaths());
}

TEST_F(HdfsFileSystemModelListing, TakesOneSlashFromTheEndOfAPath)
{
    listHdfs({fileStatus("f")}, "hdfs:/a/b/");
    EXPECT_EQ("hdfs:/a/b", model.currentPath().toStdString());
    EXPECT_EQ("hdfs:/a/b/f", model.filePath(at(0)).toStdString());
    listHdfs({}, "hdfs:/a/b//");
    EXPECT_EQ("hdfs:/a/b/", model.currentPath().toStdString());
    EXPECT_EQ((std::vector<std::string>{"/a/b", "/a/b/"}), listedPaths());
}

TEST_F(HdfsFileSystemModelListing, AsksForPathsInUtf8)
{
    listHdfs({}, "hdfs:/\xe6\xb1\x89/\xc3\xbc x");
    EXPECT_EQ(std::vector<std::string>{"/\xe6\xb1\x89/\xc3\xbc x"}, listedPaths());
}

TEST_F(HdfsFileSystemModelListing, ReplacesAllRowsAndResetsOnce)
{
    listHdfs({fileStatus("a"), fileStatus("b")});
    const QPersistentModelIndex first(at(0));
    QSignalSpy before(&model, SIGNAL(modelAboutToBeReset()));
    QSignalSpy after(&model, SIGNAL(modelReset()));
    listHdfs({fileStatus("c")});
    EXPECT_EQ(std::vector<std::string>{"c"}, names());
    EXPECT_EQ(1, before.count());
    EXPECT_EQ(1, after.count());
    EXPECT_FALSE(first.isValid());
}

TEST_F(HdfsFileSystemModelListing, JoinsThePagesOfALongListing)
{
    connectToNameNode();
    std::vector<std::string> all;
    for (int i = 0; i < 3000; ++i)
        all.push_back("part-" + std::to_string(10000 + i));
    for (int page = 0; page < 3; ++page) {
        const std::vector<std::string> part(all.begin() + page * 1000, all.begin() + (page + 1) * 1000);
        nameNode.answer("getListing", listingPage(part, static_cast<std::uint32_t>(2000 - page * 1000)));
    }
    model.listDirectory(QLatin1String("hdfs:/d"));
    EXPECT_EQ(all, names());
    // Each record stands alone: freed one by one, and nothing behind it twice.
    for (int row = 0; row < model.rowCount(); ++row)
        ASSERT_EQ(nullptr, model.record(at(row))->next) << row;
}

TEST_F(HdfsFileSystemModelListing, HasNoRowsBelowARow)
{
    listHdfs({directoryStatus("a")});
    EXPECT_EQ(0, model.rowCount(at(0)));
    const QAbstractItemModel &asViewsSeeIt = model;
    EXPECT_FALSE(asViewsSeeIt.hasChildren(at(0)));
    EXPECT_EQ(6, model.columnCount(at(0)));
    EXPECT_FALSE(model.index(0, 0, at(0)).isValid());
    EXPECT_FALSE(asViewsSeeIt.parent(at(0)).isValid());
}

TEST_F(HdfsFileSystemModelListing, OnlyTheLowerCasePrefixMeansHdfs)
{
    connectToNameNode();
    model.listDirectory(QLatin1String("HDFS:/tmp"));
    EXPECT_EQ(0, model.rowCount());
    EXPECT_EQ("FFFFFF", background());
    EXPECT_TRUE(nameNode.calls().empty());
    EXPECT_EQ(0, context.connectionRequests);
}

// --- the background ---

TEST_F(HdfsFileSystemModelListing, AListingThatSucceedsIsWhite)
{
    listHdfs({fileStatus("a")});
    EXPECT_EQ("FFFFFF", background());
    model.setBackgroundColour(QLatin1String("123456"));
    EXPECT_EQ("123456", background());
    listHdfs({});
    EXPECT_EQ(0, model.rowCount());
    EXPECT_EQ("FFFFFF", background());
}

TEST_F(HdfsFileSystemModelListing, AListingThatFailsIsPaleRedAndEmpty)
{
    listHdfs({fileStatus("a")});
    nameNode.forget("getListing");
    nameNode.answerException("getListing", "java.io.FileNotFoundException", "File /d does not exist.");
    model.listDirectory(QLatin1String("hdfs:/d"));
    EXPECT_EQ(0, model.rowCount());
    EXPECT_EQ("FFC8C8", background());
    EXPECT_EQ("hdfs:/d", model.currentPath().toStdString());
    // What is logged is what the connection has to say.
    EXPECT_EQ(1u, log.lines().size());
}

TEST_F(HdfsFileSystemModelListing, WithoutAConnectionHdfsIsPaleRedAndEmpty)
{
    model.listDirectory(QLatin1String("hdfs:/d"));
    EXPECT_EQ(0, model.rowCount());
    EXPECT_EQ("FFC8C8", background());
    EXPECT_EQ(1, context.connectionRequests);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelListing, TheComputerLevelLeavesTheBackground)
{
    model.listDirectory(QLatin1String("hdfs:/d"));
    model.listDirectory(QString());
    EXPECT_EQ("FFC8C8", background());
    model.listDirectory(QDir::tempPath());
    model.listDirectory(QString());
    EXPECT_EQ("FFFFFF", background());
}

TEST_F(HdfsFileSystemModelListing, WorksForADialogWithoutViews)
{
    context.detail = nullptr;
    context.plain = nullptr;
    listHdfs({fileStatus("a")});
    EXPECT_EQ(1, model.rowCount());
    EXPECT_EQ("", background());
}

// --- memory ---

TEST_F(HdfsFileSystemModelListing, AListingThatThereIsNoMemoryForFails)
{
    listHdfs({fileStatus("a"), fileStatus("b")});
    int failures = 0;
    for (int ordinal = 0;; ++ordinal) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, ordinal, 0);
        model.listDirectory(QLatin1String("hdfs:/d"));
        if (!faults.hasFailed(SystemCall::Allocate))
            break;
        ++failures;
        // The NameNode's answer is cut off where a record could not be made; without the rows' array nothing is shown.
        EXPECT_LT(model.rowCount(), 2);
        if (ordinal == 2) {
            EXPECT_EQ(0, model.rowCount());
            EXPECT_EQ("FFC8C8", background());
        }
    }
    EXPECT_EQ(3, failures);
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), names());
}

// --- the computer level ---

TEST_F(HdfsFileSystemModelListing, TheComputerLevelHasARowPerDriveAndHdfsAsItsLast)
{
    model.listDirectory(QString());
    const QFileInfoList drives = QDir::drives();
    ASSERT_LE(1, drives.size());
    ASSERT_EQ(drives.size() + 1, model.rowCount());
    EXPECT_EQ(6, model.columnCount());
    for (int row = 0; row < drives.size(); ++row) {
        const QString path = drives.at(row).absolutePath();
        EXPECT_EQ(path.toStdString(), text(row, 0));
        quint64 capacity = 0;
        quint64 remaining = 0;
        // That of an empty drive stays 0.
        platform::diskSpace(path, &capacity, &remaining);
        EXPECT_EQ(model.formatSize(static_cast<qint64>(capacity)).toStdString(), text(row, 1));
        EXPECT_NE("", text(row, 2));
        EXPECT_EQ(QVariant(0), model.data(at(row, 3)));
    }
    EXPECT_EQ("hdfs:/", text(hdfsRow(), 0));
}

TEST_F(HdfsFileSystemModelListing, TheRowOfHdfsShowsItsCounters)
{
    connectToNameNode();
    oracle::GetFsStatsResponseProto stats = fsStats();
    stats.set_capacity(std::uint64_t(3) << 40);
    stats.set_used(1);
    stats.set_remaining(1572864);
    stats.set_under_replicated((std::uint64_t(1) << 32) + 7);
    nameNode.answer("getFsStats", stats);
    model.listDirectory(QString());
    EXPECT_EQ("3.000 TB", text(hdfsRow(), 1));
    EXPECT_EQ("1.5 MB", text(hdfsRow(), 2));
    // Only the low 32 bits.
    EXPECT_EQ(QVariant(7), model.data(at(hdfsRow(), 3)));
}

TEST_F(HdfsFileSystemModelListing, CountersAboveTheSignedRangeAreShownAsNegativeNumbers)
{
    connectToNameNode();
    oracle::GetFsStatsResponseProto stats = fsStats();
    stats.set_capacity(std::uint64_t(1) << 63);
    stats.set_remaining(std::numeric_limits<std::uint64_t>::max());
    stats.set_under_replicated(0xFFFFFFFF);
    nameNode.answer("getFsStats", stats);
    model.listDirectory(QString());
    EXPECT_EQ("-9,223,372,036,854,775,808 bytes", text(hdfsRow(), 1));
    EXPECT_EQ("-1 bytes", text(hdfsRow(), 2));
    EXPECT_EQ(QVariant(-1), model.data(at(hdfsRow(), 3)));
}

TEST_F(HdfsFileSystemModelListing, WithoutAConnectionTheCountersAreMinusOne)
{
    model.listDirectory(QString());
    EXPECT_EQ("-1 bytes", text(hdfsRow(), 1));
    EXPECT_EQ("-1 bytes", text(hdfsRow(), 2));
    EXPECT_EQ(QVariant(-1), model.data(at(hdfsRow(), 3)));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsFileSystemModelListing, CountersAreAskedForOnEachVisitAndMinusOneWhenThatFails)
{
    connectToNameNode();
    nameNode.answer("getFsStats", fsStats());
    nameNode.answerException("getFsStats", "org.apache.hadoop.ipc.StandbyException", "standby");
    oracle::GetFsStatsResponseProto more = fsStats();
    more.set_remaining(2048);
    nameNode.answer("getFsStats", more);
    model.listDirectory(QString());
    EXPECT_EQ("3 bytes", text(hdfsRow(), 2));
    model.listDirectory(QString());
    EXPECT_EQ("-1 bytes", text(hdfsRow(), 1));
    EXPECT_EQ("-1 bytes", text(hdfsRow(), 2));
    EXPECT_EQ(QVariant(-1), model.data(at(hdfsRow(), 3)));
    model.listDirectory(QString());
    EXPECT_EQ("2 KB", text(hdfsRow(), 2));
    EXPECT_EQ(3u, nameNode.calls("getFsStats").size());
}

TEST_F(HdfsFileSystemModelListing, GoesToAndFroBetweenTheLevels)
{
    listHdfs({fileStatus("a"), fileStatus("b"), fileStatus("c")});
    nameNode.answer("getFsStats", fsStats());
    model.listDirectory(QString());
    EXPECT_EQ(QDir::drives().size() + 1, model.rowCount());
    EXPECT_EQ(nullptr, model.record(at(0)));
    listHdfs({fileStatus("x")});
    EXPECT_EQ(std::vector<std::string>{"x"}, names());
    model.listDirectory(QString());
    EXPECT_EQ("hdfs:/", text(hdfsRow(), 0));
}

} // namespace
