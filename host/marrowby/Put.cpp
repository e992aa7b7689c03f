#include "host/marrowby/Put.h"

#include "host/marrowby/Destination.h"
#include "host/marrowby/LocalFile.h"
#include "host/marrowby/LocalSource.h"
#include "host/marrowby/Progress.h"
#include "host/marrowby/RemoteFileWriter.h"

#include <memory>

namespace {

const std::size_t kPiece = 1024 * 1024; // bytes: small enough for a progress line that moves and a prompt end

/// Something on this machine.
struct Source {
    QByteArray path;
    QByteArray shown;
    LocalKind kind;
};

Source sourceOf(const QByteArray &argument)
{
    if (argument.isEmpty())
        throw UsageError("Can not create a Path from an empty string");
    const QByteArray path =
        argument.startsWith("file:/") ? argument.mid(argument.startsWith("file:///") ? 7 : 5) : argument;
    return {path, argument, localKind(path)};
}

Source inside(const Source &directory, const QByteArray &name)
{
    const QByteArray path = childPath(directory.path, name);
    return {path, childPath(directory.shown, name), localKind(path)};
}

void mustExist(const Source &source)
{
    if (source.kind == LocalKind::Missing || source.kind == LocalKind::BelowFile)
        throw Failure(noSuchFile(source.shown));
}

class Putting
{
public:
    Putting(CommandContext &context, bool moves)
        : m_context(context), m_settings(WriteSettings::from(context.arguments.properties)),
          m_overwrite(context.arguments.has("-f")), m_moves(moves), m_buffer(new char[kPiece])
    {
    }

    void put(const Source &source, const Item &target)
    {
        mustExist(source);
        if (source.kind == LocalKind::Directory)
            putDirectory(source, target);
        else
            putFile(source, target);
        if (m_moves)
            removeLocal(source.path, source.shown);
    }

    void putStandardInput(const Item &target)
    {
        mustBeFree(target, m_overwrite);
        // Here missing directories come into being with the file, but not out of its name.
        if (!target.exists && target.shown.endsWith('/'))
            throw Failure(noSuchFile(target.shown));
        LocalFileReader reader;
        putContent(&reader, "standard input", target);
    }

private:
    void putDirectory(const Source &directory, const Item &target)
    {
        if (m_moves && target.exists && target.entry.isDirectory)
            throw Failure(fileExists(target.shown));
        provideDirectory(m_context, target, m_overwrite);
        forEach(m_context, localNames(directory.path),
                [&](const QByteArray &name) { put(inside(directory, name), ::inside(m_context, target, name)); });
    }

    void putFile(const Source &file, const Item &target)
    {
        mustTakeFile(m_context, target, m_overwrite);
        LocalFileReader reader(file.path);
        putContent(&reader, lastName(file.path), target);
    }

    void putContent(LocalFileReader *reader, const QByteArray &name, const Item &target)
    {
        RemoteFileWriter writer(m_context.files, target.path, target.shown, m_settings);
        Progress progress(QString::fromLocal8Bit(name), reader->length(), true);
        while (const std::size_t count = reader->read(m_buffer.get(), kPiece)) {
            writer.write(m_buffer.get(), count);
            progress.advance(count);
        }
        writer.finish(m_overwrite);
    }

    CommandContext &m_context;
    const WriteSettings m_settings;
    const bool m_overwrite;
    const bool m_moves;
    const std::unique_ptr<char[]> m_buffer;
};

void putAll(CommandContext &context, bool moves)
{
    std::vector<QByteArray> arguments = context.arguments.operands;
    Putting putting(context, moves);
    const Item destination = destinationOf(context, arguments.size() > 1 ? arguments.back() : QByteArray("."));
    if (arguments.size() > 1)
        arguments.pop_back();
    if (arguments.size() == 1 && arguments.front() == "-") {
        putting.putStandardInput(targetOf(context, destination, "-"));
        return;
    }
    std::vector<Source> sources;
    for (const QByteArray &argument : arguments)
        sources.push_back(sourceOf(argument));
    mustTakeAll(destination, sources.size());
    forEach(context, sources, [&](const Source &source) {
        mustExist(source);
        putting.put(source, targetOf(context, destination, lastName(localUri(source.path))));
    });
}

} // namespace

void putPaths(CommandContext &context)
{
    putAll(context, false);
}

void movePathsFromHere(CommandContext &context)
{
    putAll(context, true);
}
