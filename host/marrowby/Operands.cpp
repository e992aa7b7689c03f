#include "host/marrowby/Operands.h"

#include "host/marrowby/Glob.h"

#include <algorithm>

namespace {

/// Paths that match the first names of a pattern, going down name by name.
class Search
{
public:
    Search(FileSystem &files, std::vector<Item> *found) : m_files(files), m_found(found) {}

    /// What the names from `depth` on lead to, beginning at `path`.
    void descend(QByteArray path, const QList<QByteArray> &names, int depth)
    {
        for (; depth < names.size() && !Glob::hasWildcard(names.at(depth)); ++depth)
            path = childPath(path, Glob::withoutEscapes(names.at(depth)));
        if (depth == names.size()) {
            lookUp(path);
            return;
        }
        const bool last = depth + 1 == names.size();
        const Glob pattern(names.at(depth));
        for (const FileEntry &entry : m_files.list(path)) {
            if (!pattern.matches(entry.name))
                continue;
            if (last) {
                Item item;
                item.path = childPath(path, entry.name);
                item.exists = true;
                item.entry = entry;
                m_found->push_back(item);
            } else if (entry.isDirectory) {
                descend(childPath(path, entry.name), names, depth + 1);
            }
        }
    }

private:
    void lookUp(const QByteArray &path)
    {
        Item item;
        item.path = path;
        item.exists = true;
        if (m_files.find(path, &item.entry))
            m_found->push_back(item);
    }

    FileSystem &m_files;
    std::vector<Item> *const m_found;
};

bool pathBefore(const Item &left, const Item &right)
{
    return left.path < right.path;
}

bool samePath(const Item &left, const Item &right)
{
    return left.path == right.path;
}

} // namespace

std::vector<Item> expand(CommandContext &context, const QByteArray &argument)
{
    const PathArgument parsed = context.names.parse(argument);
    std::vector<Item> found;
    Search search(context.files, &found);
    foreach (const QByteArray &pattern, Glob::withoutSlashesInBraces(parsed.pattern))
        search.descend("/", Glob::names(pattern), 0);
    std::sort(found.begin(), found.end(), pathBefore);
    found.erase(std::unique(found.begin(), found.end(), samePath), found.end());
    for (Item &item : found) {
        item.shown = context.names.shown(item.path, parsed);
        item.argument = parsed;
    }
    if (found.empty()) {
        Item missing;
        missing.path = Glob::withoutEscapes(parsed.pattern);
        missing.shown = parsed.typed;
        missing.argument = parsed;
        found.push_back(missing);
    }
    return found;
}

std::vector<Item> expandAll(CommandContext &context, const std::vector<QByteArray> &arguments)
{
    std::vector<Item> items;
    for (const QByteArray &argument : arguments) {
        try {
            const std::vector<Item> found = expand(context, argument);
            items.insert(items.end(), found.begin(), found.end());
        } catch (const Failure &failure) {
            context.messages.report(failure.text());
        }
    }
    return items;
}

Item lookUp(CommandContext &context, const QByteArray &argument)
{
    Item item;
    item.argument = context.names.parse(argument);
    item.argument.typed = argument;
    item.path = item.argument.pattern;
    item.shown = argument;
    item.exists = context.files.find(item.path, &item.entry);
    return item;
}

std::vector<Item> childrenOf(CommandContext &context, const Item &directory)
{
    std::vector<Item> children;
    for (const FileEntry &entry : context.files.list(directory.path)) {
        Item child;
        child.path = childPath(directory.path, entry.name);
        child.shown = context.names.shown(child.path, directory.argument);
        child.exists = true;
        child.entry = entry;
        child.argument = directory.argument;
        children.push_back(child);
    }
    return children;
}

void mustExist(const Item &item)
{
    if (!item.exists)
        throw Failure(noSuchFile(item.shown));
}
