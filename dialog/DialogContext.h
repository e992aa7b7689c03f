// What the dialog's models and path functions need to know of the dialog that they serve.
#ifndef DIALOG_DIALOGCONTEXT_H
#define DIALOG_DIALOGCONTEXT_H

#include <QtCore/QString>
#include <QtCore/QStringList>

class NameNodeConnection;
class QWidget;

/// What the user is asked for. The numbers are part of the host's contract.
enum DialogMode { DialogModeSave = 0, DialogModeOpen = 1, DialogModeDirectory = 2 };

class DialogContext
{
public:
    virtual ~DialogContext() {}

    /// The connection to the NameNode of the user's settings, which stays the context's own. Null when there is none;
    /// the next call tries to connect again then, and blocks while it does.
    virtual NameNodeConnection *connection() = 0;

    virtual DialogMode mode() const = 0;

    /// Whom permissions are judged for. Both are empty before `connection` was asked.
    virtual QString userName() const = 0;
    virtual QString userGroup() const = 0;

    /// The directories that were visited, the oldest first; "" is the computer level.
    virtual QStringList history() const = 0;

    /// The two views whose background says whether a listing succeeded; null in a context that shows nothing.
    virtual QWidget *detailView() const = 0;
    virtual QWidget *plainView() const = 0;
};

#endif
