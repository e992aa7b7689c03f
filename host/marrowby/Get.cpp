#include "host/marrowby/Get.h"

#include "host/marrowby/LocalFile.h"
#include "host/marrowby/Transfer.h"

namespace {

/// A place on this machine.
struct Target {
    QByteArray path;
    QByteArray shown;
};

Target targetOf(const QByteArray &argument)
{
    if (argument.isEmpty())
        throw UsageError("Can not create a Path from an empty string");
    Target target;
    target.shown = argument;
    target.path = argument;
    if (argument.startsWith("file:/"))
        target.path = argument.mid(argument.startsWith("file:///") ? 7 : 5);
    return target;
}

Target inside(const Target &directory, const QByteArray &name)
{
    Target target;
    target.path = childPath(directory.path, name);
    target.shown = directory.shown == "." ? name : childPath(directory.shown, name);
    return target;
}

/// For messages.
QByteArray parentIn(const QByteArray &uri)
{
    return parentPath(uri.mid(static_cast<int>(sizeof "file:") - 1));
}

void mustHaveParent(const Target &target, LocalKind kind)
{
    const QByteArray uri = localUri(target.path);
    if (kind == LocalKind::BelowFile)
        throw Failure("Destination exists and is not a directory: " + parentIn(uri));
    // "new/" says that "new" is a directory already.
    const bool mustBeDirectory = target.shown.endsWith('/');
    if (kind == LocalKind::Missing && (mustBeDirectory || localKind(localParent(target.path)) == LocalKind::Missing))
        throw Failure(noSuchParent(target.shown, uri));
}

class Getting
{
public:
    explicit Getting(CommandContext &context)
        : m_context(context), m_overwrite(context.arguments.has("-f")), m_keepAttributes(context.arguments.has("-p"))
    {
    }

    void get(const Item &item, const Target &target)
    {
        const LocalKind kind = localKind(target.path);
        mustHaveParent(target, kind);
        if (item.entry.isDirectory)
            getDirectory(item, target, kind);
        else
            getFile(item, target, kind);
    }

private:
    void getDirectory(const Item &directory, const Target &target, LocalKind kind)
    {
        if (kind == LocalKind::Missing)
            makeLocalDirectory(target.path, target.shown);
        else if (kind != LocalKind::Directory)
            throw Failure(fileExists(target.shown));
        forEach(m_context, childrenOf(m_context, directory),
                [&](const Item &child) { get(child, inside(target, child.entry.name)); });
        if (m_keepAttributes)
            keepAttributes(target.path, directory.entry);
    }

    void getFile(const Item &file, const Target &target, LocalKind kind)
    {
        if (kind == LocalKind::Directory)
            throw Failure(isADirectory(target.shown));
        if (kind != LocalKind::Missing && !m_overwrite)
            throw Failure(fileExists(target.shown));
        std::unique_ptr<LocalFileWriter> writer;
        const auto open = [&] {
            if (!writer)
                writer.reset(new LocalFileWriter(target.path, target.shown));
        };
        // The local file is only begun when the first bytes are there: a file that cannot be read leaves no trace.
        transfer(m_context, file, 0, kWholeFile, true, [&](const char *bytes, std::size_t count) {
            open();
            writer->write(bytes, count);
        });
        open();
        writer->finish();
        if (m_keepAttributes && kind != LocalKind::Other)
            keepAttributes(target.path, file.entry);
    }

    CommandContext &m_context;
    const bool m_overwrite;
    const bool m_keepAttributes;
};

} // namespace

void getPaths(CommandContext &context)
{
    std::vector<QByteArray> arguments = context.arguments.operands;
    Target destination = targetOf(arguments.size() > 1 ? arguments.back() : QByteArray("."));
    if (arguments.size() > 1)
        arguments.pop_back();
    const std::vector<Item> sources = expandAll(context, arguments);
    if (destination.path == "-") {
        forEach(context, sources, [&context](const Item &file) { printFile(context, file); });
        return;
    }
    const LocalKind kind = localKind(destination.path);
    if (sources.size() > 1 && kind == LocalKind::Missing)
        throw Failure(noSuchFile(destination.shown));
    if (sources.size() > 1 && kind != LocalKind::Directory)
        throw Failure(isNotADirectory(destination.shown));
    Getting getting(context);
    forEach(context, sources, [&](const Item &source) {
        mustExist(source);
        getting.get(source, kind == LocalKind::Directory ? inside(destination, lastName(source.path)) : destination);
    });
}
