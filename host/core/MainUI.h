// The part of the host application that its plug-ins link to. On our machines this library stands in
// for the real one; another library of the same name and symbols can take its place at run time.
#ifndef HOST_CORE_MAINUI_H
#define HOST_CORE_MAINUI_H

#include <QtCore/QString>

#ifdef MARROWBYCORE_BUILD
#define MARROWBYCORE_EXPORT Q_DECL_EXPORT
#else
#define MARROWBYCORE_EXPORT Q_DECL_IMPORT
#endif

/// How loud a log line is. Plug-ins pass 1.
enum LogLevel { LogLevelError = 0, LogLevelWarning = 1, LogLevelInfo = 2 };

class MARROWBYCORE_EXPORT MainUI
{
public:
    /// Adds one entry to the host's log: to the file named by the environment variable MARROWBY_LOG
    /// (appended), else to standard error. One trailing line feed of `text` is not doubled.
    static void addLog(LogLevel level, QString text);

    /// The height of the host's user interface font in device pixels: the unit that its tables and
    /// dialogs are measured in.
    static int pixelSize();
};

#endif
