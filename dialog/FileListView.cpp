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
