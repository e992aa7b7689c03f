#include "dialog/HdfsSortFilterProxyModel.h"

#include "dialog/NaturalCompare.h"
#include "testing/FileModelTest.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtTest/QSignalSpy>

#include <random>

namespace oracle = hadoop::oracle;

namespace {

oracle::HdfsFileStatusProto file(const std::string &name, std::uint64_t length = 0)
{
    oracle::HdfsFileStatusProto status = fileStatus(name);
    status.set_length(length);
    return status;
}

class HdfsSortFilterProxyModelTest : public FileModelTest
{
protected:
    HdfsSortFilterProxyModelTest()
    {
        proxy.setSortCaseSensitivity(Qt::CaseInsensitive);
        proxy.setSortRole(Qt::UserRole);
        proxy.setSourceModel(&model);
        proxy.setNameFilter(QLatin1String("All (*)"));
    }

    std::vector<std::string> shown() const
    {
        std::vector<std::string> names;
        for (int row = 0; row < proxy.rowCount(); ++row)
            names.push_back(proxy.index(row, 0).data().toString().toStdString());
        return names;
    }
    std::vector<std::string> sorted(const Entries &entries, int column, Qt::SortOrder order = Qt::AscendingOrder)
    {
        listHdfs(entries);
        proxy.sort(column, order);
        return shown();
    }
    void filter(const char *line)
    {
        proxy.setNameFilter(QString::fromUtf8(line));
        model.resetRows();
    }
    bool isLess(int left, int right, int column) const { return proxy.lessThan(at(left, column), at(right, column)); }

    HdfsSortFilterProxyModel proxy;
};

// --- names ---

TEST_F(HdfsSortFilterProxyModelTest, FoldersComeBeforeFilesAndNumbersCountByTheirValue)
{
    EXPECT_EQ((std::vector<std::string>{"Z", "alpha", "Beta", "img2", "img10"}),
              sorted({file("img10"), file("img2"), file("Beta"), directoryStatus("Z"), file("alpha")}, 0));
    proxy.sort(0, Qt::DescendingOrder);
    EXPECT_EQ((std::vector<std::string>{"img10", "img2", "Beta", "alpha", "Z"}), shown());
}

TEST_F(HdfsSortFilterProxyModelTest, NamesThatDifferInCaseOnlyAreNeitherLess)
{
    listHdfs({file("Beta"), file("beta"), directoryStatus("beta")});
    EXPECT_FALSE(isLess(0, 1, 0));
    EXPECT_FALSE(isLess(1, 0, 0));
    EXPECT_TRUE(isLess(2, 0, 0));
    EXPECT_FALSE(isLess(0, 2, 0));
}

TEST_F(HdfsSortFilterProxyModelTest, OrdersNamesAsNaturalCompareDoes)
{
    const std::vector<std::string> names = {"",
                                            "a",
                                            "A",
                                            "a b",
                                            "ab",
                                            "a0",
                                            "a00",
                                            "a1",
                                            "a01",
                                            "a 1",
                                            "a10",
                                            "a1b",
                                            "a1.b",
                                            "z",
                                            "\xc3\xa4",
                                            "\xc3\x84",
                                            "\xe6\xb1\x89",
                                            "a\xc2\xa0"
                                            "b",
                                            "\xd9\xa1\xd9\xa2",
                                            "12",
                                            "2",
                                            "_",
                                            "-",
                                            "a\xff",
                                            "\xf0\x9f\x98\x80",
                                            "\xe2\x84\xaa",
                                            "k",
                                            "K",
                                            "\xc4\xb0",
                                            "i",
                                            "I",
                                            "\xc4\xb1",
                                            "\xc3\x9f",
                                            "ss",
                                            "\x7f",
                                            "a\tb",
                                            "a\x01"
                                            "b",
                                            std::string("a\0b", 3)};
    Entries entries;
    for (const std::string &name : names)
        entries.push_back(file(name));
    listHdfs(entries);
    for (int left = 0; left < model.rowCount(); ++left) {
        for (int right = 0; right < model.rowCount(); ++right) {
            const QString first = model.fileName(at(left));
            const QString second = model.fileName(at(right));
            EXPECT_EQ(naturalCompare(first, second, Qt::CaseInsensitive) < 0, isLess(left, right, 0))
                << first.toStdString() << " | " << second.toStdString();
        }
    }
}

// --- other columns ---

TEST_F(HdfsSortFilterProxyModelTest, SizesAreOrderedAsNumbersWithFoldersFirst)
{
    EXPECT_EQ((std::vector<std::string>{"d", "c", "b", "a"}),
              sorted({file("a", 10000000), file("b", 2000), file("c", 999), directoryStatus("d")}, 1));
}

TEST_F(HdfsSortFilterProxyModelTest, AFolderOnTheLeftIsLessBySizeButAFileOnTheLeftIsComparedByItsNumber)
{
    listHdfs({directoryStatus("d"), file("empty", 0), file("full", 1), file("huge", ~std::uint64_t(0)),
              directoryStatus("e")});
    EXPECT_TRUE(isLess(0, 1, 1));
    EXPECT_TRUE(isLess(0, 2, 1));
    EXPECT_TRUE(isLess(0, 3, 1));
    // The other way round the numbers decide, 0 for the folder; lengths above 2^63 are negative.
    EXPECT_FALSE(isLess(1, 0, 1));
    EXPECT_FALSE(isLess(2, 0, 1));
    EXPECT_TRUE(isLess(3, 0, 1));
    EXPECT_FALSE(isLess(0, 4, 1));
    EXPECT_FALSE(isLess(4, 0, 1));
    EXPECT_TRUE(isLess(1, 2, 1));
    EXPECT_TRUE(isLess(3, 1, 1));
}

TEST_F(HdfsSortFilterProxyModelTest, OtherColumnsAreOrderedByTheirTextsInAnyCase)
{
    Entries entries;
    for (const char *owner : {"bob", "Alice", "carol", "alice"}) {
        entries.push_back(file(std::string("x.") + owner));
        entries.back().set_owner(owner);
        entries.back().set_group(owner);
    }
    entries.push_back(directoryStatus("dir"));
    entries.push_back(file("none"));
    listHdfs(entries);
    for (int column : {2, 3, 4, 5}) {
        for (int left = 0; left < model.rowCount(); ++left) {
            for (int right = 0; right < model.rowCount(); ++right) {
                const QString first = model.data(at(left, column), Qt::UserRole).toString();
                const QString second = model.data(at(right, column), Qt::UserRole).toString();
                EXPECT_EQ(QString::compare(first, second, Qt::CaseInsensitive) < 0, isLess(left, right, column))
                    << column << " " << first.toStdString() << " | " << second.toStdString();
            }
        }
    }
}

TEST_F(HdfsSortFilterProxyModelTest, TimesAreOrderedByTheirTexts)
{
    const std::uint64_t times[] = {0, 1600000000, 1400000000, 1500000000, 4000000000u, 1600000000, 60, 1599999999};
    Entries entries;
    for (std::uint64_t time : times) {
        entries.push_back(file(std::to_string(entries.size())));
        entries.back().set_modification_time(time);
    }
    listHdfs(entries);
    for (int left = 0; left < model.rowCount(); ++left) {
        for (int right = 0; right < model.rowCount(); ++right)
            EXPECT_EQ(QString::compare(QString::fromStdString(text(left, 3)), QString::fromStdString(text(right, 3)),
                                       Qt::CaseInsensitive) < 0,
                      isLess(left, right, 3));
    }
}

TEST_F(HdfsSortFilterProxyModelTest, DrivesAreOrderedByTheirNamesAndTexts)
{
    model.listDirectory(QString());
    ASSERT_EQ(QDir::drives().size() + 1, proxy.rowCount());
    const int hdfs = model.rowCount() - 1;
    EXPECT_EQ(naturalCompare(model.fileName(at(0)), QLatin1String("hdfs:/"), Qt::CaseInsensitive) < 0,
              isLess(0, hdfs, 0));
    for (int column : {1, 2}) {
        const QString first = model.data(at(0, column)).toString();
        const QString last = model.data(at(hdfs, column)).toString();
        EXPECT_EQ(QString::compare(first, last, Qt::CaseInsensitive) < 0, isLess(0, hdfs, column));
    }
    EXPECT_FALSE(isLess(0, hdfs, 3));
    EXPECT_TRUE(isLess(hdfs, 0, 3));
}

TEST_F(HdfsSortFilterProxyModelTest, SortsByEachColumnWhateverTheRowsAre)
{
    std::mt19937 random(1);
    Entries entries;
    for (int i = 0; i < 3000; ++i) {
        const std::string name = "n" + std::to_string(random() % 3000) + "." + std::to_string(random() % 7);
        entries.push_back(random() % 4 == 0 ? directoryStatus(name) : file(name, random() % 5 * 100));
        entries.back().set_modification_time(random());
        entries.back().set_owner(std::to_string(random() % 3));
    }
    listHdfs(entries);
    for (int column = 0; column < 6; ++column) {
        for (Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            proxy.sort(column, order);
            ASSERT_EQ(model.rowCount(), proxy.rowCount());
            for (int row = 1; column != 1 && row < proxy.rowCount(); ++row) {
                const QModelIndex upper = proxy.mapToSource(proxy.index(row - 1, column));
                const QModelIndex lower = proxy.mapToSource(proxy.index(row, column));
                ASSERT_FALSE(order == Qt::AscendingOrder ? proxy.lessThan(lower, upper) : proxy.lessThan(upper, lower))
                    << column << " " << row;
            }
        }
    }
}

// --- filtering ---

TEST_F(HdfsSortFilterProxyModelTest, HidesFilesThatNoPatternMatchesAndNoFolder)
{
    listHdfs({file("a.txt"), file("b.CSV"), file("README"), directoryStatus("d"), directoryStatus("e.txt")});
    proxy.sort(0);
    filter("Text files (*.txt *.csv)");
    EXPECT_EQ((std::vector<std::string>{"d", "e.txt", "a.txt", "b.CSV"}), shown());
    filter("Nothing ()");
    EXPECT_EQ((std::vector<std::string>{"d", "e.txt"}), shown());
    filter("All (*)");
    EXPECT_EQ(5u, shown().size());
}

TEST_F(HdfsSortFilterProxyModelTest, AllFilesHidesNamesWithoutADotButNoFolder)
{
    listHdfs({file("README"), file("a.b"), file(".hidden"), directoryStatus("folder")});
    proxy.sort(0);
    filter("All Files (*.*)");
    EXPECT_EQ((std::vector<std::string>{"folder", ".hidden", "a.b"}), shown());
}

TEST_F(HdfsSortFilterProxyModelTest, ALineWithoutClosedParenthesesMeansAllFilesWithADot)
{
    listHdfs({file("README"), file("a.b")});
    for (const char *line : {"", "Text (*.txt", "*.txt", "()x"}) {
        filter(line);
        EXPECT_EQ(std::vector<std::string>{"a.b"}, shown()) << line;
    }
}

TEST_F(HdfsSortFilterProxyModelTest, BeforeAnyFilterOnlyFoldersAreShown)
{
    HdfsSortFilterProxyModel fresh;
    fresh.setSourceModel(&model);
    listHdfs({file("a.b"), directoryStatus("d")});
    EXPECT_EQ(1, fresh.rowCount());
    EXPECT_FALSE(fresh.filterAcceptsRow(0, QModelIndex()));
    EXPECT_TRUE(fresh.filterAcceptsRow(1, QModelIndex()));
}

TEST_F(HdfsSortFilterProxyModelTest, DrivesAreAlwaysShown)
{
    filter("Nothing ()");
    model.listDirectory(QString());
    EXPECT_EQ(model.rowCount(), proxy.rowCount());
}

TEST_F(HdfsSortFilterProxyModelTest, AFilterHoldsFromTheNextResetOn)
{
    listHdfs({file("a.txt"), file("b.csv")});
    EXPECT_EQ(2, proxy.rowCount());
    proxy.setNameFilter(QLatin1String("Text (*.txt)"));
    EXPECT_EQ(2, proxy.rowCount());
    EXPECT_FALSE(proxy.nameFilter().matches(QLatin1String("b.csv")));
    model.resetRows();
    EXPECT_EQ(1, proxy.rowCount());
}

TEST_F(HdfsSortFilterProxyModelTest, AThousandPatternsAreTriedOnThousandsOfNamesInNoTime)
{
    QString line = QLatin1String("Many (");
    for (int i = 0; i < 1000; ++i)
        line += QString::fromLatin1("*.x%1 ").arg(i);
    Entries entries;
    for (int i = 0; i < 5000; ++i)
        entries.push_back(file("part-" + std::to_string(i) + ".x" + std::to_string(i)));
    QElapsedTimer timer;
    timer.start();
    proxy.setNameFilter(line + QLatin1Char(')'));
    listHdfs(entries);
    EXPECT_EQ(1000, proxy.rowCount());
    EXPECT_GT(20000, timer.elapsed());
}

// --- changes ---

TEST_F(HdfsSortFilterProxyModelTest, RenamingThroughTheProxyMovesTheRowAndKeepsItsIndex)
{
    listHdfs({file("a"), file("b"), file("c")});
    proxy.sort(0);
    answerWithResult<oracle::RenameResponseProto>("rename", true);
    const QPersistentModelIndex first(proxy.index(0, 0));
    const QPersistentModelIndex second(proxy.index(1, 0));
    EXPECT_TRUE(proxy.setData(proxy.index(0, 0), QLatin1String("d"), Qt::EditRole));
    EXPECT_EQ((std::vector<std::string>{"b", "c", "d"}), shown());
    ASSERT_TRUE(first.isValid());
    EXPECT_EQ("d", first.data().toString().toStdString());
    EXPECT_EQ(2, first.row());
    EXPECT_EQ("b", second.data().toString().toStdString());
    EXPECT_EQ((std::vector<std::string>{"d", "b", "c"}), names());
}

TEST_F(HdfsSortFilterProxyModelTest, ARefusedRenameLeavesTheRowsAlone)
{
    listHdfs({file("a"), file("b")});
    proxy.sort(0);
    nameNode.answerException("rename", "java.io.IOException", "no");
    EXPECT_FALSE(proxy.setData(proxy.index(0, 0), QLatin1String("z"), Qt::EditRole));
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), shown());
}

TEST_F(HdfsSortFilterProxyModelTest, AFileThatIsRenamedOutOfTheFilterDisappears)
{
    filter("All Files (*.*)");
    listHdfs({file("a.b"), file("c.d")});
    answerWithResult<oracle::RenameResponseProto>("rename", true);
    EXPECT_TRUE(proxy.setData(proxy.index(0, 0), QLatin1String("a"), Qt::EditRole));
    EXPECT_EQ(std::vector<std::string>{"c.d"}, shown());
    EXPECT_EQ(2, model.rowCount());
}

TEST_F(HdfsSortFilterProxyModelTest, ANewFolderTakesItsPlace)
{
    filter("Nothing ()");
    listHdfs({directoryStatus("a"), file("x"), directoryStatus("z")});
    proxy.sort(0);
    answerWithResult<oracle::MkdirsResponseProto>("mkdirs", true);
    const QModelIndex made = proxy.mapFromSource(model.mkdir(QLatin1String("New Folder")));
    EXPECT_EQ(1, made.row());
    EXPECT_EQ((std::vector<std::string>{"a", "New Folder", "z"}), shown());
    answerWithResult<oracle::RenameResponseProto>("rename", true);
    EXPECT_TRUE(proxy.setData(made, QLatin1String("zz"), Qt::EditRole));
    EXPECT_EQ((std::vector<std::string>{"a", "z", "zz"}), shown());
}

} // namespace
