#ifndef HOST_MARROWBY_TOUCH_H
#define HOST_MARROWBY_TOUCH_H

struct CommandContext;

/// `touchz`
void makeEmptyFiles(CommandContext &context);

#endif
