#ifndef HOST_MARROWBY_COPY_H
#define HOST_MARROWBY_COPY_H

struct CommandContext;

/// `cp`
void copyPaths(CommandContext &context);

#endif
