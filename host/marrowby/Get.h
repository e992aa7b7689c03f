#ifndef HOST_MARROWBY_GET_H
#define HOST_MARROWBY_GET_H

struct CommandContext;

/// `get`
void getPaths(CommandContext &context);

#endif
