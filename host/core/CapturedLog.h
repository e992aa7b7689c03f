// The host's own view of its log, for the host program alone: plug-ins know nothing but MainUI.
#ifndef HOST_CORE_CAPTUREDLOG_H
#define HOST_CORE_CAPTUREDLOG_H

#include "host/core/MainUI.h"

#include <QtCore/QStringList>

/// Collects the entries that are logged from its construction to its destruction, instead of letting them reach
/// standard error. The file of MARROWBY_LOG gets them all the same. The innermost one alive collects. One thread only.
class MARROWBYCORE_EXPORT CapturedLog
{
public:
    enum Echo { Quiet, AlsoToStandardError };

    explicit CapturedLog(Echo echo = Quiet);
    ~CapturedLog();
    CapturedLog(const CapturedLog &) = delete;
    CapturedLog &operator=(const CapturedLog &) = delete;

    /// The entries in order, each without its trailing line feed; an entry may have several lines.
    const QStringList &entries() const { return m_entries; }
    void clear() { m_entries.clear(); }

private:
    friend class MainUI;
    CapturedLog *const m_outer;
    const Echo m_echo;
    QStringList m_entries;
};

#endif
