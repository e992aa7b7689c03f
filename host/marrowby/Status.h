#ifndef HOST_MARROWBY_STATUS_H
#define HOST_MARROWBY_STATUS_H

struct CommandContext;

/// `stat`
void printStatus(CommandContext &context);

/// `test`
void testPath(CommandContext &context);

#endif
