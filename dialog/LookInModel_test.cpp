#include "dialog/LookInModel.h"

#include "testing/FakeDialogContext.h"

#include <gtest/gtest.h>

#include <QtCore/QStringListModel>
#include <QtGui/QIcon>
#include <QtGui/QImage>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QApplication>
#include <QtWidgets/QProxyStyle>

#include <map>

namespace {

const int kEdge = 16; // pixels of an icon

/// Gives each standard icon a colour of its own: the icons of a real style may look alike.
class ColouredIcons : public QProxyStyle
{
public:
    QIcon standardIcon(StandardPixmap picture, const QStyleOption *, const QWidget *) const override
    {
        QPixmap pixmap(kEdge, kEdge);
        pixmap.fill(QColor(10, 20, static_cast<int>(picture)));
        return QIcon(pixmap);
    }
};

/// Which standard icon `ColouredIcons` made this of.
int pictureOf(const QVariant &decoration)
{
    EXPECT_EQ(QVariant::Icon, decoration.type());
    const QIcon icon = decoration.value<QIcon>();
    EXPECT_FALSE(icon.isNull());
    return icon.pixmap(kEdge).toImage().pixelColor(0, 0).blue();
}

class LookInModelTest : public ::testing::Test
{
protected:
    LookInModelTest() : model(context) { QApplication::setStyle(new ColouredIcons); }
    ~LookInModelTest() override { QApplication::setStyle(QLatin1String("fusion")); }

    QStringList rows() const
    {
        QStringList texts;
        for (int row = 0; row < model.rowCount(); ++row)
            texts << model.data(model.index(row)).toString();
        return texts;
    }

    /// The rows that the user cannot choose.
    QList<int> disabledRows() const
    {
        QList<int> disabled;
        for (int row = 0; row < model.rowCount(); ++row) {
            if (!(model.flags(model.index(row)) & Qt::ItemIsEnabled))
                disabled << row;
        }
        return disabled;
    }

    int picture(int row) const { return pictureOf(model.data(model.index(row), Qt::DecorationRole)); }

    QStringList rebuiltAt(const char *path)
    {
        model.setPath(QString::fromUtf8(path));
        model.rebuild();
        return rows();
    }

    FakeDialogContext context;
    LookInModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(LookInModelTest, IsEmptyAtFirst)
{
    EXPECT_EQ(0, model.rowCount());
    EXPECT_FALSE(model.index(0).isValid());
}

TEST_F(LookInModelTest, HoldsTheCurrentPathAloneWhichCannotBeChosen)
{
    context.visited = QStringList() << QLatin1String("hdfs:/before");
    model.setPath(QLatin1String("hdfs:/user/data"));
    EXPECT_EQ(QStringList() << QLatin1String("hdfs:/user/data"), rows());
    EXPECT_EQ(QList<int>() << 0, disabledRows());
    model.setPath(QString());
    EXPECT_EQ(QStringList() << QLatin1String("My Computer"), rows());
    EXPECT_EQ(QList<int>() << 0, disabledRows());
}

TEST_F(LookInModelTest, APathThatIsSetResetsTheModelAndThenChangesItsLayout)
{
    QSignalSpy resets(&model, SIGNAL(modelReset()));
    QSignalSpy layouts(&model, SIGNAL(layoutChanged()));
    int resetsBeforeLayout = -1;
    QObject::connect(&model, &QAbstractItemModel::layoutChanged, [&] { resetsBeforeLayout = resets.count(); });
    model.setPath(QLatin1String("hdfs:/a"));
    EXPECT_EQ(1, resets.count());
    EXPECT_EQ(1, layouts.count());
    EXPECT_EQ(1, resetsBeforeLayout);
    model.setPath(QLatin1String("hdfs:/a"));
    EXPECT_EQ(2, resets.count());
    EXPECT_EQ(2, layouts.count());
}

TEST_F(LookInModelTest, ARebuildResetsTheModelOnce)
{
    model.setPath(QLatin1String("hdfs:/a"));
    QSignalSpy resets(&model, SIGNAL(modelReset()));
    QSignalSpy layouts(&model, SIGNAL(layoutChanged()));
    model.rebuild();
    EXPECT_EQ(1, resets.count());
    EXPECT_EQ(0, layouts.count());
}

TEST_F(LookInModelTest, LeadsFromAnHdfsDirectoryToItsRootAndToPlacesVisited)
{
    context.visited = QStringList() << QString() << QLatin1String("D:/Temp") << QLatin1String("hdfs:/user/data");
    EXPECT_EQ(QStringList() << QLatin1String("hdfs:/user/data") << QLatin1String("hdfs:/user")
                            << QLatin1String("hdfs:/") << QLatin1String("My Computer") << QLatin1String("Recent Places")
                            << QLatin1String("My Computer") << QLatin1String("D:/Temp")
                            << QLatin1String("hdfs:/user/data"),
              rebuiltAt("hdfs:/user/data"));
    EXPECT_EQ(QList<int>() << 4, disabledRows());
}

TEST_F(LookInModelTest, LeadsFromALocalDirectoryToItsDrive)
{
    context.visited = QStringList() << QLatin1String("D:/Temp/x");
    EXPECT_EQ(QStringList() << QLatin1String("D:/Temp/x") << QLatin1String("D:/Temp") << QLatin1String("D:/")
                            << QLatin1String("My Computer") << QLatin1String("Recent Places")
                            << QLatin1String("D:/Temp/x"),
              rebuiltAt("D:/Temp/x"));
    EXPECT_EQ(QList<int>() << 4, disabledRows());
}

TEST_F(LookInModelTest, HasNoChainAtTheComputerLevel)
{
    context.visited = QStringList() << QLatin1String("hdfs:/") << QString();
    EXPECT_EQ(QStringList() << QLatin1String("My Computer") << QLatin1String("Recent Places") << QLatin1String("hdfs:/")
                            << QLatin1String("My Computer"),
              rebuiltAt(""));
    EXPECT_EQ(QList<int>() << 1, disabledRows());
}

TEST_F(LookInModelTest, EndsWithTheHeadingWithoutAHistory)
{
    EXPECT_EQ(QStringList() << QLatin1String("hdfs:/") << QLatin1String("My Computer")
                            << QLatin1String("Recent Places"),
              rebuiltAt("hdfs:/"));
    EXPECT_EQ(QList<int>() << 2, disabledRows());
}

TEST_F(LookInModelTest, RebuiltBeforeAnyPathIsAtTheComputerLevel)
{
    model.rebuild();
    EXPECT_EQ(QStringList() << QLatin1String("My Computer") << QLatin1String("Recent Places"), rows());
}

TEST_F(LookInModelTest, EachRebuildTakesTheHistoryAsItIsThen)
{
    rebuiltAt("hdfs:/");
    context.visited << QLatin1String("hdfs:/later");
    EXPECT_EQ(3, model.rowCount());
    model.rebuild();
    EXPECT_EQ(4, model.rowCount());
    EXPECT_EQ(QLatin1String("hdfs:/later"), rows().last());
    context.visited.clear();
    model.rebuild();
    EXPECT_EQ(3, model.rowCount());
}

TEST_F(LookInModelTest, ANewPathTakesTheListAwayAgain)
{
    rebuiltAt("hdfs:/user/data");
    model.setPath(QLatin1String("D:/"));
    EXPECT_EQ(QStringList() << QLatin1String("D:/"), rows());
    EXPECT_EQ(QList<int>() << 0, disabledRows());
}

TEST_F(LookInModelTest, ADirectoryCalledLikeTheHeadingCanBeChosen)
{
    context.visited = QStringList() << QLatin1String("Recent Places") << QLatin1String("Recent Places");
    rebuiltAt("");
    EXPECT_EQ(QList<int>() << 1, disabledRows());
}

TEST_F(LookInModelTest, IconsTellTheComputerHdfsDrivesAndFoldersApart)
{
    context.visited = QStringList() << QString() << QLatin1String("hdfs:/") << QLatin1String("D:/")
                                    << QLatin1String("D:/a") << QLatin1String("D:") << QLatin1String("a/b")
                                    << QLatin1String("HDFS:/") << QLatin1String("hdfs:");
    rebuiltAt("hdfs:/user");
    const QList<int> expected = QList<int>() << QStyle::SP_DirIcon                            // hdfs:/user
                                             << QStyle::SP_DriveNetIcon                       // hdfs:/
                                             << QStyle::SP_ComputerIcon << QStyle::SP_DirIcon // the heading
                                             << QStyle::SP_ComputerIcon << QStyle::SP_DriveNetIcon
                                             << QStyle::SP_DriveHDIcon << QStyle::SP_DirIcon << QStyle::SP_DirIcon
                                             << QStyle::SP_DriveHDIcon << QStyle::SP_DirIcon << QStyle::SP_DirIcon;
    ASSERT_EQ(expected.size(), model.rowCount());
    for (int row = 0; row < expected.size(); ++row)
        EXPECT_EQ(expected[row], picture(row)) << row;
}

TEST_F(LookInModelTest, ThePathThatStandsAloneHasItsIconToo)
{
    const std::map<const char *, QStyle::StandardPixmap> pictures = {{"", QStyle::SP_ComputerIcon},
                                                                     {"hdfs:/", QStyle::SP_DriveNetIcon},
                                                                     {"hdfs:/a", QStyle::SP_DirIcon},
                                                                     {"D:/", QStyle::SP_DriveHDIcon},
                                                                     {"D:/a", QStyle::SP_DirIcon}};
    for (const auto &place : pictures) {
        model.setPath(QLatin1String(place.first));
        EXPECT_EQ(place.second, picture(0)) << place.first;
    }
}

TEST_F(LookInModelTest, TellsNothingInOtherRolesOrWithoutARow)
{
    rebuiltAt("hdfs:/user");
    for (int role = 0; role <= Qt::UserRole + 1; ++role) {
        const bool isTold = role == Qt::DisplayRole || role == Qt::DecorationRole;
        EXPECT_EQ(isTold, model.data(model.index(0), role).isValid()) << role;
        EXPECT_FALSE(model.data(QModelIndex(), role).isValid()) << role;
    }
    EXPECT_FALSE(model.flags(QModelIndex()));
}

TEST_F(LookInModelTest, HasNoRowsBelowItsRows)
{
    rebuiltAt("hdfs:/user");
    EXPECT_EQ(0, model.rowCount(model.index(0)));
    EXPECT_FALSE(model.index(0, 0, model.index(0)).isValid());
}

TEST_F(LookInModelTest, AnIndexThatIsOutOfDateTellsNothing)
{
    rebuiltAt("hdfs:/user/data");
    const QModelIndex last = model.index(model.rowCount() - 1);
    model.setPath(QLatin1String("hdfs:/"));
    EXPECT_FALSE(model.data(last).isValid());
    EXPECT_FALSE(model.data(last, Qt::DecorationRole).isValid());
}

TEST_F(LookInModelTest, EnabledRowsKeepTheFlagsOfAnyList)
{
    rebuiltAt("hdfs:/user");
    // Those of a plain list model without drag and drop and editing.
    QStringListModel plain(rows());
    const Qt::ItemFlags more = Qt::ItemIsEditable | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;
    const Qt::ItemFlags expected = plain.flags(plain.index(0)) & ~more;
    EXPECT_EQ(expected, model.flags(model.index(0)));
    EXPECT_EQ(expected & ~Qt::ItemIsEnabled, model.flags(model.index(3)));
}

TEST_F(LookInModelTest, FollowsPathsOfAnyShape)
{
    for (const char *path : {"relative", "/", "//", "///a//b///", "ab/", "hdfs:", "hdfs:a/b", "hdfs://host/a", "..",
                             "D:", "D:\\a\\b", "\n", "hdfs:/\xe2\x80\xae/\xf0\x9f\x98\x80", "HDFS:/a"}) {
        const QStringList shown = rebuiltAt(path);
        ASSERT_LE(3, shown.size()) << path;
        EXPECT_EQ(QString::fromUtf8(path), shown.first());
        EXPECT_EQ(QLatin1String("Recent Places"), shown.last());
        EXPECT_EQ(QList<int>() << shown.size() - 1, disabledRows()) << path;
    }
}

TEST_F(LookInModelTest, FollowsTheDeepestPathThatHdfsAllows)
{
    const int depth = 1000;
    QString path = QLatin1String("hdfs:");
    for (int i = 0; i < depth; ++i)
        path += QLatin1String("/folder");
    model.setPath(path);
    model.rebuild();
    EXPECT_EQ(depth + 3, model.rowCount());
    EXPECT_EQ(QLatin1String("hdfs:/"), rows()[depth]);
    const QString longName = QLatin1String("hdfs:/") + QString(100000, QChar(0x6c49));
    model.setPath(longName);
    model.rebuild();
    EXPECT_EQ(longName, rows().first());
    EXPECT_EQ(4, model.rowCount());
}

} // namespace
