// Why an operation of the plug-in failed, out of what it logged: its results only say that it did.
#ifndef HOST_MARROWBY_REMOTEERROR_H
#define HOST_MARROWBY_REMOTEERROR_H

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

struct RemoteError {
    QByteArray className; ///< of the NameNode's exception; empty when it raised none
    QByteArray message;   ///< its first line
};

/// The last exception of the NameNode among log entries.
RemoteError remoteErrorIn(const QStringList &logEntries);

/// Whether a request was not sent because it was too long, as a path makes it.
bool requestWasTooLong(const QStringList &logEntries);

/// Whether the plug-in could not put a request into bytes, to the NameNode or to a DataNode.
bool couldNotBeEncoded(const QStringList &logEntries);

/// Why an operation failed, for people: the NameNode's own words, else the last log entry, else "it failed without a
/// reason".
QByteArray reasonIn(const QStringList &logEntries);

#endif
