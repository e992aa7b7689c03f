#include "dialog/FileListView.h"

#include <gtest/gtest.h>

#include <QtGui/QStandardItemModel>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QVBoxLayout>

#include <vector>

namespace {

/// The view in a dialog whose default button wants to be pressed.
class FileListViewTest : public ::testing::Test
{
protected:
    FileListViewTest()
    {
        layout.addWidget(&view);
        layout.addWidget(&button);
        button.setDefault(true);
        files.appendRow(new QStandardItem(QLatin1String("first.csv")));
        files.appendRow(new QStandardItem(QLatin1String("second.csv")));
        view.setModel(&files);
        view.setEditTriggers(QAbstractItemView::EditKeyPressed);
        dialog.show();
        dialog.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
        view.setFocus();
    }

    QDialog dialog;
    QVBoxLayout layout{&dialog};
    FileListView view;
    QPushButton button;
    QStandardItemModel files;
    QSignalSpy activations{&view, SIGNAL(activated(QModelIndex))};
    QSignalSpy presses{&button, SIGNAL(clicked())};
};

TEST_F(FileListViewTest, EnterActivatesTheCurrentItemAndNothingElse)
{
    view.setCurrentIndex(files.index(1, 0));
    QTest::keyClick(&view, Qt::Key_Return);
    ASSERT_EQ(1, activations.count());
    EXPECT_EQ(files.index(1, 0), activations[0][0].toModelIndex());
    QTest::keyClick(&view, Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(2, activations.count());
    QTest::keyClick(&view, Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(3, activations.count());
    EXPECT_EQ(0, presses.count());
    EXPECT_TRUE(dialog.isVisible());
}

TEST_F(FileListViewTest, EnterIsTheDialogsWhereNothingIsCurrent)
{
    view.setCurrentIndex(QModelIndex());
    QTest::keyClick(&view, Qt::Key_Return);
    EXPECT_EQ(0, activations.count());
    EXPECT_EQ(1, presses.count());
}

TEST_F(FileListViewTest, EnterEndsARenameAndActivatesNothing)
{
    view.setCurrentIndex(files.index(0, 0));
    view.edit(files.index(0, 0));
    QLineEdit *editor = view.findChild<QLineEdit *>();
    ASSERT_TRUE(editor);
    editor->setText(QLatin1String("renamed.csv"));
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(QLatin1String("renamed.csv"), files.item(0)->text());
    EXPECT_EQ(0, activations.count());
    EXPECT_EQ(0, presses.count());
    QTest::keyClick(&view, Qt::Key_Return);
    EXPECT_EQ(1, activations.count());
}

TEST_F(FileListViewTest, OtherKeysDoWhatTheyDoInAnyList)
{
    view.setCurrentIndex(files.index(0, 0));
    QTest::keyClick(&view, Qt::Key_Down);
    EXPECT_EQ(1, view.currentIndex().row());
    QTest::keyClick(&view, Qt::Key_F);
    EXPECT_EQ(0, view.currentIndex().row());
    EXPECT_EQ(0, activations.count());
    QTest::keyClick(&view, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(QDialog::Rejected, dialog.result());
}

TEST_F(FileListViewTest, APageIsWhatTheViewShows)
{
    for (int i = 0; i < 1000; ++i)
        files.appendRow(new QStandardItem(QString::fromLatin1("file-%1.csv").arg(i)));
    view.setWrapping(true);
    view.setCurrentIndex(files.index(2, 0));
    QCoreApplication::processEvents();
    int perColumn = 1;
    while (view.visualRect(files.index(perColumn, 0)).left() == view.visualRect(files.index(0, 0)).left())
        ++perColumn;
    std::vector<int> rows{2};
    while (rows.size() < 4) {
        QTest::keyClick(&view, Qt::Key_PageDown);
        const int row = view.currentIndex().row();
        const int columns = (row - rows.back()) / perColumn;
        EXPECT_EQ(rows.back() + columns * perColumn, row);
        EXPECT_LE(1, columns);
        const int shown = view.viewport()->width() / view.visualRect(view.currentIndex()).width();
        EXPECT_LE(shown - 1, columns);
        EXPECT_GE(shown + 1, columns);
        EXPECT_TRUE(view.viewport()->rect().intersects(view.visualRect(view.currentIndex())));
        rows.push_back(row);
    }
    QTest::keyClick(&view, Qt::Key_PageUp);
    QTest::keyClick(&view, Qt::Key_PageUp);
    EXPECT_EQ(rows[1], view.currentIndex().row());
    for (int i = 0; i < 1000; ++i)
        QTest::keyClick(&view, Qt::Key_PageDown);
    EXPECT_EQ(files.rowCount() - 1, view.currentIndex().row());
    for (int i = 0; i < 1000; ++i)
        QTest::keyClick(&view, Qt::Key_PageUp);
    EXPECT_EQ(0, view.currentIndex().row());
}

TEST_F(FileListViewTest, APageOfOneColumnIsThatOfAnyList)
{
    for (int i = 0; i < 1000; ++i)
        files.appendRow(new QStandardItem(QString::fromLatin1("file-%1.csv").arg(i)));
    view.setCurrentIndex(files.index(0, 0));
    QTest::keyClick(&view, Qt::Key_PageDown);
    EXPECT_LT(0, view.currentIndex().row());
    EXPECT_GT(100, view.currentIndex().row());
}

TEST_F(FileListViewTest, ADoubleClickActivates)
{
    const QPoint place = view.visualRect(files.index(1, 0)).center();
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, place);
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, place);
    EXPECT_LE(1, activations.count());
    EXPECT_EQ(files.index(1, 0), activations.last()[0].toModelIndex());
}

TEST_F(FileListViewTest, AsksForMoreRoomThanAnyList)
{
    QListView plain;
    plain.setModel(&files);
    EXPECT_LT(plain.sizeHint().width(), view.sizeHint().width());
    EXPECT_LT(plain.sizeHint().height(), view.sizeHint().height());
}

TEST_F(FileListViewTest, AsksForRoomForRowsOfItsOwnHeight)
{
    const int before = view.sizeHint().height();
    QFont larger = view.font();
    larger.setPointSize(3 * larger.pointSize());
    view.setFont(larger);
    EXPECT_LT(2 * before, view.sizeHint().height());
    files.clear();
    EXPECT_LT(2 * before, view.sizeHint().height());
    EXPECT_TRUE(FileListView().sizeHint().isValid());
}

} // namespace
