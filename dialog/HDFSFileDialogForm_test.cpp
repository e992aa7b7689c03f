// The tree of widgets that the form builds, item by item: other code and translations know it by name.
#include "ui_HDFSFileDialog.h"

#include <gtest/gtest.h>

#include <QtCore/QMetaProperty>
#include <QtCore/QTranslator>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace {

const int kDialogWidth = 1042;
const int kDialogHeight = 512;
const int kPointers = 41; // 40 items with a name and a spacer

struct Item {
    QObject *object;
    const void *member; ///< where the form keeps its pointer
    std::string name;
    std::string className;
    std::string parent;
};

struct Text {
    const char *item;
    const char *property;
    const char *text;
};

const Text kTexts[] = {
    {"HDFSFileDialog", "windowTitle", "HDFSFileDialog"},
    {"actionNewFolder", "text", "New Folder"},
    {"actionRename", "text", "Rename"},
    {"actionDelete", "text", "Delete"},
    {"pbNative", "text", "Open now the Native Windows File Browser"},
    {"pbOpenNative", "text",
     "Keep the [CTRL] key pressed while clicking on the\nBrowse Button to use the Familiar Native File Browser"},
    {"lookInLabel", "text", "Look in:"},
    {"fileNameLabel", "text", "File Name:"},
    {"fileTypeLabel", "text", "Files of type:"},
    {"label", "text", "HDFS Replication Factor: "},
    {"label_2", "text", "             HDFS Block Size"},
    {"label_3", "text", "MB"},
    {"backButton", "toolTip", "Back"},
    {"backButton", "accessibleName", "Back"},
    {"backButton", "accessibleDescription", "Go back"},
    {"forwardButton", "toolTip", "Forward"},
    {"forwardButton", "accessibleName", "Forward"},
    {"forwardButton", "accessibleDescription", "Go forward"},
    {"toParentButton", "toolTip", "Parent Directory"},
    {"toParentButton", "accessibleName", "Parent Directory"},
    {"toParentButton", "accessibleDescription", "Go to the parent directory"},
    {"newFolderButton", "toolTip", "Create New Folder"},
    {"newFolderButton", "accessibleName", "Create New Folder"},
    {"newFolderButton", "accessibleDescription", "Create a New Folder"},
    {"listModeButton", "toolTip", "List View"},
    {"listModeButton", "accessibleName", "List View"},
    {"listModeButton", "accessibleDescription", "Change to list view mode"},
    {"detailModeButton", "toolTip", "Detail View"},
    {"detailModeButton", "accessibleName", "Detail View"},
    {"detailModeButton", "accessibleDescription", "Change to detail view mode"},
};

std::string nameOf(const QObject *object)
{
    return object ? object->objectName().toStdString() : std::string();
}

class HDFSFileDialogForm : public ::testing::Test
{
protected:
    HDFSFileDialogForm() { form.setupUi(&dialog); }

    QObject *find(const std::string &name)
    {
        if (name == "HDFSFileDialog")
            return &dialog;
        const QList<QObject *> found = dialog.findChildren<QObject *>(QString::fromStdString(name));
        EXPECT_EQ(1, found.size()) << name;
        return found.value(0);
    }

    /// In the order in which they are built.
    std::vector<Item> items()
    {
        const std::string top = "HDFSFileDialog";
        return {
            item(form.actionNewFolder, "actionNewFolder", "QAction", top),
            item(form.actionRename, "actionRename", "QAction", top),
            item(form.actionDelete, "actionDelete", "QAction", top),
            item(form.gridLayout, "gridLayout", "QGridLayout", top),
            item(form.horizontalLayout, "horizontalLayout", "QHBoxLayout", "gridLayout"),
            item(form.pbNative, "pbNative", "QPushButton", top),
            item(form.pbOpenNative, "pbOpenNative", "QLabel", top),
            item(form.frame_2, "frame_2", "QFrame", top),
            item(form.lookInLabel, "lookInLabel", "QLabel", top),
            item(form.splitter, "splitter", "QSplitter", top),
            item(form.listWidget, "listWidget", "QListWidget", "splitter"),
            item(form.frame, "frame", "QFrame", "splitter"),
            item(form._2, "_2", "QVBoxLayout", "frame"),
            item(form.stackedWidget, "stackedWidget", "QStackedWidget", "frame"),
            item(form.page, "page", "QWidget", "stackedWidget"),
            item(form._3, "_3", "QVBoxLayout", "page"),
            item(form.listView, "listView", "FileListView", "page"),
            item(form.page_2, "page_2", "QWidget", "stackedWidget"),
            item(form._4, "_4", "QVBoxLayout", "page_2"),
            item(form.treeView, "treeView", "QTreeView", "page_2"),
            item(form.fileNameLabel, "fileNameLabel", "QLabel", top),
            item(form.fileNameEdit, "fileNameEdit", "QLineEdit", top),
            item(form.buttonBox, "buttonBox", "QDialogButtonBox", top),
            item(form.fileTypeLabel, "fileTypeLabel", "QLabel", top),
            item(form.fileTypeCombo, "fileTypeCombo", "QComboBox", top),
            item(form.widgetHDFS, "widgetHDFS", "QWidget", top),
            item(form.horizontalLayout_2, "horizontalLayout_2", "QHBoxLayout", "widgetHDFS"),
            item(form.label, "label", "QLabel", "widgetHDFS"),
            item(form.sbReplication, "sbReplication", "QSpinBox", "widgetHDFS"),
            item(form.label_2, "label_2", "QLabel", "widgetHDFS"),
            item(form.sbBlockSize, "sbBlockSize", "QSpinBox", "widgetHDFS"),
            item(form.label_3, "label_3", "QLabel", "widgetHDFS"),
            item(form.hboxLayout, "hboxLayout", "QHBoxLayout", "gridLayout"),
            item(form.lookInCombo, "lookInCombo", "LookInComboBox", top),
            item(form.backButton, "backButton", "QToolButton", top),
            item(form.forwardButton, "forwardButton", "QToolButton", top),
            item(form.toParentButton, "toParentButton", "QToolButton", top),
            item(form.newFolderButton, "newFolderButton", "QToolButton", top),
            item(form.listModeButton, "listModeButton", "QToolButton", top),
            item(form.detailModeButton, "detailModeButton", "QToolButton", top),
        };
    }

    template <class T> static Item item(T *&member, const char *name, const char *className, const std::string &parent)
    {
        return Item{member, &member, name, className, parent};
    }

    /// The names of what stands in a layout, in its order; a spacer is "".
    static std::vector<std::string> contentsOf(const QLayout *layout)
    {
        std::vector<std::string> names;
        for (int i = 0; i < layout->count(); ++i) {
            QLayoutItem *const item = layout->itemAt(i);
            names.push_back(nameOf(item->widget() ? static_cast<QObject *>(item->widget()) : item->layout()));
        }
        return names;
    }

    /// Sends the keys that a user has, to whichever widget has the focus.
    std::string focusAfter(Qt::Key key)
    {
        QTest::keyClick(QApplication::focusWidget(), key);
        return nameOf(QApplication::focusWidget());
    }

    void show()
    {
        dialog.show();
        dialog.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    }

    QDialog dialog;
    Ui::HDFSFileDialog form;
};

// --- The tree ---

TEST_F(HDFSFileDialogForm, HasEachItemByItsNameInItsPlace)
{
    EXPECT_EQ(kPointers - 1, static_cast<int>(items().size()));
    for (const Item &item : items()) {
        EXPECT_EQ(item.object, find(item.name)) << item.name;
        EXPECT_EQ(item.className, item.object->metaObject()->className()) << item.name;
        ASSERT_TRUE(item.object->parent()) << item.name;
        EXPECT_EQ(find(item.parent), item.object->parent()) << item.name;
    }
}

TEST_F(HDFSFileDialogForm, HasNothingElse)
{
    std::multiset<std::string> expected;
    for (const Item &item : items())
        expected.insert(item.name);
    std::multiset<std::string> named;
    for (const QObject *object : dialog.findChildren<QObject *>()) {
        // Qt names its own parts of widgets so.
        if (!object->objectName().isEmpty() && !object->objectName().startsWith(QLatin1String("qt_")))
            named.insert(nameOf(object));
    }
    EXPECT_EQ(expected, named);
    // Nameless things would be Qt's own too, and those are not the dialog's children.
    for (const QObject *child : dialog.children())
        EXPECT_NE("", nameOf(child)) << child->metaObject()->className();
}

TEST_F(HDFSFileDialogForm, KeepsItsPointersInTheOrderOfBuilding)
{
    EXPECT_EQ(kPointers * sizeof(void *), sizeof(Ui::HDFSFileDialog));
    const void *before = nullptr;
    for (const Item &item : items()) {
        EXPECT_LT(before, item.member) << item.name;
        before = item.member;
    }
    EXPECT_LT(static_cast<const void *>(&form.label_3), static_cast<const void *>(&form.horizontalSpacer));
    EXPECT_LT(static_cast<const void *>(&form.horizontalSpacer), static_cast<const void *>(&form.hboxLayout));
}

TEST_F(HDFSFileDialogForm, BuildsItsItemsInThatOrder)
{
    std::vector<std::string> expected;
    for (const Item &item : items()) {
        if (item.parent == "HDFSFileDialog")
            expected.push_back(item.name);
    }
    std::vector<std::string> built;
    for (const QObject *child : dialog.children())
        built.push_back(nameOf(child));
    EXPECT_EQ(expected, built);
}

TEST_F(HDFSFileDialogForm, PutsItsActionsIntoNoWidget)
{
    for (const QAction *action : {form.actionNewFolder, form.actionRename, form.actionDelete}) {
        EXPECT_TRUE(action->associatedWidgets().isEmpty()) << nameOf(action);
        EXPECT_TRUE(action->icon().isNull());
    }
}

TEST_F(HDFSFileDialogForm, TheSplitterHasTheBookmarksAtTheLeftAndTheViewsAtTheRight)
{
    ASSERT_EQ(2, form.splitter->count());
    EXPECT_EQ(form.listWidget, form.splitter->widget(0));
    EXPECT_EQ(form.frame, form.splitter->widget(1));
}

TEST_F(HDFSFileDialogForm, TheStackHasTheListInFrontOfTheDetails)
{
    ASSERT_EQ(2, form.stackedWidget->count());
    EXPECT_EQ(form.page, form.stackedWidget->widget(0));
    EXPECT_EQ(form.page_2, form.stackedWidget->widget(1));
    EXPECT_EQ(0, form.stackedWidget->currentIndex());
}

// --- Layouts ---

TEST_F(HDFSFileDialogForm, TheGridHasSevenRows)
{
    struct Cell {
        QObject *object;
        int row, column, rowSpan, columnSpan;
    };
    const Cell cells[] = {
        {form.horizontalLayout, 0, 0, 1, 3}, {form.frame_2, 1, 0, 1, 3},    {form.lookInLabel, 2, 0, 1, 1},
        {form.hboxLayout, 2, 1, 1, 2},       {form.splitter, 3, 0, 1, 3},   {form.fileNameLabel, 4, 0, 1, 1},
        {form.fileNameEdit, 4, 1, 1, 1},     {form.buttonBox, 4, 2, 2, 1},  {form.fileTypeLabel, 5, 0, 1, 1},
        {form.fileTypeCombo, 5, 1, 1, 1},    {form.widgetHDFS, 6, 0, 1, 3},
    };
    EXPECT_EQ(7, form.gridLayout->rowCount());
    EXPECT_EQ(3, form.gridLayout->columnCount());
    EXPECT_EQ(11, form.gridLayout->count());
    for (const Cell &cell : cells) {
        int found = -1;
        for (int i = 0; i < form.gridLayout->count(); ++i) {
            QLayoutItem *const item = form.gridLayout->itemAt(i);
            if (cell.object == item->widget() || cell.object == item->layout())
                found = i;
        }
        ASSERT_NE(-1, found) << nameOf(cell.object);
        int row = -1, column = -1, rowSpan = -1, columnSpan = -1;
        form.gridLayout->getItemPosition(found, &row, &column, &rowSpan, &columnSpan);
        EXPECT_EQ(cell.row, row) << nameOf(cell.object);
        EXPECT_EQ(cell.column, column) << nameOf(cell.object);
        EXPECT_EQ(cell.rowSpan, rowSpan) << nameOf(cell.object);
        EXPECT_EQ(cell.columnSpan, columnSpan) << nameOf(cell.object);
        EXPECT_EQ(Qt::Alignment(), form.gridLayout->itemAt(found)->alignment()) << nameOf(cell.object);
    }
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(0, form.gridLayout->rowStretch(i));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(0, form.gridLayout->columnStretch(i));
}

TEST_F(HDFSFileDialogForm, RowsHoldTheirItemsInOrder)
{
    typedef std::vector<std::string> Names;
    EXPECT_EQ((Names{"pbNative", "pbOpenNative"}), contentsOf(form.horizontalLayout));
    EXPECT_EQ((Names{"lookInCombo", "backButton", "forwardButton", "toParentButton", "newFolderButton",
                     "listModeButton", "detailModeButton"}),
              contentsOf(form.hboxLayout));
    EXPECT_EQ((Names{"label", "sbReplication", "label_2", "sbBlockSize", "label_3", ""}),
              contentsOf(form.horizontalLayout_2));
    EXPECT_EQ(Names{"stackedWidget"}, contentsOf(form._2));
    EXPECT_EQ(Names{"listView"}, contentsOf(form._3));
    EXPECT_EQ(Names{"treeView"}, contentsOf(form._4));
    for (const QBoxLayout *layout :
         {static_cast<QBoxLayout *>(form.horizontalLayout), static_cast<QBoxLayout *>(form.hboxLayout),
          static_cast<QBoxLayout *>(form.horizontalLayout_2)}) {
        for (int i = 0; i < layout->count(); ++i)
            EXPECT_EQ(0, layout->stretch(i));
    }
}

TEST_F(HDFSFileDialogForm, LayoutsHaveTheirSpacingAndMargins)
{
    EXPECT_EQ(QMargins(11, 11, 11, 11), form.gridLayout->contentsMargins());
    EXPECT_EQ(6, form.gridLayout->horizontalSpacing());
    EXPECT_EQ(6, form.gridLayout->verticalSpacing());
    struct {
        const QLayout *layout;
        int spacing;
    } const layouts[] = {{form.horizontalLayout, 6},   {form._2, 0},        {form._3, 0}, {form._4, 0},
                         {form.horizontalLayout_2, 6}, {form.hboxLayout, 6}};
    for (const auto &expected : layouts) {
        EXPECT_EQ(expected.spacing, expected.layout->spacing()) << nameOf(expected.layout);
        EXPECT_EQ(QMargins(0, 0, 0, 0), expected.layout->contentsMargins()) << nameOf(expected.layout);
    }
}

TEST_F(HDFSFileDialogForm, TheSpacerFillsTheRestOfTheHdfsOptions)
{
    EXPECT_EQ(form.horizontalSpacer, form.horizontalLayout_2->itemAt(5)->spacerItem());
    EXPECT_EQ(QSize(562, 20), form.horizontalSpacer->sizeHint());
    EXPECT_EQ(QSizePolicy::Expanding, form.horizontalSpacer->sizePolicy().horizontalPolicy());
    EXPECT_EQ(QSizePolicy::Minimum, form.horizontalSpacer->sizePolicy().verticalPolicy());
}

// --- Properties ---

TEST_F(HDFSFileDialogForm, WidgetsHaveTheirSizePolicies)
{
    struct {
        const QWidget *widget;
        QSizePolicy::Policy horizontal, vertical;
        int horizontalStretch, verticalStretch;
    } const policies[] = {
        {form.pbNative, QSizePolicy::Minimum, QSizePolicy::MinimumExpanding, 0, 0},
        {form.pbOpenNative, QSizePolicy::Fixed, QSizePolicy::Preferred, 0, 0},
        {form.splitter, QSizePolicy::Expanding, QSizePolicy::Expanding, 0, 1},
        {form.fileNameLabel, QSizePolicy::Minimum, QSizePolicy::Preferred, 0, 0},
        {form.fileNameEdit, QSizePolicy::Expanding, QSizePolicy::Fixed, 1, 0},
        {form.fileTypeLabel, QSizePolicy::Preferred, QSizePolicy::Fixed, 0, 0},
        {form.fileTypeCombo, QSizePolicy::Expanding, QSizePolicy::Fixed, 0, 0},
        {form.sbReplication, QSizePolicy::Fixed, QSizePolicy::Fixed, 0, 0},
        {form.lookInCombo, QSizePolicy::Expanding, QSizePolicy::Fixed, 1, 0},
    };
    for (const auto &expected : policies) {
        const QSizePolicy policy = expected.widget->sizePolicy();
        EXPECT_EQ(expected.horizontal, policy.horizontalPolicy()) << nameOf(expected.widget);
        EXPECT_EQ(expected.vertical, policy.verticalPolicy()) << nameOf(expected.widget);
        EXPECT_EQ(expected.horizontalStretch, policy.horizontalStretch()) << nameOf(expected.widget);
        EXPECT_EQ(expected.verticalStretch, policy.verticalStretch()) << nameOf(expected.widget);
    }
}

TEST_F(HDFSFileDialogForm, WidgetsHaveTheirProperties)
{
    EXPECT_EQ(QSize(kDialogWidth, kDialogHeight), dialog.size());

    EXPECT_EQ(QSize(0, 1), form.frame_2->minimumSize());
    EXPECT_EQ(QFrame::StyledPanel, form.frame_2->frameShape());
    EXPECT_EQ(QFrame::Raised, form.frame_2->frameShadow());
    EXPECT_EQ(Qt::Horizontal, form.splitter->orientation());
    EXPECT_EQ(QFrame::NoFrame, form.frame->frameShape());
    EXPECT_EQ(QFrame::Raised, form.frame->frameShadow());

    EXPECT_EQ(QAbstractItemView::EditKeyPressed, form.listView->editTriggers());
    EXPECT_EQ(QVariant(true), form.listView->property("isWrapping"));
    EXPECT_EQ(QListView::Adjust, form.listView->resizeMode());
    EXPECT_EQ(QListView::ListMode, form.listView->viewMode());

    EXPECT_EQ(QAbstractItemView::EditKeyPressed, form.treeView->editTriggers());
    EXPECT_EQ(QAbstractItemView::SingleSelection, form.treeView->selectionMode());
    EXPECT_EQ(QAbstractItemView::SelectRows, form.treeView->selectionBehavior());
    EXPECT_EQ(Qt::ElideMiddle, form.treeView->textElideMode());
    EXPECT_FALSE(form.treeView->rootIsDecorated());
    EXPECT_FALSE(form.treeView->itemsExpandable());
    EXPECT_TRUE(form.treeView->isSortingEnabled());
    EXPECT_FALSE(form.treeView->header()->stretchLastSection());

    EXPECT_EQ(QSize(0, 0), form.fileNameLabel->minimumSize());
    EXPECT_EQ(Qt::Vertical, form.buttonBox->orientation());
    EXPECT_EQ(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, form.buttonBox->standardButtons());

    EXPECT_EQ(QSize(80, 0), form.sbReplication->minimumSize());
    EXPECT_EQ(QSize(100, 0), form.sbBlockSize->minimumSize());

    EXPECT_EQ(QSize(50, 0), form.lookInCombo->minimumSize());
    EXPECT_EQ(QComboBox::AdjustToMinimumContentsLength, form.lookInCombo->sizeAdjustPolicy());
    EXPECT_TRUE(form.listModeButton->isCheckable());
    EXPECT_TRUE(form.detailModeButton->isCheckable());
    EXPECT_FALSE(form.listModeButton->autoRaise());
    EXPECT_FALSE(form.detailModeButton->autoRaise());
    EXPECT_EQ(QKeySequence(), form.detailModeButton->shortcut());
}

TEST_F(HDFSFileDialogForm, SetsTheseAndNoOtherProperties)
{
    typedef std::set<std::string> Names;
    const Names label = {"text"};
    const Names action = {"text", "iconText", "toolTip"};
    const Names button = {"toolTip", "accessibleName", "accessibleDescription"};
    Names disabled = button, mode = button;
    disabled.insert("enabled");
    mode.insert("checkable");
    const std::map<std::string, Names> expected = {
        {"actionNewFolder", action},
        {"actionRename", action},
        {"actionDelete", action},
        {"pbNative", {"sizePolicy", "text"}},
        {"pbOpenNative", {"sizePolicy", "text"}},
        {"frame_2", {"minimumSize", "minimumHeight", "frameShape", "frameShadow", "frameWidth", "sizePolicy"}},
        {"lookInLabel", label},
        {"splitter", {"sizePolicy"}},
        {"listWidget", {}},
        {"frame", {"frameShadow", "sizePolicy"}},
        {"stackedWidget", {"currentIndex", "count"}},
        {"page", {}},
        {"listView", {"editTriggers", "isWrapping", "resizeMode"}},
        {"page_2", {}},
        {"treeView", {"editTriggers", "textElideMode", "rootIsDecorated", "itemsExpandable", "sortingEnabled"}},
        {"fileNameLabel", {"sizePolicy", "text"}},
        {"fileNameEdit", {"sizePolicy"}},
        {"buttonBox", {"orientation", "standardButtons", "sizePolicy"}},
        {"fileTypeLabel", {"sizePolicy", "text"}},
        {"fileTypeCombo", {"sizePolicy"}},
        {"widgetHDFS", {}},
        {"label", label},
        {"sbReplication",
         {"sizePolicy", "minimumSize", "minimumWidth", "minimum", "maximum", "value", "text", "cleanText"}},
        {"label_2", label},
        {"sbBlockSize", {"minimumSize", "minimumWidth", "minimum", "maximum", "value", "text", "cleanText"}},
        {"label_3", label},
        {"lookInCombo", {"sizePolicy", "minimumSize", "minimumWidth", "sizeAdjustPolicy"}},
        {"backButton", disabled},
        {"forwardButton", disabled},
        {"toParentButton", button},
        {"newFolderButton", button},
        {"listModeButton", mode},
        {"detailModeButton", mode},
    };
    const std::map<std::string, std::function<QObject *(QWidget *)>> makers = {
        {"QAction", [](QWidget *parent) { return new QAction(parent); }},
        {"QPushButton", [](QWidget *parent) { return new QPushButton(parent); }},
        {"QLabel", [](QWidget *parent) { return new QLabel(parent); }},
        {"QFrame", [](QWidget *parent) { return new QFrame(parent); }},
        {"QSplitter", [](QWidget *parent) { return new QSplitter(parent); }},
        {"QListWidget", [](QWidget *parent) { return new QListWidget(parent); }},
        {"QStackedWidget", [](QWidget *parent) { return new QStackedWidget(parent); }},
        {"QWidget", [](QWidget *parent) { return new QWidget(parent); }},
        {"FileListView", [](QWidget *parent) { return new FileListView(parent); }},
        {"QTreeView", [](QWidget *parent) { return new QTreeView(parent); }},
        {"QLineEdit", [](QWidget *parent) { return new QLineEdit(parent); }},
        {"QDialogButtonBox", [](QWidget *parent) { return new QDialogButtonBox(parent); }},
        {"QComboBox", [](QWidget *parent) { return new QComboBox(parent); }},
        {"QSpinBox", [](QWidget *parent) { return new QSpinBox(parent); }},
        {"LookInComboBox", [](QWidget *parent) { return new LookInComboBox(parent); }},
        {"QToolButton", [](QWidget *parent) { return new QToolButton(parent); }},
    };
    // What follows from the place in the tree and from the contents.
    const Names places = {
        "objectName",   "geometry",       "frameGeometry", "normalGeometry",  "x",        "y",
        "pos",          "frameSize",      "size",          "width",           "height",   "rect",
        "childrenRect", "childrenRegion", "visible",       "acceptableInput", "sizeHint", "minimumSizeHint",
        "frameRect"};
    int compared = 0;
    for (const Item &item : items()) {
        if (qobject_cast<QLayout *>(item.object))
            continue;
        QDialog plain;
        std::unique_ptr<QObject> fresh(makers.at(item.className)(&plain));
        // A style may give classes fonts of their own, when it first sees a widget.
        for (QObject *object : {item.object, fresh.get()}) {
            if (QWidget *const widget = qobject_cast<QWidget *>(object))
                widget->ensurePolished();
        }
        Names different;
        const QMetaObject *meta = item.object->metaObject();
        for (int i = 0; i < meta->propertyCount(); ++i) {
            const QMetaProperty property = meta->property(i);
            if (!places.count(property.name()) && property.read(item.object) != property.read(fresh.get()))
                different.insert(property.name());
        }
        EXPECT_EQ(expected.at(item.name), different) << item.name;
        for (const QByteArray &name : item.object->dynamicPropertyNames())
            EXPECT_TRUE(name.startsWith("_q_")) << item.name << " " << name.constData();
        ++compared;
    }
    EXPECT_EQ(static_cast<int>(expected.size()), compared);
}

TEST_F(HDFSFileDialogForm, StartsWithoutAWayBackAndWithoutAMode)
{
    EXPECT_FALSE(form.backButton->isEnabled());
    EXPECT_FALSE(form.forwardButton->isEnabled());
    EXPECT_TRUE(form.toParentButton->isEnabled());
    EXPECT_TRUE(form.newFolderButton->isEnabled());
    EXPECT_FALSE(form.listModeButton->isChecked());
    EXPECT_FALSE(form.detailModeButton->isChecked());
    show();
    EXPECT_TRUE(form.listView->isVisible());
    EXPECT_FALSE(form.treeView->isVisible());
}

TEST_F(HDFSFileDialogForm, TheReplicationIsFrom1To65535AndStartsAt1)
{
    EXPECT_EQ(1, form.sbReplication->value());
    EXPECT_EQ(1, form.sbReplication->minimum());
    EXPECT_EQ(65535, form.sbReplication->maximum());
    form.sbReplication->setValue(65536);
    EXPECT_EQ(65535, form.sbReplication->value());
    form.sbReplication->setValue(0);
    EXPECT_EQ(1, form.sbReplication->value());
    form.sbReplication->setValue(-1);
    EXPECT_EQ(1, form.sbReplication->value());
}

TEST_F(HDFSFileDialogForm, TheBlockSizeIsFrom1To1000AndStartsAt64)
{
    EXPECT_EQ(64, form.sbBlockSize->value());
    EXPECT_EQ("64", form.sbBlockSize->text().toStdString());
    form.sbBlockSize->setValue(1001);
    EXPECT_EQ(1000, form.sbBlockSize->value());
    form.sbBlockSize->setValue(0);
    EXPECT_EQ(1, form.sbBlockSize->value());
}

TEST_F(HDFSFileDialogForm, NumbersOutsideTheirRangeCannotBeTyped)
{
    show();
    const auto type = [](QSpinBox *box, const char *digits) {
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, QLatin1String(digits));
        box->interpretText();
        return box->value();
    };
    EXPECT_EQ(128, type(form.sbBlockSize, "128"));
    EXPECT_EQ(1000, type(form.sbBlockSize, "1000"));
    EXPECT_EQ(200, type(form.sbBlockSize, "2000"));
    EXPECT_EQ(5, type(form.sbBlockSize, "-5"));
    EXPECT_EQ(65535, type(form.sbReplication, "65535"));
    EXPECT_EQ(6553, type(form.sbReplication, "65536"));
    EXPECT_EQ(3, type(form.sbReplication, "abc3"));
}

TEST_F(HDFSFileDialogForm, LabelsNameTheFieldsBesideThem)
{
    EXPECT_EQ(form.lookInCombo, form.lookInLabel->buddy());
    EXPECT_EQ(form.fileNameEdit, form.fileNameLabel->buddy());
    EXPECT_EQ(form.fileTypeCombo, form.fileTypeLabel->buddy());
    EXPECT_EQ(form.sbReplication, form.label->buddy());
    EXPECT_EQ(form.sbBlockSize, form.label_2->buddy());
}

TEST_F(HDFSFileDialogForm, TheTabKeyGoesFromTheTopToTheBottom)
{
    form.backButton->setEnabled(true);
    form.forwardButton->setEnabled(true);
    show();
    form.pbNative->setFocus();
    for (const char *next : {"lookInCombo", "backButton", "forwardButton", "toParentButton", "newFolderButton",
                             "listModeButton", "detailModeButton", "listWidget", "listView", "fileNameEdit",
                             "fileTypeCombo", "sbReplication", "sbBlockSize"})
        EXPECT_EQ(next, focusAfter(Qt::Key_Tab));
    focusAfter(Qt::Key_Tab);
    EXPECT_EQ(form.buttonBox->button(QDialogButtonBox::Ok), QApplication::focusWidget());
    focusAfter(Qt::Key_Tab);
    EXPECT_EQ(form.buttonBox->button(QDialogButtonBox::Cancel), QApplication::focusWidget());
    EXPECT_EQ("pbNative", focusAfter(Qt::Key_Tab));

    form.stackedWidget->setCurrentIndex(1);
    form.listWidget->setFocus();
    EXPECT_EQ("treeView", focusAfter(Qt::Key_Tab));
    EXPECT_EQ("fileNameEdit", focusAfter(Qt::Key_Tab));
}

// --- Texts ---

TEST_F(HDFSFileDialogForm, HasItsTexts)
{
    for (const Text &text : kTexts)
        EXPECT_EQ(text.text, find(text.item)->property(text.property).toString().toStdString()) << text.item;
}

/// Notes what it is asked for, and translates it into capital letters.
class CapitalTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *comment, int number) const override
    {
        // Qt's own texts, of the button box and others.
        if (std::strcmp(context, "HDFSFileDialog") != 0)
            return QString();
        EXPECT_TRUE(!comment || !*comment) << source;
        EXPECT_EQ(-1, number) << source;
        sources.insert(source);
        return QString::fromUtf8(source).toUpper();
    }
    bool isEmpty() const override { return false; }

    mutable std::multiset<std::string> sources;
};

TEST_F(HDFSFileDialogForm, ItsTextsCanBeTranslated)
{
    CapitalTranslator translator;
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    form.retranslateUi(&dialog);
    std::multiset<std::string> expected;
    for (const Text &text : kTexts) {
        expected.insert(text.text);
        EXPECT_EQ(QString::fromUtf8(text.text).toUpper(), find(text.item)->property(text.property).toString())
            << text.item;
    }
    EXPECT_EQ(expected, translator.sources);
    EXPECT_EQ(QKeySequence(), form.detailModeButton->shortcut());

    QDialog another;
    Ui::HDFSFileDialog anotherForm;
    anotherForm.setupUi(&another);
    EXPECT_EQ("LOOK IN:", anotherForm.lookInLabel->text().toStdString());

    QCoreApplication::removeTranslator(&translator);
    form.retranslateUi(&dialog);
    for (const Text &text : kTexts)
        EXPECT_EQ(text.text, find(text.item)->property(text.property).toString().toStdString()) << text.item;
}

// --- The dialog around it ---

TEST_F(HDFSFileDialogForm, NamesADialogThatHasNoName)
{
    EXPECT_EQ("HDFSFileDialog", nameOf(&dialog));
}

TEST(HDFSFileDialogFormAlone, LeavesADialogItsName)
{
    QDialog dialog;
    dialog.setObjectName(QLatin1String("mine"));
    Ui::HDFSFileDialog form;
    form.setupUi(&dialog);
    EXPECT_EQ("mine", nameOf(&dialog));
    EXPECT_EQ("HDFSFileDialog", dialog.windowTitle().toStdString());
}

TEST_F(HDFSFileDialogForm, IsBuiltForEachDialogAnew)
{
    QDialog another;
    Ui::HDFSFileDialog anotherForm;
    anotherForm.setupUi(&another);
    EXPECT_NE(form.listView, anotherForm.listView);
    anotherForm.sbBlockSize->setValue(128);
    EXPECT_EQ(64, form.sbBlockSize->value());
    for (const Item &item : items())
        EXPECT_TRUE(another.findChild<QObject *>(QString::fromStdString(item.name))) << item.name;
}

TEST(HDFSFileDialogFormAlone, OwnsNothing)
{
    std::unique_ptr<QDialog> dialog(new QDialog);
    std::unique_ptr<Ui::HDFSFileDialog> form(new Ui::HDFSFileDialog);
    form->setupUi(dialog.get());
    QLineEdit *const edit = form->fileNameEdit;
    QSignalSpy destroyed(edit, SIGNAL(destroyed()));
    form.reset();
    EXPECT_EQ(0, destroyed.count());
    edit->setText(QLatin1String("still here"));
    dialog.reset();
    EXPECT_EQ(1, destroyed.count());
}

/// Has slots that carry the names of the form's items.
class Listener : public QDialog
{
    Q_OBJECT
public:
    QStringList heard;

public slots:
    void on_backButton_clicked() { heard << QLatin1String("back"); }
    void on_pbNative_clicked() { heard << QLatin1String("native"); }
    void on_detailModeButton_clicked() { heard << QLatin1String("details"); }
    void on_actionRename_triggered() { heard << QLatin1String("rename"); }
};

TEST(HDFSFileDialogFormAlone, ConnectsItsItemsToSlotsOfTheirNames)
{
    Listener dialog;
    Ui::HDFSFileDialog form;
    form.setupUi(&dialog);
    form.backButton->click();
    form.pbNative->click();
    form.detailModeButton->click();
    form.actionRename->trigger();
    form.actionDelete->trigger();
    // The back button is disabled.
    EXPECT_EQ(QStringList() << QLatin1String("native") << QLatin1String("details") << QLatin1String("rename"),
              dialog.heard);
}

TEST_F(HDFSFileDialogForm, HasNoConnectionsOfItsOwn)
{
    form.buttonBox->button(QDialogButtonBox::Ok)->click();
    form.buttonBox->button(QDialogButtonBox::Cancel)->click();
    form.listModeButton->click();
    form.detailModeButton->click();
    EXPECT_TRUE(form.listModeButton->isChecked());
    EXPECT_TRUE(form.detailModeButton->isChecked());
    EXPECT_EQ(0, form.stackedWidget->currentIndex());
    EXPECT_EQ(0, dialog.result());
}

TEST_F(HDFSFileDialogForm, ShowsEverythingWithoutOverlap)
{
    show();
    if (qEnvironmentVariableIsSet("QUORHDFS_TEST_PICTURES"))
        dialog.grab().save(qEnvironmentVariable("QUORHDFS_TEST_PICTURES") + QLatin1String("/dialog-form.png"));
    EXPECT_EQ(QSize(kDialogWidth, kDialogHeight), dialog.size());
    std::vector<const QWidget *> widgets;
    for (const Item &item : items()) {
        const QWidget *widget = qobject_cast<QWidget *>(item.object);
        if (!widget || widget->parentWidget() != &dialog)
            continue;
        EXPECT_TRUE(dialog.rect().adjusted(11, 11, -11, -11).contains(widget->geometry())) << item.name;
        for (const QWidget *other : widgets)
            EXPECT_FALSE(other->geometry().intersects(widget->geometry())) << item.name << " and " << nameOf(other);
        widgets.push_back(widget);
    }
    for (const QLabel *label : dialog.findChildren<QLabel *>())
        EXPECT_LE(label->sizeHint().width(), label->width()) << nameOf(label);
    // The views get the room that is left.
    EXPECT_LT(kDialogHeight / 2, form.splitter->height());
}

} // namespace

#include "HDFSFileDialogForm_test.moc"
