#ifndef DIALOG_BUSYPOINTER_H
#define DIALOG_BUSYPOINTER_H

#include <QApplication>

/// While one of these lives the pointer says that the application is busy: the cluster is asked on the GUI thread.
class BusyPointer
{
public:
    BusyPointer() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyPointer() { QApplication::restoreOverrideCursor(); }
    BusyPointer(const BusyPointer &) = delete;
    BusyPointer &operator=(const BusyPointer &) = delete;
};

#endif
