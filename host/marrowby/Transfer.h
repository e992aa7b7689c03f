#ifndef HOST_MARROWBY_TRANSFER_H
#define HOST_MARROWBY_TRANSFER_H

#include "host/marrowby/Operands.h"

#include <functional>
#include <limits>

const quint64 kWholeFile = std::numeric_limits<quint64>::max();

/// Reads `count` bytes of a file from `offset` on, as far as it has them, and hands them on piece by piece. With a
/// progress line when `showProgress` says so and standard error is a terminal.
void transfer(CommandContext &context, const Item &file, quint64 offset, quint64 count, bool showProgress,
              const std::function<void(const char *bytes, std::size_t count)> &takePiece);

/// The whole file to standard output.
void printFile(CommandContext &context, const Item &file);

/// `cat`
void printFiles(CommandContext &context);

/// `head`
void printBeginning(CommandContext &context);

/// `tail`
void printEnd(CommandContext &context);

#endif
