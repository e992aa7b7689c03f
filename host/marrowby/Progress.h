// How far a transfer has come, on the terminal.
#ifndef HOST_MARROWBY_PROGRESS_H
#define HOST_MARROWBY_PROGRESS_H

#include <QtCore/QByteArray>
#include <QtCore/QElapsedTimer>
#include <QtCore/QString>

#include <limits>

/// In place of the number of bytes of a transfer that ends when it ends.
const quint64 kUnknownTotal = std::numeric_limits<quint64>::max();

/// What there is to say about a transfer.
struct TransferState {
    QString name;              ///< of what is transferred
    quint64 done = 0;          ///< bytes
    quint64 total = 0;         ///< bytes, or kUnknownTotal
    qint64 milliseconds = 0;   ///< since the beginning
    double bytesPerSecond = 0; ///< lately; 0: not known
};

/// One line of at most `width` characters: name, share, bytes, rate and time left, as far as they are known. What
/// matters least goes first where there is no room; a name keeps its end.
QString progressLine(const TransferState &state, int width);

/// A number of seconds as "0:07", "12:34" or "1:02:03".
QString clockTime(quint64 seconds);

/// Shows the line on standard error when that is a terminal, and nothing otherwise; a few times a second, from the
/// moment on when the transfer turns out to take time. The line is gone when the object is.
class Progress
{
public:
    /// `shownAtAll` false: nothing ever.
    Progress(const QString &name, quint64 total, bool shownAtAll);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void advance(quint64 bytes);

    /// Shows the line now, for one long step that says nothing on its way.
    void announce();

private:
    void show();
    void write();

    TransferState m_state;
    const bool m_enabled;
    bool m_lineOnTerminal;
    qint64 m_nextShow; ///< milliseconds
    QElapsedTimer m_timer;
    qint64 m_lastShow;    ///< milliseconds
    quint64 m_doneAtShow; ///< bytes
};

#endif
