#ifndef HOST_MARROWBY_CONFIGURE_H
#define HOST_MARROWBY_CONFIGURE_H

#include "host/marrowby/Command.h"

/// `configure`: changes the stored connection settings as asked and prints them. Throws Failure when they cannot be
/// stored.
void configureConnection(const CommandArguments &arguments, Output &output);

#endif
