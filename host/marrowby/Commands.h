#ifndef HOST_MARROWBY_COMMANDS_H
#define HOST_MARROWBY_COMMANDS_H

#include "host/marrowby/Command.h"

/// All commands, in the order of the help.
const std::vector<CommandDescription> &allCommands();

/// The one of that name, or null.
const CommandDescription *findCommand(const std::string &name);

#endif
