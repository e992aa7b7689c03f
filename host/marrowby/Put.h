#ifndef HOST_MARROWBY_PUT_H
#define HOST_MARROWBY_PUT_H

struct CommandContext;

/// `put`
void putPaths(CommandContext &context);

/// `moveFromLocal`
void movePathsFromHere(CommandContext &context);

#endif
