#include "dialog/FileListView.h"

#include <QtGui/QKeyEvent>

namespace {

const int kColumns = 2;
const int kRows = 20;

} // namespace

FileListView::FileListView(QWidget *parent) : QListView(parent) {}

QSize FileListView::sizeHint() const
{
    const int rowHeight = qMax(sizeHintForRow(0), fontMetrics().height());
    return QSize(kColumns * QListView::sizeHint().width(), kRows * rowHeight + 2 * frameWidth());
}

QModelIndex FileListView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    const QModelIndex current = currentIndex();
    const bool isPage = action == MovePageUp || action == MovePageDown;
    if (!isPage || !isWrapping() || flow() != TopToBottom || !current.isValid())
        return QListView::moveCursor(action, modifiers);
    const bool isDown = action == MovePageDown;
    const QRect place = visualRect(current);
    const int page = viewport()->width();
    const QModelIndex there = indexAt(place.translated(isDown ? page : -page, 0).center());
    return there.isValid() ? there : QListView::moveCursor(isDown ? MoveEnd : MoveHome, modifiers);
}

void FileListView::keyPressEvent(QKeyEvent *event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (!isEnter || !currentIndex().isValid() || state() == EditingState) {
        QListView::keyPressEvent(event);
        return;
    }
    emit activated(currentIndex());
    event->accept();
}
