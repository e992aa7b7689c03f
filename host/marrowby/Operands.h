// From path arguments to files and directories, and down the tree.
#ifndef HOST_MARROWBY_OPERANDS_H
#define HOST_MARROWBY_OPERANDS_H

#include "host/marrowby/Command.h"
#include "host/marrowby/Errors.h"

#include <vector>

/// A path that a command works on.
struct Item {
    QByteArray path;
    QByteArray shown; ///< how messages and listings call it
    bool exists = false;
    FileEntry entry; ///< when it exists
    PathArgument argument;
};

/// What a path argument stands for: every path that its pattern matches, sorted, or one that does not exist. Throws
/// Failure.
std::vector<Item> expand(CommandContext &context, const QByteArray &argument);

/// The same for several arguments; failures are reported.
std::vector<Item> expandAll(CommandContext &context, const std::vector<QByteArray> &arguments);

/// The path itself, wildcards taken literally.
Item lookUp(CommandContext &context, const QByteArray &argument);

/// What is in a directory.
std::vector<Item> childrenOf(CommandContext &context, const Item &directory);

/// Throws Failure when it does not exist.
void mustExist(const Item &item);

/// Calls `action` with each item; a Failure is reported and does not keep the others from their turn.
template <typename Items, typename Action> void forEach(CommandContext &context, const Items &items, Action action)
{
    for (const auto &item : items) {
        try {
            action(item);
        } catch (const Failure &failure) {
            context.messages.report(failure.text());
        }
    }
}

#endif
