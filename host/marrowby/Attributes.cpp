#include "host/marrowby/Attributes.h"

#include "host/marrowby/ModeChange.h"
#include "host/marrowby/Operands.h"
#include "host/marrowby/OwnerChange.h"

namespace {

const int kHighestReplication = 32767;

/// `action` for each path behind the first operand and, when asked, for all that is below it: a directory first.
template <typename Action>
void forTree(CommandContext &context, const std::vector<Item> &items, bool recursively, const Action &action)
{
    forEach(context, items, [&](const Item &item) {
        mustExist(item);
        action(item);
        if (recursively && item.entry.isDirectory)
            forTree(context, childrenOf(context, item), recursively, action);
    });
}

std::vector<Item> pathsBehindFirst(CommandContext &context)
{
    const std::vector<QByteArray> &operands = context.arguments.operands;
    return expandAll(context, std::vector<QByteArray>(operands.begin() + 1, operands.end()));
}

quint16 parsedReplication(CommandContext &context, const QByteArray &text)
{
    bool number = false;
    const int replication = text.toInt(&number);
    if (!number || replication > kHighestReplication) {
        context.messages.report("Illegal replication, a positive integer expected");
        throw UsageError(number ? "Value out of range. Value:\"" + text + "\" Radix:10"
                                : "For input string: \"" + text + '"');
    }
    if (replication < 1)
        throw UsageError("replication must be >= 1");
    return static_cast<quint16>(replication);
}

} // namespace

void setReplications(CommandContext &context)
{
    const quint16 replication = parsedReplication(context, context.arguments.operands.front());
    // A directory has no replication of its own: its files are meant, with and without -R.
    forTree(context, pathsBehindFirst(context), true, [&](const Item &item) {
        if (item.entry.isDirectory)
            return;
        if (!context.files.setReplication(item.path, replication))
            throw Failure("Could not set replication for: " + item.shown);
        context.output.line("Replication " + QByteArray::number(replication) + " set: " + item.shown);
    });
    if (context.arguments.has("-w") && !context.messages.any())
        throw Failure("not waiting (-w): how many replicas there are is not known here; "
                      "`hdfs fsck PATH -files -blocks` shows it");
}

void changeModes(CommandContext &context)
{
    const QByteArray mode = context.arguments.operands.front();
    ModeChange change;
    if (!ModeChange::parse(mode, &change))
        throw UsageError("chmod : mode '" + mode + "' does not match the expected pattern.");
    forTree(context, pathsBehindFirst(context), context.arguments.has("-R"), [&](const Item &item) {
        const quint32 changed = change.appliedTo(item.entry.mode, item.entry.isDirectory);
        if (changed == item.entry.mode)
            return;
        try {
            context.files.setMode(item.path, changed);
        } catch (const Failure &failure) {
            throw Failure("changing permissions of '" + item.shown + "': " + failure.text());
        }
    });
}

bool isModeWithDash(const QByteArray &argument)
{
    ModeChange change;
    return ModeChange::parse(argument, &change);
}

void changeOwners(CommandContext &context)
{
    const OwnerChange change = OwnerChange::parse(context.arguments.operands.front());
    forTree(context, pathsBehindFirst(context), context.arguments.has("-R"), [&](const Item &item) {
        const QByteArray owner = change.owner == item.entry.owner ? QByteArray() : change.owner;
        const QByteArray group = change.group == item.entry.group ? QByteArray() : change.group;
        if (owner.isEmpty() && group.isEmpty())
            return;
        try {
            context.files.setOwner(item.path, owner, group);
        } catch (const Failure &failure) {
            throw Failure("changing ownership of '" + item.shown + "': " + failure.text());
        }
    });
}
