#ifndef HOST_MARROWBY_BROWSE_H
#define HOST_MARROWBY_BROWSE_H

#include "host/marrowby/CommandLine.h"
#include "host/marrowby/Output.h"

/// Lets the user choose in the plug-in's file dialog and prints the path. Needs a QApplication. What the plug-in logs
/// goes to standard error. Returns whether something was chosen. Throws UsageError and NoConnection.
bool browse(const CommandLine &line, Output &output);

#endif
