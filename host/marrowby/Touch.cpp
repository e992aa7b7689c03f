#include "host/marrowby/Touch.h"

#include "host/marrowby/Destination.h"

namespace {

void makeEmptyFile(CommandContext &context, const Item &item, const WriteSettings &settings)
{
    if (item.exists && item.entry.isDirectory)
        throw Failure(isADirectory(item.shown));
    if (item.exists && item.entry.length > 0)
        throw Failure('`' + item.shown + "': Not a zero-length file");
    if (!item.exists && item.argument.hasWildcard)
        mustExist(item);
    if (!item.exists)
        mustHaveParent(context, item);
    context.files.makeEmptyFile(item.path, settings);
}

} // namespace

void makeEmptyFiles(CommandContext &context)
{
    const WriteSettings settings = WriteSettings::from(context.arguments.properties);
    forEach(context, expandAll(context, context.arguments.operands),
            [&](const Item &item) { makeEmptyFile(context, item, settings); });
}
