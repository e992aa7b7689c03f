#include "host/core/MainUI.h"

#include "host/core/LogTap.h"

#include <QtCore/QByteArray>

#include <cstdio>

namespace {

LogTap logTap = nullptr;

/// Writes one entry and ends its line once.
void writeEntry(std::FILE *stream, const QString &text)
{
    QByteArray line = text.toLocal8Bit();
    if (!line.endsWith('\n'))
        line.append('\n');
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stream);
    std::fflush(stream);
}

/// False when there is no log file or it cannot be written.
bool writeToLogFile(const QString &text)
{
    const QByteArray name = qgetenv("MARROWBY_LOG");
    if (name.isEmpty())
        return false;
    std::FILE *file = std::fopen(name.constData(), "a");
    if (!file)
        return false;
    writeEntry(file, text);
    std::fclose(file);
    return true;
}

} // namespace

void MainUI::addLog(LogLevel level, QString text)
{
    const bool isLogged = writeToLogFile(text);
    const bool isTaken = logTap && logTap(level, text);
    if (!isLogged && !isTaken)
        writeEntry(stderr, text);
}

int MainUI::pixelSize()
{
    return 12;
}

LogTap setLogTap(LogTap tap)
{
    LogTap before = logTap;
    logTap = tap;
    return before;
}
