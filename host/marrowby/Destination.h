// Where `mv`, `cp` and `put` take things: HDFS paths that are there or shall come.
#ifndef HOST_MARROWBY_DESTINATION_H
#define HOST_MARROWBY_DESTINATION_H

#include "host/marrowby/Operands.h"

#include <cstddef>

/// The single thing that a destination argument stands for. Throws Failure.
Item destinationOf(CommandContext &context, const QByteArray &argument);

/// Throws Failure when there are several sources and it is no directory.
void mustTakeAll(const Item &destination, std::size_t sources);

/// The entry of that name in a directory, there or not. An empty name, that of "/", is the directory itself.
Item inside(CommandContext &context, const Item &directory, const QByteArray &name);

/// Where a source of that name goes: into a destination that is a directory, else to the destination itself.
Item targetOf(CommandContext &context, const Item &destination, const QByteArray &name);

/// Throws Failure when the source is a directory that the target is below.
void mustNotBeBelow(const Item &source, const Item &target);

/// Throws Failure when the directory that a new path is made in does not exist.
void mustHaveParent(CommandContext &context, const Item &target);

/// Throws Failure when something is in the way of a new file.
void mustBeFree(const Item &target, bool overwrite);

/// Throws Failure when a file cannot be made there: something is in the way, or the directory is missing.
void mustTakeFile(CommandContext &context, const Item &target, bool overwrite);

/// Makes a directory there, without those above it, unless it is there. Throws Failure.
void provideDirectory(CommandContext &context, const Item &target, bool overwrite);

#endif
