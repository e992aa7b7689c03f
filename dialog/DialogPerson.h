// Somebody who sits in front of a file dialog: looks at what it shows, presses keys, uses the mouse.
#ifndef DIALOG_DIALOGPERSON_H
#define DIALOG_DIALOGPERSON_H

#include "dialog/HDFSFileDialog.h"

#include <QtCore/QPoint>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QTimer>
#include <QtWidgets/QWidget>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QAbstractItemView;
class QLineEdit;
class QMenu;
class QMessageBox;
class QModelIndex;
class QPushButton;

/// One message box as it appeared.
struct SeenBox {
    std::string title;
    std::string text;
    std::string buttons; ///< their texts without "&", with "," between them, the default one in brackets
    bool takesMarkup;    ///< whether "<b>" in the text would be shown as markup
};

/// Everything goes to the widgets as events, and is over when the function returns: what the dialog queues for later
/// has happened, too. Message boxes and menus are answered while they are open, from what was ordered before; one that
/// comes unexpected is closed and fails the test, and so does an answer that is left over at the end.
class DialogPerson
{
public:
    enum Answer {
        Yes,      ///< goes to Yes by the Tab key and presses the space bar
        ByEnter,  ///< takes the default button
        ByEscape, ///< leaves
    };

    /// Shows the dialog, unless it shows itself already (`exec`), and waits until it is the active window.
    explicit DialogPerson(HDFSFileDialog *dialog);
    ~DialogPerson();
    DialogPerson(const DialogPerson &) = delete;
    DialogPerson &operator=(const DialogPerson &) = delete;

    // What there is to see.

    template <class Widget> Widget *find(const char *objectName) const
    {
        Widget *const widget = m_dialog->findChild<Widget *>(QLatin1String(objectName));
        checkFound(widget, objectName);
        return widget;
    }

    QAbstractItemView *view() const; ///< the one that is shown
    std::vector<std::string> names() const;
    std::vector<std::string> selectedNames() const;
    std::string currentName() const;
    QModelIndex indexOf(const std::string &name, int column = 0) const;
    std::string typedName() const; ///< in `fileNameEdit`
    std::string place() const;     ///< what the look-in combo shows
    std::string viewColour() const;
    std::string okText() const;
    bool canAccept() const; ///< whether both buttons of the box are enabled
    bool isEnabled(const char *objectName) const;
    bool isShown(const char *objectName) const;
    bool hasFocus(const char *objectName) const;
    bool isOpen() const;
    QLineEdit *nameEditor() const; ///< in which an item is being renamed; null when none is

    // Keyboard. Keys go to where the focus is, or to the popup that is open.

    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString &text);
    /// Puts another text into the field for the name, as by marking all and typing.
    void typeName(const QString &text);
    /// Like `typeName`, for a text that is pasted.
    void pasteName(const QString &text);
    void pressContextMenuKey();

    // Mouse.

    void click(const char *objectName, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void clickOk(Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void clickCancel();
    void clickOn(const std::string &name, Qt::KeyboardModifiers modifiers = Qt::NoModifier, int column = 0);
    void doubleClickOn(const std::string &name, Qt::KeyboardModifiers modifiers = Qt::NoModifier, int column = 0);
    void rightClickOn(const std::string &name);
    void rightClickOnNothing();
    /// The places of the bookmarks; expects each to have an icon and its place as the tool tip.
    std::vector<std::string> bookmarks() const;
    void clickBookmark(const std::string &place);
    void clickHeader(int column);
    void dragSplitter(int pixels);

    /// Opens the look-in list, and chooses nothing yet.
    void openPlaces();
    std::vector<std::string> offeredPlaces() const;
    /// With the list open: goes to a row of the list by the arrow keys and presses Enter.
    void choosePlace(int row);

    /// By the keyboard, from the filters' list.
    void chooseFilter(const std::string &filter);

    // What is going to happen to boxes and menus.

    void willAnswer(const std::vector<Answer> &answers);
    /// `text` is chosen by arrow keys and Enter; "" leaves by Escape.
    void willChoose(const std::string &text);
    /// Happens instead of the answer to the next box or menu.
    void willBeInterrupted(const std::function<void()> &interruption) { m_interruption = interruption; }
    /// What appeared since the last time.
    std::vector<SeenBox> takeBoxes();
    /// The items of the last menu: "-" is a separator, "(Text)" an item that is disabled.
    std::vector<std::string> takeMenu();
    int menusSeen() const { return m_menusSeen; }

    /// Lets everything happen that is queued.
    static void settle();

private:
    static void checkFound(const void *widget, const char *objectName);
    QPoint placeOf(const QModelIndex &index) const;
    QPushButton *boxButton(const char *which) const;
    QWidget *keyTarget() const;
    void rightClickAt(const QPoint &inViewport);
    void lookUp();
    void answer(QMessageBox *box);
    void choose(QMenu *menu);

    HDFSFileDialog *m_dialog;
    QTimer m_eyes;
    std::deque<Answer> m_answers;
    std::deque<std::string> m_choices;
    std::function<void()> m_interruption;
    std::vector<SeenBox> m_boxes;
    std::vector<std::string> m_menu;
    int m_menusSeen;
    int m_looks; ///< at a box or menu that is not ready yet
    QPointer<QWidget> m_answered;
};

#endif
