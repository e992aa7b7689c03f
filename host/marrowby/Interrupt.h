// Ctrl-C and its kin: the program tidies up and ends; when it cannot, it is ended.
#ifndef HOST_MARROWBY_INTERRUPT_H
#define HOST_MARROWBY_INTERRUPT_H

#include <QtCore/QByteArray>

/// From now on the first request to end (Ctrl-C, a closed terminal, the system's request) is only noted, for
/// `checkForInterrupt`. The second one, and a second without an end after the first, removes what `removeAtAbruptEnd`
/// named and ends the process where it stands: the plug-in cannot be called back from a server that says nothing.
/// Writing to a closed pipe is an error and no signal.
void watchForInterrupts();

/// Throws Interrupted when an end was requested. Call it between two steps and when a step failed.
void checkForInterrupt();

/// Waits, but not longer than until an end is requested. Throws then.
void waitUnlessInterrupted(int milliseconds);

/// A file or an empty directory (local encoding) that must not stay behind; up to a handful at a time.
void removeAtAbruptEnd(const QByteArray &path);
void isRemoved(const QByteArray &path);

#endif
