#include "rpc/HostLog.h"

#include "host/core/MainUI.h"
#include "platform/Sockets.h"

const char kSocketErrorFormat[] = "Error at socket(): %1\n  %2";

void logToHost(const QString &line)
{
    MainUI::addLog(static_cast<LogLevel>(1), line);
}

void logToHost(const char *line)
{
    logToHost(QString::fromLatin1(line));
}

QString codecErrorText(const char *error)
{
    return QString::fromLatin1(error ? error : "(none)");
}

void logSocketError(const char *format, int error)
{
    const std::string text = platform::socketErrorText(error);
    logToHost(QString::fromLatin1(format).arg(QString::number(error), QString::fromLocal8Bit(text.c_str())));
}
