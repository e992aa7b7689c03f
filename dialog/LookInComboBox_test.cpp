#include "dialog/LookInComboBox.h"

#include "dialog/LookInModel.h"
#include "testing/FakeDialogContext.h"

#include <gtest/gtest.h>

#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtGui/QStandardItemModel>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QProxyStyle>
#include <QtWidgets/QStyleFactory>
#include <QtWidgets/QStyleOptionComboBox>

namespace {

/// Draws as the style that it is based on, and notes what it was asked to draw.
class NotingStyle : public QProxyStyle
{
public:
    NotingStyle() : QProxyStyle(QStyleFactory::create(QLatin1String("fusion"))) {}

    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                            const QWidget *widget) const override
    {
        if (control == CC_ComboBox)
            drawn << QLatin1String("box");
        QProxyStyle::drawComplexControl(control, option, painter, widget);
    }

    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        if (element == CE_ComboBoxLabel) {
            const QStyleOptionComboBox *box = qstyleoption_cast<const QStyleOptionComboBox *>(option);
            drawn << QLatin1String("label");
            text = box->currentText;
            icon = box->currentIcon;
            pen = painter->pen().color();
            const QRect field = subControlRect(CC_ComboBox, box, SC_ComboBoxEditField, widget);
            room = field.width() - box->iconSize.width() - 4;
        }
        QProxyStyle::drawControl(element, option, painter, widget);
    }

    mutable QStringList drawn;
    mutable QString text;
    mutable QIcon icon;
    mutable QColor pen;
    mutable int room = 0; ///< pixels for the text
};

class LookInComboBoxTest : public ::testing::Test
{
protected:
    LookInComboBoxTest() : model(context)
    {
        combo.setStyle(&style);
        combo.setModel(&model);
        combo.resize(300, 30);
    }

    void goTo(const QString &path)
    {
        model.setPath(path);
        combo.setCurrentIndex(0);
    }

    QImage draw()
    {
        style.drawn.clear();
        QImage image(combo.size(), QImage::Format_RGB32);
        image.fill(Qt::white);
        combo.render(&image);
        return image;
    }

    void open()
    {
        combo.show();
        combo.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&combo));
        combo.showPopup();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(combo.view()->window()));
        // A popup takes what comes too soon for the end of the click that opened it.
        QTest::qWait(QApplication::doubleClickInterval() + 50);
    }

    /// For somebody who wants to see it.
    static void save(const QImage &image, const char *name)
    {
        const QString directory = QString::fromLocal8Bit(qgetenv("QUORHDFS_TEST_PICTURES"));
        if (directory.isEmpty())
            return;
        EXPECT_TRUE(image.save(QString::fromLatin1("%1/%2.png").arg(directory, QLatin1String(name))));
    }

    QPoint placeOf(int row) const { return combo.view()->visualRect(model.index(row)).center(); }

    /// The pointer comes over a row. Sent by hand: the display would tell of a move some time later.
    void hover(int row)
    {
        QWidget *const list = combo.view()->viewport();
        QMouseEvent move(QEvent::MouseMove, placeOf(row), list->mapToGlobal(placeOf(row)), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QApplication::sendEvent(list, &move);
    }

    void click(int row)
    {
        hover(row);
        QTest::mouseClick(combo.view()->viewport(), Qt::LeftButton, Qt::NoModifier, placeOf(row));
    }

    NotingStyle style;
    FakeDialogContext context;
    LookInModel model;
    LookInComboBox combo;
    QSignalSpy choices{&combo, SIGNAL(activated(QString))};
};

TEST_F(LookInComboBoxTest, OpensWithEverythingThatCanBeReached)
{
    context.visited = QStringList() << QLatin1String("D:/Temp");
    goTo(QLatin1String("hdfs:/user/data"));
    ASSERT_EQ(1, combo.count());
    open();
    EXPECT_TRUE(combo.view()->isVisible());
    ASSERT_EQ(6, combo.count());
    EXPECT_EQ(QLatin1String("hdfs:/"), combo.itemText(2));
    EXPECT_EQ(QLatin1String("Recent Places"), combo.itemText(4));
    EXPECT_EQ(0, combo.currentIndex());
    EXPECT_EQ(QLatin1String("hdfs:/user/data"), combo.currentText());
    EXPECT_EQ(0, choices.count());
    save(combo.view()->window()->grab().toImage(), "look-in-popup");
}

TEST_F(LookInComboBoxTest, OpensWithTheHistoryAsItIsThen)
{
    goTo(QLatin1String("hdfs:/"));
    open();
    EXPECT_EQ(3, combo.count());
    combo.hidePopup();
    context.visited << QLatin1String("hdfs:/a") << QLatin1String("hdfs:/b");
    combo.showPopup();
    EXPECT_EQ(5, combo.count());
    EXPECT_EQ(0, combo.currentIndex());
}

TEST_F(LookInComboBoxTest, PassesTheTextOfTheRowThatIsClicked)
{
    goTo(QLatin1String("hdfs:/user/data"));
    open();
    click(1);
    ASSERT_EQ(1, choices.count());
    EXPECT_EQ(QLatin1String("hdfs:/user"), choices[0][0].toString());
    EXPECT_FALSE(combo.view()->isVisible());
    open();
    click(3);
    ASSERT_EQ(2, choices.count());
    EXPECT_EQ(QLatin1String("My Computer"), choices[1][0].toString());
}

TEST_F(LookInComboBoxTest, TheHeadingCannotBeClicked)
{
    context.visited = QStringList() << QLatin1String("D:/Temp");
    goTo(QLatin1String("hdfs:/"));
    open();
    click(2);
    EXPECT_EQ(0, choices.count());
    EXPECT_TRUE(combo.view()->isVisible());
    // Not even when the pointer came over another row before.
    hover(3);
    EXPECT_EQ(3, combo.view()->currentIndex().row());
    click(2);
    EXPECT_EQ(0, choices.count());
    click(3);
    ASSERT_EQ(1, choices.count());
    EXPECT_EQ(QLatin1String("D:/Temp"), choices[0][0].toString());
}

TEST_F(LookInComboBoxTest, TheArrowKeysPassOverTheHeading)
{
    context.visited = QStringList() << QLatin1String("D:/Temp");
    goTo(QLatin1String("hdfs:/"));
    open();
    QTest::keyClick(combo.view(), Qt::Key_Down);
    EXPECT_EQ(1, combo.view()->currentIndex().row());
    QTest::keyClick(combo.view(), Qt::Key_Down);
    EXPECT_EQ(3, combo.view()->currentIndex().row());
    QTest::keyClick(combo.view(), Qt::Key_Return);
    ASSERT_EQ(1, choices.count());
    EXPECT_EQ(QLatin1String("D:/Temp"), choices[0][0].toString());
}

TEST_F(LookInComboBoxTest, OpensWithAnyOtherModelAsItIs)
{
    QStandardItemModel other;
    other.appendRow(new QStandardItem(QLatin1String("one")));
    other.appendRow(new QStandardItem(QLatin1String("two")));
    combo.setModel(&other);
    combo.setCurrentIndex(1);
    open();
    EXPECT_EQ(2, combo.count());
    EXPECT_EQ(0, combo.currentIndex());
    combo.hidePopup();

    LookInComboBox fresh;
    fresh.showPopup();
    EXPECT_EQ(-1, fresh.currentIndex());
}

TEST_F(LookInComboBoxTest, DrawsTheBoxAndThenThePlaceInTheColourOfTexts)
{
    QPalette palette = combo.palette();
    palette.setColor(QPalette::Text, QColor(1, 2, 3));
    palette.setColor(QPalette::ButtonText, QColor(4, 5, 6));
    combo.setPalette(palette);
    goTo(QLatin1String("hdfs:/"));
    draw();
    EXPECT_EQ(QStringList() << QLatin1String("box") << QLatin1String("label"), style.drawn);
    EXPECT_EQ(QColor(1, 2, 3), style.pen);
    EXPECT_FALSE(style.icon.isNull());
}

TEST_F(LookInComboBoxTest, DrawsAShortPlaceWhole)
{
    goTo(QLatin1String("hdfs:/user"));
    draw();
    EXPECT_EQ(QLatin1String("hdfs:/user"), style.text);
    goTo(QString());
    draw();
    EXPECT_EQ(QLatin1String("My Computer"), style.text);
}

TEST_F(LookInComboBoxTest, LeavesOutTheMiddleOfALongPath)
{
    const QString path =
        QLatin1String("hdfs:/user/analysis/experiments/2026/november/measurements/run-0001/result.csv");
    goTo(path);
    const QImage image = draw();
    EXPECT_EQ(combo.fontMetrics().elidedText(path, Qt::ElideMiddle, style.room), style.text);
    EXPECT_LT(style.text.length(), path.length());
    const QStringList ends = style.text.split(QChar(0x2026));
    ASSERT_EQ(2, ends.size());
    EXPECT_LT(5, ends[0].length());
    EXPECT_LT(5, ends[1].length());
    EXPECT_TRUE(path.startsWith(ends[0]));
    EXPECT_TRUE(path.endsWith(ends[1]));
    EXPECT_LE(combo.fontMetrics().horizontalAdvance(style.text), style.room);
    // The box itself keeps the whole path.
    EXPECT_EQ(path, combo.currentText());
    save(image, "look-in-long-path");
}

TEST_F(LookInComboBoxTest, ShowsMoreOfAPathInAWiderBox)
{
    goTo(QLatin1String("hdfs:/") + QString(200, QLatin1Char('x')));
    draw();
    const int narrow = style.text.length();
    combo.resize(600, 30);
    draw();
    EXPECT_LT(narrow + 10, style.text.length());
    combo.resize(4000, 30);
    draw();
    EXPECT_EQ(combo.currentText(), style.text);
}

TEST_F(LookInComboBoxTest, DrawsAnyPathAtAnyWidth)
{
    const QStringList paths = {QString(100000, QLatin1Char('a')),
                               QLatin1String("hdfs:/") + QString(100000, QChar(0x6c49)),
                               QLatin1String("hdfs:/a\nb\r\n/c"),
                               QString::fromUtf8("hdfs:/\xe2\x80\xae/\xf0\x9f\x98\x80/txt.exe"),
                               QString(QChar(0xD83D)).repeated(500),
                               QString(QChar(0)).repeated(500),
                               QString()};
    for (const QString &path : paths) {
        goTo(path);
        for (int width : {1, 10, 25, 50, 51, 300}) {
            combo.resize(width, 30);
            draw();
            EXPECT_EQ(2, style.drawn.size());
            EXPECT_GE(300, style.text.length());
        }
    }
}

TEST_F(LookInComboBoxTest, DrawsNothingInsideWithoutARow)
{
    draw();
    EXPECT_EQ(-1, combo.currentIndex());
    EXPECT_EQ(QString(), style.text);
}

} // namespace
