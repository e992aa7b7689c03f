#ifndef HOST_MARROWBY_INTERRUPT_H
#define HOST_MARROWBY_INTERRUPT_H

/// From here on the first SIGINT or SIGTERM only leaves a note; a second one ends the process.
void noteInterrupts();

/// Throws Interrupted when there is such a note.
void throwIfInterrupted();

#endif
