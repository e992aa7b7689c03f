#include "dialog/DialogPerson.h"

#include <gtest/gtest.h>

#include <QtGui/QClipboard>
#include <QtGui/QWindow>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QTreeView>

#include <algorithm>

namespace {

const int kLookMilliseconds = 2;
const int kMostLooks = 100;
const int kMostTabs = 10;

std::string withoutMnemonic(QString text)
{
    return text.remove(QLatin1Char('&')).toStdString();
}

std::vector<std::string> itemsOf(const QMenu *menu)
{
    std::vector<std::string> items;
    foreach (const QAction *action, menu->actions()) {
        const std::string text = action->isSeparator() ? "-" : withoutMnemonic(action->text());
        items.push_back(action->isSeparator() || action->isEnabled() ? text : "(" + text + ")");
    }
    return items;
}

QWidget *focusOf(QWidget *window)
{
    return window->focusWidget() ? window->focusWidget() : window;
}

} // namespace

DialogPerson::DialogPerson(HDFSFileDialog *dialog) : m_dialog(dialog), m_menusSeen(0), m_looks(0)
{
    QObject::connect(&m_eyes, &QTimer::timeout, [this] { lookUp(); });
    m_eyes.setSingleShot(true);
    m_eyes.start(kLookMilliseconds);
    m_dialog->show();
    m_dialog->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(m_dialog));
    settle();
}

DialogPerson::~DialogPerson()
{
    EXPECT_TRUE(m_answers.empty()) << m_answers.size() << " message boxes did not come";
    EXPECT_TRUE(m_choices.empty()) << m_choices.size() << " menus did not come";
    EXPECT_FALSE(m_interruption) << "Nothing was interrupted";
}

void DialogPerson::checkFound(const void *widget, const char *objectName)
{
    ASSERT_NE(nullptr, widget) << objectName;
}

void DialogPerson::settle()
{
    for (int i = 0; i < 3; ++i) {
        QApplication::sendPostedEvents();
        QApplication::processEvents();
    }
}

// What there is to see.

QAbstractItemView *DialogPerson::view() const
{
    QAbstractItemView *const list = find<QAbstractItemView>("listView");
    QAbstractItemView *const tree = find<QAbstractItemView>("treeView");
    EXPECT_NE(list->isVisible(), tree->isVisible());
    return list->isVisible() ? list : tree;
}

std::vector<std::string> DialogPerson::names() const
{
    std::vector<std::string> names;
    const QAbstractItemModel *const model = view()->model();
    for (int row = 0; row < model->rowCount(); ++row)
        names.push_back(model->index(row, 0).data().toString().toStdString());
    return names;
}

std::vector<std::string> DialogPerson::selectedNames() const
{
    std::vector<std::string> names;
    const QAbstractItemModel *const model = view()->model();
    for (int row = 0; row < model->rowCount(); ++row) {
        if (view()->selectionModel()->isSelected(model->index(row, 0)))
            names.push_back(model->index(row, 0).data().toString().toStdString());
    }
    return names;
}

std::string DialogPerson::currentName() const
{
    const QModelIndex index = view()->currentIndex();
    return index.sibling(index.row(), 0).data().toString().toStdString();
}

QModelIndex DialogPerson::indexOf(const std::string &name, int column) const
{
    const std::vector<std::string> all = names();
    const auto found = std::find(all.begin(), all.end(), name);
    EXPECT_TRUE(found != all.end()) << "No \"" << name << "\" is shown";
    if (found == all.end())
        return QModelIndex();
    return view()->model()->index(static_cast<int>(found - all.begin()), column);
}

std::string DialogPerson::typedName() const
{
    return find<QLineEdit>("fileNameEdit")->text().toStdString();
}

std::string DialogPerson::place() const
{
    return find<QComboBox>("lookInCombo")->currentText().toStdString();
}

std::string DialogPerson::viewColour() const
{
    return view()->viewport()->palette().color(view()->viewport()->backgroundRole()).name().toStdString();
}

QPushButton *DialogPerson::boxButton(const char *which) const
{
    QDialogButtonBox *const box = find<QDialogButtonBox>("buttonBox");
    return box->button(which[0] == 'O' ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel);
}

std::string DialogPerson::okText() const
{
    return boxButton("Ok")->text().toStdString();
}

bool DialogPerson::canAccept() const
{
    EXPECT_EQ(boxButton("Ok")->isEnabled(), boxButton("Cancel")->isEnabled());
    return boxButton("Ok")->isEnabled();
}

bool DialogPerson::isEnabled(const char *objectName) const
{
    return find<QWidget>(objectName)->isEnabled();
}

bool DialogPerson::isShown(const char *objectName) const
{
    return find<QWidget>(objectName)->isVisible();
}

bool DialogPerson::hasFocus(const char *objectName) const
{
    return find<QWidget>(objectName)->hasFocus();
}

bool DialogPerson::isOpen() const
{
    return m_dialog->isVisible();
}

QLineEdit *DialogPerson::nameEditor() const
{
    foreach (QLineEdit *editor, view()->viewport()->findChildren<QLineEdit *>()) {
        if (editor->isVisible())
            return editor;
    }
    return nullptr;
}

// Keyboard.

QWidget *DialogPerson::keyTarget() const
{
    if (QWidget *const popup = QApplication::activePopupWidget())
        return focusOf(popup);
    // What a window manager does when a box has gone.
    if (m_dialog->isVisible() && !m_dialog->isActiveWindow()) {
        m_dialog->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(m_dialog));
    }
    return focusOf(m_dialog);
}

void DialogPerson::press(int key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(keyTarget(), static_cast<Qt::Key>(key), modifiers);
    settle();
}

void DialogPerson::type(const QString &text)
{
    foreach (const QChar character, text) {
        // A QTest::keyClick takes Latin-1 only.
        QTest::sendKeyEvent(QTest::Click, keyTarget(), Qt::Key_unknown, QString(character), Qt::NoModifier);
    }
    settle();
}

void DialogPerson::typeName(const QString &text)
{
    find<QLineEdit>("fileNameEdit")->setFocus(Qt::TabFocusReason);
    settle();
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Delete);
    type(text);
}

void DialogPerson::pasteName(const QString &text)
{
    find<QLineEdit>("fileNameEdit")->setFocus(Qt::TabFocusReason);
    settle();
    QApplication::clipboard()->setText(text);
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_V, Qt::ControlModifier);
}

void DialogPerson::pressContextMenuKey()
{
    // The system's keyboard driver makes this of the key.
    keyTarget();
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint());
    QApplication::sendEvent(m_dialog->windowHandle(), &event);
    settle();
}

// Mouse.

void DialogPerson::click(const char *objectName, Qt::KeyboardModifiers modifiers)
{
    QWidget *const widget = find<QWidget>(objectName);
    ASSERT_TRUE(widget->isVisible()) << objectName;
    QTest::mouseClick(widget, Qt::LeftButton, modifiers);
    settle();
}

void DialogPerson::clickOk(Qt::KeyboardModifiers modifiers)
{
    QTest::mouseClick(boxButton("Ok"), Qt::LeftButton, modifiers);
    settle();
}

void DialogPerson::clickCancel()
{
    QTest::mouseClick(boxButton("Cancel"), Qt::LeftButton);
    settle();
}

QPoint DialogPerson::placeOf(const QModelIndex &index) const
{
    view()->scrollTo(index);
    settle();
    const QRect seen = view()->visualRect(index) & view()->viewport()->rect();
    EXPECT_FALSE(seen.isEmpty());
    return seen.center();
}

void DialogPerson::clickOn(const std::string &name, Qt::KeyboardModifiers modifiers, int column)
{
    const QModelIndex index = indexOf(name, column);
    ASSERT_TRUE(index.isValid());
    const QPoint place = placeOf(index);
    view()->setFocus(Qt::MouseFocusReason);
    QTest::mouseClick(view()->viewport(), Qt::LeftButton, modifiers, place);
    settle();
}

void DialogPerson::doubleClickOn(const std::string &name, Qt::KeyboardModifiers modifiers, int column)
{
    const QModelIndex index = indexOf(name, column);
    ASSERT_TRUE(index.isValid());
    const QPoint place = placeOf(index);
    QAbstractItemView *const target = view();
    target->setFocus(Qt::MouseFocusReason);
    QTest::mouseClick(target->viewport(), Qt::LeftButton, modifiers, place);
    QTest::mouseDClick(target->viewport(), Qt::LeftButton, modifiers, place);
    QTest::mouseRelease(target->viewport(), Qt::LeftButton, modifiers, place);
    settle();
}

void DialogPerson::rightClickAt(const QPoint &inViewport)
{
    // Through the window: this is where the menu's event is made.
    const QPoint inWindow = view()->viewport()->mapTo(m_dialog, inViewport);
    QTest::mouseClick(m_dialog->windowHandle(), Qt::RightButton, Qt::NoModifier, inWindow);
    settle();
}

void DialogPerson::rightClickOn(const std::string &name)
{
    const QModelIndex index = indexOf(name);
    ASSERT_TRUE(index.isValid());
    rightClickAt(placeOf(index));
}

void DialogPerson::rightClickOnNothing()
{
    const QPoint corner = view()->viewport()->rect().bottomRight() - QPoint(3, 3);
    ASSERT_FALSE(view()->indexAt(corner).isValid());
    rightClickAt(corner);
}

std::vector<std::string> DialogPerson::bookmarks() const
{
    const QListWidget *const list = find<QListWidget>("listWidget");
    std::vector<std::string> places;
    for (int row = 0; row < list->count(); ++row) {
        const QListWidgetItem *const item = list->item(row);
        places.push_back(item->text().toStdString());
        EXPECT_EQ(item->text(), item->toolTip());
        EXPECT_FALSE(item->icon().isNull()) << places.back();
    }
    return places;
}

void DialogPerson::clickBookmark(const std::string &place)
{
    QListWidget *const bookmarks = find<QListWidget>("listWidget");
    const QList<QListWidgetItem *> found = bookmarks->findItems(QString::fromStdString(place), Qt::MatchExactly);
    ASSERT_EQ(1, found.size()) << place;
    bookmarks->setFocus(Qt::MouseFocusReason);
    QTest::mouseClick(bookmarks->viewport(), Qt::LeftButton, Qt::NoModifier,
                      bookmarks->visualItemRect(found.first()).center());
    settle();
}

void DialogPerson::clickHeader(int column)
{
    QHeaderView *const header = find<QTreeView>("treeView")->header();
    const QPoint place(header->sectionViewportPosition(column) + header->sectionSize(column) / 2, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, place);
    settle();
}

void DialogPerson::dragSplitter(int pixels)
{
    QWidget *const handle = find<QSplitter>("splitter")->handle(1);
    const QPoint start = handle->rect().center();
    QTest::mousePress(handle, Qt::LeftButton, Qt::NoModifier, start);
    // QTest's own move has no button held.
    QMouseEvent move(QEvent::MouseMove, start + QPoint(pixels, 0), handle->mapToGlobal(start + QPoint(pixels, 0)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(handle, &move);
    QTest::mouseRelease(handle, Qt::LeftButton, Qt::NoModifier, start);
    settle();
}

void DialogPerson::openPlaces()
{
    QComboBox *const combo = find<QComboBox>("lookInCombo");
    combo->setFocus(Qt::TabFocusReason);
    QTest::keyClick(combo, Qt::Key_Down, Qt::AltModifier);
    settle();
    ASSERT_TRUE(combo->view()->isVisible());
}

std::vector<std::string> DialogPerson::offeredPlaces() const
{
    std::vector<std::string> places;
    QComboBox *const combo = find<QComboBox>("lookInCombo");
    for (int row = 0; row < combo->count(); ++row)
        places.push_back(combo->itemText(row).toStdString());
    return places;
}

void DialogPerson::choosePlace(int row)
{
    QAbstractItemView *const list = find<QComboBox>("lookInCombo")->view();
    QTest::keyClick(list, Qt::Key_Home);
    for (int i = 0; i < row && list->currentIndex().row() < row; ++i)
        QTest::keyClick(list, Qt::Key_Down);
    ASSERT_EQ(row, list->currentIndex().row());
    QTest::keyClick(list, Qt::Key_Return);
    settle();
}

void DialogPerson::chooseFilter(const std::string &filter)
{
    QComboBox *const combo = find<QComboBox>("fileTypeCombo");
    const int row = combo->findText(QString::fromStdString(filter));
    ASSERT_GE(row, 0) << filter;
    combo->setFocus(Qt::TabFocusReason);
    QTest::keyClick(combo, Qt::Key_Down, Qt::AltModifier);
    settle();
    QTest::keyClick(combo->view(), Qt::Key_Home);
    for (int i = 0; i < row; ++i)
        QTest::keyClick(combo->view(), Qt::Key_Down);
    QTest::keyClick(combo->view(), Qt::Key_Return);
    settle();
    ASSERT_EQ(filter, combo->currentText().toStdString());
}

// Boxes and menus.

void DialogPerson::willAnswer(const std::vector<Answer> &answers)
{
    m_answers.insert(m_answers.end(), answers.begin(), answers.end());
}

void DialogPerson::willChoose(const std::string &text)
{
    m_choices.push_back(text);
}

std::vector<SeenBox> DialogPerson::takeBoxes()
{
    std::vector<SeenBox> boxes;
    boxes.swap(m_boxes);
    return boxes;
}

std::vector<std::string> DialogPerson::takeMenu()
{
    std::vector<std::string> menu;
    menu.swap(m_menu);
    return menu;
}

void DialogPerson::lookUp()
{
    // Started first: what is chosen in a menu may open a box before this function returns.
    m_eyes.start(kLookMilliseconds);
    QMessageBox *const box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    QMenu *const menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    QWidget *const seen = menu ? static_cast<QWidget *>(menu) : box;
    if (!seen || !seen->isVisible() || m_answered == seen)
        return;
    // Nobody is faster than the window system, which gives it the focus; not all of them do.
    const bool isReady = QGuiApplication::focusWindow() == seen->windowHandle() && (menu || box->focusWidget());
    if (!isReady && ++m_looks < kMostLooks)
        return;
    m_looks = 0;
    m_answered = seen;
    if (m_interruption) {
        const std::function<void()> interruption = m_interruption;
        m_interruption = nullptr;
        interruption();
        return;
    }
    if (menu)
        choose(menu);
    else
        answer(box);
}

void DialogPerson::answer(QMessageBox *box)
{
    SeenBox seen;
    seen.title = box->windowTitle().toStdString();
    seen.text = box->text().toStdString();
    foreach (QAbstractButton *button, box->buttons()) {
        const std::string text = withoutMnemonic(button->text());
        const bool isDefault = qobject_cast<QPushButton *>(button) && static_cast<QPushButton *>(button)->isDefault();
        seen.buttons += (seen.buttons.empty() ? "" : ",") + (isDefault ? "[" + text + "]" : text);
    }
    seen.takesMarkup = box->textFormat() != Qt::PlainText;
    m_boxes.push_back(seen);

    EXPECT_FALSE(m_answers.empty()) << "Not expected: " << seen.text;
    const Answer answer = m_answers.empty() ? ByEscape : m_answers.front();
    if (!m_answers.empty())
        m_answers.pop_front();
    if (answer == Yes) {
        const QAbstractButton *const yes = box->button(QMessageBox::Yes);
        for (int i = 0; i < kMostTabs && box->focusWidget() != yes; ++i)
            QTest::keyClick(focusOf(box), Qt::Key_Tab);
        EXPECT_EQ(yes, box->focusWidget());
        QTest::keyClick(focusOf(box), Qt::Key_Space);
    } else {
        QTest::keyClick(focusOf(box), answer == ByEnter ? Qt::Key_Return : Qt::Key_Escape);
    }
    EXPECT_FALSE(box->isVisible());
    if (box->isVisible())
        box->reject();
}

void DialogPerson::choose(QMenu *menu)
{
    ++m_menusSeen;
    m_menu = itemsOf(menu);
    EXPECT_FALSE(m_choices.empty()) << "A menu that was not expected";
    const std::string choice = m_choices.empty() ? std::string() : m_choices.front();
    if (!m_choices.empty())
        m_choices.pop_front();
    if (!choice.empty()) {
        const int count = menu->actions().size();
        for (int i = 0; i <= count; ++i) {
            if (menu->activeAction() && withoutMnemonic(menu->activeAction()->text()) == choice)
                break;
            QTest::keyClick(menu, Qt::Key_Down);
        }
        EXPECT_TRUE(menu->activeAction() && withoutMnemonic(menu->activeAction()->text()) == choice) << choice;
    }
    QPointer<QMenu> still(menu);
    QTest::keyClick(menu, choice.empty() ? Qt::Key_Escape : Qt::Key_Return);
    if (still && still->isVisible())
        still->close();
}
