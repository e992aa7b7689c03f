#ifndef HOST_MARROWBY_MESSAGES_H
#define HOST_MARROWBY_MESSAGES_H

#include "host/marrowby/Output.h"

#include <QtCore/QByteArray>

// The texts that people know, as "`/path': No such file or directory".
QByteArray noSuchFile(const QByteArray &shown);
QByteArray noSuchParent(const QByteArray &shown, const QByteArray &qualified);
QByteArray fileExists(const QByteArray &shown);
QByteArray isADirectory(const QByteArray &shown);
QByteArray isNotADirectory(const QByteArray &shown);
QByteArray inputOutputError(const QByteArray &shown);

/// For a path that does not fit into a request.
QByteArray pathTooLong(const QByteArray &shown);

/// A command's messages on standard error, "COMMAND: TEXT", and whether there were any.
class Messages
{
public:
    Messages(const QByteArray &command, Output &output) : m_command(command), m_output(output), m_any(false) {}

    /// Behind what the command has written so far.
    void report(const QByteArray &text);

    bool any() const { return m_any; }

private:
    const QByteArray m_command;
    Output &m_output;
    bool m_any;
};

#endif
