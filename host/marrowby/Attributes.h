#ifndef HOST_MARROWBY_ATTRIBUTES_H
#define HOST_MARROWBY_ATTRIBUTES_H

#include <QtCore/QByteArray>

struct CommandContext;

/// `setrep`
void setReplications(CommandContext &context);

/// `chmod`
void changeModes(CommandContext &context);

/// Whether an argument such as "-w" or "-rx,g+w" is a mode rather than an option.
bool isModeWithDash(const QByteArray &argument);

/// `chown`
void changeOwners(CommandContext &context);

#endif
