#ifndef PLATFORM_TERMINAL_H
#define PLATFORM_TERMINAL_H

namespace platform {

/// Whether standard error is a terminal that a person looks at.
bool isErrorOutputTerminal();

/// Columns of that terminal; 80 when it does not say.
unsigned terminalWidth();

} // namespace platform

#endif
