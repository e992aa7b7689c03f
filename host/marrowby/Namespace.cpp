#include "host/marrowby/Namespace.h"

#include "host/marrowby/Destination.h"
#include "host/marrowby/FileMode.h"

namespace {

void makeDirectory(CommandContext &context, const Item &item)
{
    const bool withParents = context.arguments.has("-p");
    if (item.exists) {
        if (!item.entry.isDirectory)
            throw Failure(isNotADirectory(item.shown));
        if (!withParents)
            throw Failure(fileExists(item.shown));
        return;
    }
    // A pattern that matches nothing names no directory to make.
    if (item.argument.hasWildcard)
        mustExist(item);
    FileEntry parent;
    if (!withParents && !context.files.find(parentPath(item.path), &parent))
        throw Failure(noSuchFile(context.names.qualified(parentPath(item.path))));
    context.files.makeDirectory(item.path, kNewDirectoryMode, withParents);
}

void removePath(CommandContext &context, const Item &item)
{
    if (!item.exists) {
        if (context.arguments.has("-f"))
            return;
        mustExist(item);
    }
    const bool recursively = context.arguments.has("-r") || context.arguments.has("-R");
    if (item.entry.isDirectory && !recursively)
        throw Failure(isADirectory(item.shown));
    if (!context.files.remove(item.path, recursively))
        throw Failure(inputOutputError(item.shown));
    context.output.line("Deleted " + item.shown);
}

void movePath(CommandContext &context, const Item &source, const Item &destination)
{
    mustExist(source);
    const Item target = targetOf(context, destination, lastName(source.path));
    mustNotBeBelow(source, target);
    if (target.exists)
        throw Failure(fileExists(target.shown));
    mustHaveParent(context, target);
    if (!context.files.rename(source.path, target.path))
        throw Failure(inputOutputError(source.shown));
}

} // namespace

void makeDirectories(CommandContext &context)
{
    forEach(context, expandAll(context, context.arguments.operands),
            [&context](const Item &item) { makeDirectory(context, item); });
}

void removePaths(CommandContext &context)
{
    forEach(context, expandAll(context, context.arguments.operands),
            [&context](const Item &item) { removePath(context, item); });
}

void movePaths(CommandContext &context)
{
    std::vector<QByteArray> arguments = context.arguments.operands;
    const Item destination = destinationOf(context, arguments.back());
    arguments.pop_back();
    const std::vector<Item> sources = expandAll(context, arguments);
    mustTakeAll(destination, sources.size());
    forEach(context, sources, [&](const Item &source) { movePath(context, source, destination); });
}
