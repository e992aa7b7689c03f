// Ctrl-C and its kin: the program tidies up and ends; when it cannot, it is ended.
#ifndef HOST_MARROWBY_INTERRUPT_H
#define HOST_MARROWBY_INTERRUPT_H

#include <QtCore/QByteArray>

#include <vector>

/// From now on the first request to end (Ctrl-C, a closed terminal, the system's request) is only noted, for
/// `checkForInterrupt`. The second one, and a second without an end after the first, removes what `removeAtAbruptEnd`
/// named and ends the process where it stands: the plug-in cannot be called back from a server that says nothing.
/// Writing to a closed pipe is an error and no signal.
void watchForInterrupts();

/// Whether an end was requested.
bool endIsRequested();

/// Throws Interrupted when an end was requested. Call it between two steps and when a step failed.
void checkForInterrupt();

/// Waits, but not longer than until an end is requested. Throws then.
void waitUnlessInterrupted(int milliseconds);

/// While it lives, a request to stop (Ctrl-Z) waits. The plug-in takes a send that a stop has cut short for a failed
/// one, and so the whole block that it is writing.
class StopWaits
{
public:
    StopWaits();
    ~StopWaits();
    StopWaits(const StopWaits &) = delete;
    StopWaits &operator=(const StopWaits &) = delete;

private:
    bool m_waitedBefore;
};

/// A file or an empty directory (local encoding) that must not stay behind; up to a handful at a time.
void removeAtAbruptEnd(const QByteArray &path);
void isRemoved(const QByteArray &path);

/// What this program is to be called with, to tidy up elsewhere, when the process is ended where it stands. It runs
/// quietly and gets a few seconds. One call at a time; without arguments: none any more.
void runAtAbruptEnd(const std::vector<QByteArray> &arguments);

#endif
