#include "host/marrowby/Copy.h"

#include "host/marrowby/Destination.h"
#include "host/marrowby/FileMode.h"
#include "host/marrowby/PartialFile.h"
#include "host/marrowby/Progress.h"

namespace {

const quint64 kLongCopy = 8 * 1024 * 1024; // bytes: what is shorter needs no line on the terminal

class Copying
{
public:
    explicit Copying(CommandContext &context)
        : m_context(context), m_settings(WriteSettings::from(context.arguments.properties)),
          m_overwrite(context.arguments.has("-f"))
    {
    }

    void copy(const Item &source, const Item &target)
    {
        mustNotBeBelow(source, target);
        if (source.entry.isDirectory)
            copyDirectory(source, target);
        else
            copyFile(source, target);
    }

private:
    void copyDirectory(const Item &directory, const Item &target)
    {
        provideDirectory(m_context, target, m_overwrite);
        forEach(m_context, childrenOf(m_context, directory),
                [&](const Item &child) { copy(child, inside(m_context, target, child.entry.name)); });
    }

    void copyFile(const Item &file, const Item &target)
    {
        mustTakeFile(m_context, target, m_overwrite);
        FileSystem &files = m_context.files;
        if (file.path == PartialFile::pathFor(target.path))
            throw Failure('`' + file.shown + "': is what a copy to `" + target.shown +
                          "' is called until it is complete");
        PartialFile partial(files, target.path, target.shown);
        Progress progress(QString::fromUtf8(lastName(file.path)), file.entry.length, file.entry.length >= kLongCopy);
        progress.announce();
        files.copy(file.path, file.entry.length, partial.path());
        // A copy that the plug-in makes has the attributes of its source; a new file has those of new files.
        if (file.entry.mode != kNewFileMode)
            files.setMode(partial.path(), kNewFileMode);
        if (file.entry.replication != m_settings.replication)
            files.setReplication(partial.path(), m_settings.replication);
        partial.finish(file.entry.length, m_overwrite);
    }

    CommandContext &m_context;
    const WriteSettings m_settings;
    const bool m_overwrite;
};

} // namespace

void copyPaths(CommandContext &context)
{
    std::vector<QByteArray> arguments = context.arguments.operands;
    Copying copying(context);
    const Item destination = destinationOf(context, arguments.back());
    arguments.pop_back();
    const std::vector<Item> sources = expandAll(context, arguments);
    mustTakeAll(destination, sources.size());
    forEach(context, sources, [&](const Item &source) {
        mustExist(source);
        copying.copy(source, targetOf(context, destination, lastName(source.path)));
    });
}
