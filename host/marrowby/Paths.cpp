#include "host/marrowby/Paths.h"

#include "host/marrowby/Glob.h"

#include <QtCore/QString>

#include <algorithm>

namespace {

const char kScheme[] = "hdfs://";

std::vector<std::string> components(const std::string &path)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start < path.size()) {
        const std::size_t slash = std::min(path.find('/', start), path.size());
        const std::string part = path.substr(start, slash - start);
        if (part == "..") {
            if (!parts.empty())
                parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        start = slash + 1;
    }
    return parts;
}

std::string withoutScheme(const std::string &given)
{
    if (given.compare(0, sizeof kScheme - 1, kScheme) != 0)
        return given;
    const std::size_t slash = given.find('/', sizeof kScheme - 1);
    return slash == std::string::npos ? "/" : given.substr(slash);
}

/// A shown path and the absolute one that it means.
struct Found {
    std::string shown;
    std::string path;
};

/// Follows one part of a pattern from each directory found so far.
std::vector<Found> expandPart(Session &session, const std::vector<Found> &directories, const std::string &part)
{
    std::vector<Found> found;
    for (const Found &directory : directories) {
        if (!hasPattern(part)) {
            const std::string name = unescaped(part);
            const Found one = {childPath(directory.shown, name), childPath(directory.path, name)};
            found.push_back(one);
            continue;
        }
        Entry entry;
        if (!session.status(directory.path, &entry) || !entry.isDirectory)
            continue;
        std::vector<Entry> entries = session.list(directory.path);
        std::sort(entries.begin(), entries.end(), isListedBefore);
        for (const Entry &child : entries) {
            if (!matchesPattern(part, child.name))
                continue;
            const Found one = {childPath(directory.shown, child.name), childPath(directory.path, child.name)};
            found.push_back(one);
        }
    }
    return found;
}

void expand(Session &session, const std::string &pattern, std::vector<PathArgument> *arguments)
{
    const bool isAbsolute = !pattern.empty() && pattern[0] == '/';
    const Found root = {isAbsolute ? "/" : ".", isAbsolute ? "/" : absolutePath("", session.user())};
    std::vector<Found> found(1, root);
    for (const std::string &part : components(pattern))
        found = expandPart(session, found, part);
    for (const Found &one : found) {
        PathArgument argument;
        argument.shown = one.shown;
        argument.path = one.path;
        argument.exists = session.status(argument.path, &argument.entry);
        if (argument.exists)
            arguments->push_back(argument);
    }
}

} // namespace

std::string absolutePath(const std::string &given, const std::string &user)
{
    std::string path = withoutScheme(given);
    if (path.empty() || path[0] != '/')
        path = "/user/" + user + "/" + path;
    std::string absolute;
    for (const std::string &part : components(path))
        absolute += "/" + part;
    return absolute.empty() ? "/" : absolute;
}

std::string baseName(const std::string &path)
{
    const std::size_t end = path.find_last_not_of('/');
    if (end == std::string::npos)
        return std::string();
    const std::size_t slash = path.find_last_of('/', end);
    return path.substr(slash == std::string::npos ? 0 : slash + 1,
                       end - (slash == std::string::npos ? 0 : slash + 1) + 1);
}

std::string parentPath(const std::string &path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

std::string childPath(const std::string &directory, const std::string &name)
{
    if (directory == ".")
        return name;
    return !directory.empty() && directory[directory.size() - 1] == '/' ? directory + name : directory + "/" + name;
}

PathArgument lookUpOne(Session &session, const std::string &given)
{
    PathArgument argument;
    argument.shown = given;
    argument.path = absolutePath(given, session.user());
    argument.exists = session.status(argument.path, &argument.entry);
    return argument;
}

std::vector<PathArgument> lookUp(Session &session, const std::string &given)
{
    if (!hasPattern(given))
        return std::vector<PathArgument>(
            1, lookUpOne(session, given.find('\\') == std::string::npos ? given : unescaped(given)));
    std::vector<PathArgument> arguments;
    for (const std::string &pattern : expandBraces(withoutScheme(given)))
        expand(session, pattern, &arguments);
    if (arguments.empty()) {
        PathArgument missing;
        missing.shown = given;
        missing.path = absolutePath(given, session.user());
        missing.exists = false;
        arguments.push_back(missing);
    }
    return arguments;
}

bool isListedBefore(const Entry &first, const Entry &second)
{
    return QString::fromUtf8(first.name.c_str()) < QString::fromUtf8(second.name.c_str());
}
