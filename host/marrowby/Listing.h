#ifndef HOST_MARROWBY_LISTING_H
#define HOST_MARROWBY_LISTING_H

struct CommandContext;

/// `ls`
void listFiles(CommandContext &context);

#endif
