#include "host/marrowby/Destination.h"

#include "host/marrowby/FileMode.h"

Item destinationOf(CommandContext &context, const QByteArray &argument)
{
    const std::vector<Item> items = expand(context, argument);
    if (items.size() > 1)
        throw Failure('`' + argument + "': Too many matches");
    if (items.front().argument.hasWildcard)
        mustExist(items.front());
    return items.front();
}

void mustTakeAll(const Item &destination, std::size_t sources)
{
    if (sources <= 1)
        return;
    mustExist(destination);
    if (!destination.entry.isDirectory)
        throw Failure(isNotADirectory(destination.shown));
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

Item targetOf(CommandContext &context, const Item &destination, const QByteArray &name)
{
    const bool into = destination.exists && destination.entry.isDirectory;
    return into ? inside(context, destination, name) : destination;
}

void mustNotBeBelow(const Item &source, const Item &target)
{
    const bool below = source.path == "/" || target.path.startsWith(source.path + '/');
    if (source.entry.isDirectory && below)
        throw Failure('`' + source.shown + "' to `" + target.shown + "': is a subdirectory of itself");
}

void mustHaveParent(CommandContext &context, const Item &target)
{
    // "new/" says that "new" is a directory already.
    const bool mustBeDirectory = target.shown.endsWith('/');
    FileEntry parent;
    if (mustBeDirectory || !context.files.find(parentPath(target.path), &parent))
        throw Failure(noSuchParent(target.shown, context.names.qualified(target.path)));
}

void mustBeFree(const Item &target, bool overwrite)
{
    if (target.exists && (target.entry.isDirectory || !overwrite))
        throw Failure(fileExists(target.shown));
}

void mustTakeFile(CommandContext &context, const Item &target, bool overwrite)
{
    mustBeFree(target, overwrite);
    if (!target.exists)
        mustHaveParent(context, target);
}

void provideDirectory(CommandContext &context, const Item &target, bool overwrite)
{
    if (!target.exists) {
        mustHaveParent(context, target);
        context.files.makeDirectory(target.path, kNewDirectoryMode, false);
    } else if (!target.entry.isDirectory) {
        throw Failure(overwrite ? isNotADirectory(target.shown) : fileExists(target.shown));
    }
}
