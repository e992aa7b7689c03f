#ifndef HOST_MARROWBY_TERMINAL_H
#define HOST_MARROWBY_TERMINAL_H

bool standardErrorIsTerminal();
bool standardOutputIsTerminal();

/// Columns of the terminal at this moment; 80 where it does not tell.
int standardErrorWidth();

#endif
