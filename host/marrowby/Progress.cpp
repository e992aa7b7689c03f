#include "host/marrowby/Progress.h"

#include "host/marrowby/HumanSize.h"
#include "host/marrowby/Terminal.h"

#include <QtCore/QStringList>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

const qint64 kFirstShow = 400; // milliseconds: what is over by then needs no line
const qint64 kShowInterval = 200;
const double kWeightOfLast = 0.2; // of the latest rate in the one that is shown, which would jump otherwise
const int kShortestName = 8;
const char kEraseLine[] = "\r\033[K";

QString sizeText(quint64 bytes)
{
    return QString::fromLatin1(humanSize(bytes));
}

QString elided(const QString &name, int width)
{
    if (name.size() <= width)
        return name;
    return QLatin1String("...") + name.right(width - 3);
}

} // namespace

QString clockTime(quint64 seconds)
{
    const QChar zero = QLatin1Char('0');
    const quint64 minutes = seconds / 60;
    const QString lastPart = QString::number(seconds % 60).rightJustified(2, zero);
    if (minutes < 60)
        return QString::number(minutes) + QLatin1Char(':') + lastPart;
    return QString::number(minutes / 60) + QLatin1Char(':') + QString::number(minutes % 60).rightJustified(2, zero) +
           QLatin1Char(':') + lastPart;
}

QString progressLine(const TransferState &state, int width)
{
    const bool hasTotal = state.total != kUnknownTotal;
    // A file may grow while it is sent.
    const quint64 total = std::max(state.total, state.done);
    // In the order of their weight.
    QStringList parts;
    if (hasTotal) {
        const double share = total ? static_cast<double>(state.done) / static_cast<double>(total) : 1;
        parts << QString::number(static_cast<quint64>(100 * share)).rightJustified(3) + QLatin1Char('%');
        parts << sizeText(state.done) + QLatin1String(" of ") + sizeText(total);
    } else {
        parts << sizeText(state.done);
    }
    if (state.bytesPerSecond >= 1)
        parts << sizeText(static_cast<quint64>(state.bytesPerSecond)) + QLatin1String("/s");
    if (state.bytesPerSecond >= 1 && hasTotal) {
        const double seconds = std::ceil(static_cast<double>(total - state.done) / state.bytesPerSecond);
        parts << clockTime(static_cast<quint64>(seconds)) + QLatin1String(" left");
    }
    const QString gap = QLatin1String("  ");
    QString line;
    for (;;) {
        line = parts.join(gap);
        const int room = width - line.size() - gap.size();
        if (room >= std::min(kShortestName, state.name.size()))
            return elided(state.name, room) + gap + line;
        if (parts.size() == 1)
            return line.left(std::max(width, 0));
        parts.removeLast();
    }
}

Progress::Progress(const QString &name, quint64 total, bool shownAtAll)
    : m_enabled(shownAtAll && standardErrorIsTerminal()), m_lineOnTerminal(false), m_nextShow(kFirstShow),
      m_lastShow(0), m_doneAtShow(0)
{
    m_state.name = name;
    m_state.total = total;
    m_timer.start();
}

Progress::~Progress()
{
    if (m_lineOnTerminal) {
        std::fputs(kEraseLine, stderr);
        std::fflush(stderr);
    }
}

void Progress::advance(quint64 bytes)
{
    m_state.done += bytes;
    m_state.milliseconds = m_timer.elapsed();
    if (!m_enabled || m_state.milliseconds < m_nextShow)
        return;
    m_nextShow = m_state.milliseconds + kShowInterval;
    show();
}

void Progress::announce()
{
    if (m_enabled)
        write();
}

void Progress::show()
{
    const double seconds = static_cast<double>(std::max<qint64>(m_state.milliseconds - m_lastShow, 1)) / 1000;
    const double latest = static_cast<double>(m_state.done - m_doneAtShow) / seconds;
    const bool first = m_lastShow == 0;
    m_state.bytesPerSecond = first ? latest : kWeightOfLast * latest + (1 - kWeightOfLast) * m_state.bytesPerSecond;
    m_lastShow = m_state.milliseconds;
    m_doneAtShow = m_state.done;
    write();
}

void Progress::write()
{
    // Not into the last column: terminals differ in what happens there.
    const QString line = progressLine(m_state, standardErrorWidth() - 1);
    std::fprintf(stderr, "%s%s", kEraseLine, line.toLocal8Bit().constData());
    std::fflush(stderr);
    m_lineOnTerminal = true;
}
