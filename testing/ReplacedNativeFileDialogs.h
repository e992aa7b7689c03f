// Keeps the system's file dialogs away: from its construction to its destruction each of them answers at once.
#ifndef TESTING_REPLACEDNATIVEFILEDIALOGS_H
#define TESTING_REPLACEDNATIVEFILEDIALOGS_H

#include "platform/NativeFileDialog.h"

#include <vector>

class ReplacedNativeFileDialogs
{
public:
    enum Kind { OpenFile, SaveFile, Directory };

    /// What a dialog was called with.
    struct Request {
        Kind kind;
        QWidget *parent;
        QString caption;
        QString directory;
        QString filter; ///< null for a directory
    };

    explicit ReplacedNativeFileDialogs(const QString &answer = QString());
    ~ReplacedNativeFileDialogs();
    ReplacedNativeFileDialogs(const ReplacedNativeFileDialogs &) = delete;
    ReplacedNativeFileDialogs &operator=(const ReplacedNativeFileDialogs &) = delete;

    QString answer; ///< what they all return, "" is what a user who cancels gets
    std::vector<Request> requests;

private:
    const platform::NativeFileDialogs m_outer;
};

#endif
