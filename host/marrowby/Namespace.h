#ifndef HOST_MARROWBY_NAMESPACE_H
#define HOST_MARROWBY_NAMESPACE_H

struct CommandContext;

/// `mkdir`
void makeDirectories(CommandContext &context);

/// `rm`
void removePaths(CommandContext &context);

/// `mv`
void movePaths(CommandContext &context);

#endif
