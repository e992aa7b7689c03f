// How a command gets out of something that cannot be done. None of these leaves main().
#ifndef HOST_MARROWBY_ERRORS_H
#define HOST_MARROWBY_ERRORS_H

#include <QtCore/QByteArray>

#include <cstring>
#include <stdexcept>

/// The system's text for an error number.
inline QByteArray systemErrorText(int error)
{
    return QByteArray(std::strerror(error));
}

/// One path or one step failed. It is reported as "COMMAND: TEXT", the command goes on with what else was asked for,
/// and its exit status becomes 1.
class Failure : public std::runtime_error
{
public:
    explicit Failure(const QByteArray &text) : std::runtime_error(text.toStdString()) {}
    QByteArray text() const { return QByteArray(what()); }
};

/// The command was called in a way that makes no sense: reported as "-COMMAND: TEXT" with its usage; exit status 255.
class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const QByteArray &text) : std::runtime_error(text.toStdString()) {}
    QByteArray text() const { return QByteArray(what()); }
};

/// There is no connection to work with. The text may have several lines; exit status 1.
class NoConnection : public std::runtime_error
{
public:
    explicit NoConnection(const QByteArray &text) : std::runtime_error(text.toStdString()) {}
    QByteArray text() const { return QByteArray(what()); }
};

/// The user wants an end; nothing is reported. Exit status 128 + signal.
struct Interrupted {
    int signal;
};

/// Whoever read our standard output reads no more; nothing is reported. Exit status 141, like a program that was ended
/// by SIGPIPE.
struct OutputClosed {
};

#endif
