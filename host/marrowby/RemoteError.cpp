#include "host/marrowby/RemoteError.h"

namespace {

const char kClass[] = "ExceptionClassName=";
const char kMessage[] = "errorMsg=";
const char kNotEncoded[] = "Encoding failed: ";
const char kTooLong[] = "Encoding failed: stream full";

QByteArray onOneLine(const QString &text)
{
    return text.simplified().toUtf8();
}

} // namespace

RemoteError remoteErrorIn(const QStringList &logEntries)
{
    RemoteError error;
    for (int i = logEntries.size() - 1; i >= 0; --i) {
        if (!logEntries.at(i).startsWith(QLatin1String(kClass)))
            continue;
        const QStringList lines = logEntries.at(i).split(QLatin1Char('\n'));
        error.className = lines.at(0).mid(static_cast<int>(sizeof kClass) - 1).toUtf8();
        if (lines.size() > 1 && lines.at(1).startsWith(QLatin1String(kMessage)))
            error.message = lines.at(1).mid(static_cast<int>(sizeof kMessage) - 1).toUtf8();
        break;
    }
    return error;
}

bool requestWasTooLong(const QStringList &logEntries)
{
    return logEntries.contains(QLatin1String(kTooLong));
}

bool couldNotBeEncoded(const QStringList &logEntries)
{
    return !logEntries.filter(QLatin1String(kNotEncoded)).isEmpty();
}

QByteArray reasonIn(const QStringList &logEntries)
{
    const RemoteError remote = remoteErrorIn(logEntries);
    if (!remote.message.isEmpty())
        return remote.message;
    if (!remote.className.isEmpty())
        return remote.className;
    if (!logEntries.isEmpty())
        return onOneLine(logEntries.last());
    return "it failed without a reason";
}
