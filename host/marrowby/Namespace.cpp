#include "host/marrowby/Namespace.h"

#include "host/marrowby/Operands.h"

namespace {

const quint32 kDirectoryMode = 0755; // 0777 without the client's umask of 022

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
    context.files.makeDirectory(item.path, kDirectoryMode, withParents);
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

/// The single thing that a destination argument stands for.
Item destinationOf(CommandContext &context, const QByteArray &argument)
{
    const std::vector<Item> items = expand(context, argument);
    if (items.size() > 1)
        throw Failure('`' + argument + "': Too many matches");
    if (items.front().argument.hasWildcard)
        mustExist(items.front());
    return items.front();
}

Item inside(CommandContext &context, const Item &directory, const QByteArray &name)
{
    Item item;
    item.argument = directory.argument;
    item.path = name.isEmpty() ? directory.path : childPath(directory.path, name);
    item.shown = name.isEmpty() ? directory.shown + '/' : context.names.shown(item.path, directory.argument);
    item.exists = context.files.find(item.path, &item.entry);
    return item;
}

void movePath(CommandContext &context, const Item &source, const Item &destination)
{
    mustExist(source);
    const bool into = destination.exists && destination.entry.isDirectory;
    const Item target = into ? inside(context, destination, lastName(source.path)) : destination;
    const bool below = source.path == "/" || target.path.startsWith(source.path + '/');
    if (source.entry.isDirectory && below)
        throw Failure('`' + source.shown + "' to `" + target.shown + "': is a subdirectory of itself");
    if (target.exists)
        throw Failure(fileExists(target.shown));
    // "new/" says that "new" is a directory already.
    const bool mustBeDirectory = target.shown.endsWith('/');
    FileEntry parent;
    if (mustBeDirectory || !context.files.find(parentPath(target.path), &parent))
        throw Failure(noSuchParent(target.shown, context.names.qualified(target.path)));
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
    if (sources.size() > 1) {
        mustExist(destination);
        if (!destination.entry.isDirectory)
            throw Failure(isNotADirectory(destination.shown));
    }
    forEach(context, sources, [&](const Item &source) { movePath(context, source, destination); });
}
