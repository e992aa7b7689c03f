#include "host/marrowby/Messages.h"

#include <cstdio>

QByteArray noSuchFile(const QByteArray &shown)
{
    return '`' + shown + "': No such file or directory";
}

QByteArray noSuchParent(const QByteArray &shown, const QByteArray &qualified)
{
    return noSuchFile(shown) + ": `" + qualified + '\'';
}

QByteArray fileExists(const QByteArray &shown)
{
    return '`' + shown + "': File exists";
}

QByteArray isADirectory(const QByteArray &shown)
{
    return '`' + shown + "': Is a directory";
}

QByteArray isNotADirectory(const QByteArray &shown)
{
    return '`' + shown + "': Is not a directory";
}

QByteArray inputOutputError(const QByteArray &shown)
{
    return '`' + shown + "': Input/output error";
}

QByteArray pathTooLong(const QByteArray &shown)
{
    return '`' + shown + "': the path is too long";
}

void Messages::report(const QByteArray &text)
{
    m_any = true;
    m_output.flush();
    std::fprintf(stderr, "%s: %s\n", m_command.constData(), text.constData());
}
