#include "host/core/MainUI.h"

#include "host/core/CapturedLog.h"
#include "host/core/InnermostCapture.h"

#include <QApplication>
#include <QFontMetrics>
#include <QtCore/QByteArray>

#include <cstdio>

namespace {

const int kFontHeight = 12; // pixels; there is no font to ask without a user interface

/// False when there is no such file or it does not take the whole entry.
bool appendToLogFile(const QByteArray &entry)
{
    const QByteArray name = qgetenv("MARROWBY_LOG");
    if (name.isEmpty())
        return false;
    // Opened for each entry: nothing is lost when the process dies, and several processes may share the file.
    std::FILE *const file = std::fopen(name.constData(), "a");
    if (!file)
        return false;
    const std::size_t size = static_cast<std::size_t>(entry.size());
    const bool written = std::fwrite(entry.constData(), 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

void writeToStandardError(const QByteArray &entry)
{
    std::fwrite(entry.constData(), 1, static_cast<std::size_t>(entry.size()), stderr);
    std::fflush(stderr);
}

} // namespace

void MainUI::addLog(LogLevel, QString text)
{
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    const QByteArray entry = text.toUtf8() + '\n';
    const bool inFile = appendToLogFile(entry);
    if (innermostCapture)
        innermostCapture->m_entries.append(text);
    const bool collected = innermostCapture && innermostCapture->m_echo == CapturedLog::Quiet;
    if (!inFile && !collected)
        writeToStandardError(entry);
}

int MainUI::pixelSize()
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance()))
        return kFontHeight;
    return QFontMetrics(QApplication::font()).height();
}
