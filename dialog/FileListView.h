#ifndef DIALOG_FILELISTVIEW_H
#define DIALOG_FILELISTVIEW_H

#include <QListView>

/// The list of files. Enter on the current item activates it on every platform and goes no further: the dialog's
/// default button does not see it. A page up or down is as many columns as the view shows, not one column from top to
/// bottom. Asks for room for several columns of names.
class FileListView : public QListView
{
    Q_OBJECT

public:
    explicit FileListView(QWidget *parent = nullptr);

    QSize sizeHint() const;

protected:
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers);
    void keyPressEvent(QKeyEvent *event);
};

#endif
