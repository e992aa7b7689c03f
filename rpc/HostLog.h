// The plug-in's way into the host's log.
#ifndef RPC_HOSTLOG_H
#define RPC_HOSTLOG_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Adds one line to the host's log at LogLevel 1, the only level that the plug-in uses.
void logToHost(const QString &line);
void logToHost(const char *line);

/// A decoder's or encoder's error text for a message: "(none)" stands for a missing one.
QString codecErrorText(const char *error);

/// Adds a failed socket call to the log: its error number (platform::lastSocketError right behind the call) as %1 of
/// `format` and the system's text as %2.
void logSocketError(const char *format, int error);

/// How a socket error is reported, unless a caller has a text of its own.
extern const char kSocketErrorFormat[];

#endif
