#include "host/marrowby/PathNames.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Glob.h"

#include <QtCore/QList>

namespace {

const char kScheme[] = "hdfs://";
const int kSchemeLength = sizeof kScheme - 1;
const int kLongestPath = 8000; // bytes: HDFS takes no more

/// The length of "name://" at the beginning of `text`; 0 when there is none.
int schemeLength(const QByteArray &text)
{
    const int length = text.indexOf("://");
    if (length <= 0)
        return 0;
    for (int i = 0; i < length; ++i) {
        const char c = text.at(i);
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool other = (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
        if (!letter && (i == 0 || !other))
            return 0;
    }
    return length + 3;
}

} // namespace

QByteArray PathNames::absolute(const QByteArray &path) const
{
    const QByteArray whole = path.startsWith('/') ? path : m_home + '/' + path;
    QList<QByteArray> kept;
    foreach (const QByteArray &name, whole.split('/')) {
        if (name.isEmpty() || name == ".")
            continue;
        if (name != "..") {
            kept.append(name);
        } else if (!kept.isEmpty()) {
            kept.removeLast();
        } else {
            const QByteArray slashed = path.startsWith('/') ? path : '/' + path;
            throw UsageError("Pathname " + slashed + " from " + qualified(slashed) + " is not a valid DFS filename.");
        }
    }
    QByteArray result;
    foreach (const QByteArray &name, kept)
        result += '/' + name;
    return result.isEmpty() ? QByteArray("/") : result;
}

PathArgument PathNames::parse(const QByteArray &argument) const
{
    if (argument.isEmpty())
        throw UsageError("Can not create a Path from an empty string");
    if (argument.size() > kLongestPath)
        throw Failure("a path of " + QByteArray::number(argument.size()) + " bytes is too long: HDFS takes at most " +
                      QByteArray::number(kLongestPath));
    PathArgument parsed;
    parsed.hasWildcard = Glob::hasWildcard(argument);
    parsed.typed = parsed.hasWildcard ? argument : Glob::withoutEscapes(argument);
    const int prefix = schemeLength(argument);
    if (prefix == 0) {
        parsed.form = argument.startsWith('/') ? PathArgument::Absolute : PathArgument::Relative;
        parsed.pattern = absolute(argument);
        return parsed;
    }
    if (prefix != kSchemeLength || argument.left(prefix).toLower() != kScheme)
        throw Failure("No FileSystem for scheme \"" + argument.left(prefix - 3) + '"');
    const int slash = argument.indexOf('/', prefix);
    const QByteArray authority = slash < 0 ? argument.mid(prefix) : argument.mid(prefix, slash - prefix);
    if (!authority.isEmpty() && authority.toLower() != m_authority.toLower())
        throw Failure('`' + argument + "': is not on the NameNode " + m_authority + " (--namenode " + authority +
                      " before the command goes there)");
    parsed.form = PathArgument::WithScheme;
    parsed.scheme = kScheme + authority;
    parsed.pattern = slash < 0 ? m_home : absolute(argument.mid(slash));
    return parsed;
}

QByteArray PathNames::shown(const QByteArray &path, const PathArgument &argument) const
{
    if (argument.form == PathArgument::Absolute)
        return path;
    if (argument.form == PathArgument::WithScheme)
        return argument.scheme + path;
    if (path == m_home)
        return ".";
    QByteArray climbed;
    QByteArray base = m_home;
    while (base != "/" && path != base && !path.startsWith(base + '/')) {
        climbed += climbed.isEmpty() ? ".." : "/..";
        base = parentPath(base);
    }
    const QByteArray rest = path == base ? QByteArray() : base == "/" ? path.mid(1) : path.mid(base.size() + 1);
    if (climbed.isEmpty() || rest.isEmpty())
        return climbed + rest;
    return climbed + '/' + rest;
}

bool isName(const QByteArray &name)
{
    return !name.isEmpty() && name != "." && name != ".." && !name.contains('/') && !name.contains('\0');
}

QByteArray childPath(const QByteArray &directory, const QByteArray &name)
{
    return directory.endsWith('/') ? directory + name : directory + '/' + name;
}

QByteArray parentPath(const QByteArray &path)
{
    const int slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

QByteArray lastName(const QByteArray &path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}
