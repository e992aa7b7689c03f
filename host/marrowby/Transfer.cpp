// cat, head, tail, get
#include "host/marrowby/Commands.h"
#include "host/marrowby/Failure.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/LocalFile.h"
#include "host/marrowby/Progress.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cstdio>

namespace {

/// Bytes of one read. Each read opens a connection for each block that it touches, so they should be few; and between
/// two reads the user can stop the transfer, so they should be short.
const std::uint64_t kReadSize = 16 * 1024 * 1024;
const std::uint64_t kPeekSize = 1024; ///< what head and tail show

typedef std::function<void(const char *, std::uint32_t)> Sink;

/// The bytes at `start` that one read takes: within one block.
std::uint32_t readSize(std::uint64_t start, std::uint64_t end, std::uint64_t blockSize)
{
    const std::uint64_t toBlockEnd = blockSize > 0 ? blockSize - start % blockSize : kReadSize;
    return static_cast<std::uint32_t>(std::min(std::min(end - start, kReadSize), toBlockEnd));
}

/// Hands the bytes from `start` to the end of the file, or `limit` of them, to `sink`.
void readFile(Session &session, const PathArgument &source, std::uint64_t start, std::uint64_t limit, const Sink &sink)
{
    FileForReading file(session, source.path);
    start = std::min(start, file.length());
    const std::uint64_t end = start + std::min(limit, file.length() - start);
    std::vector<char> buffer(static_cast<std::size_t>(std::min(end - start, kReadSize)));
    while (start < end) {
        throwIfInterrupted();
        const std::uint32_t count = file.read(start, buffer.data(), readSize(start, end, source.entry.blockSize));
        if (count == 0)
            break;
        sink(buffer.data(), count);
        start += count;
    }
}

void writeToOutput(const char *bytes, std::uint32_t count)
{
    if (std::fwrite(bytes, 1, count, stdout) != count || std::fflush(stdout) != 0)
        throw Failure("Unable to write to output stream.");
}

void requireFile(const PathArgument &argument)
{
    if (argument.entry.isDirectory)
        throw pathFailure(argument.shown, kIsDirectory);
}

int peek(Session &session, const char *name, const std::string &path, bool atEnd)
{
    return forEachPath(session, name, Arguments(1, path), [&](const PathArgument &argument) {
        requireFile(argument);
        const std::uint64_t length = argument.entry.length;
        const std::uint64_t start = atEnd && length > kPeekSize ? length - kPeekSize : 0;
        readFile(session, argument, start, kPeekSize, writeToOutput);
    });
}

class Getter
{
public:
    Getter(Session &session, const GetOptions &options) : m_session(session), m_options(options), m_failed(kExitDone) {}

    void getTo(const PathArgument &source, const std::string &destination)
    {
        if (source.entry.isDirectory)
            getDirectory(source, destination);
        else
            getFile(source, destination);
    }

    int failed() const { return m_failed; }

private:
    void getFile(const PathArgument &source, const std::string &destination)
    {
        const QFileInfo local(QFile::decodeName(destination.c_str()));
        if (local.isDir())
            throw pathFailure(destination, kIsDirectory);
        if (local.exists() && !m_options.overwrite)
            throw pathFailure(destination, kExists);
        if (!local.dir().exists())
            throw pathFailure(destination, kNotFound);
        LocalFile file(destination);
        {
            Progress progress(source.shown, source.entry.length, true);
            readFile(m_session, source, 0, source.entry.length, [&](const char *bytes, std::uint32_t count) {
                file.write(bytes, count);
                progress.advance(count);
            });
        }
        throwIfInterrupted();
        file.finish();
    }

    void getDirectory(const PathArgument &source, const std::string &destination)
    {
        const QFileInfo local(QFile::decodeName(destination.c_str()));
        if (local.exists() && !local.isDir())
            throw pathFailure(destination, kExists);
        if (!local.exists() && !QDir().mkdir(local.filePath()))
            throw pathFailure(destination, "cannot be made");
        std::vector<Entry> entries = m_session.list(source.path);
        std::sort(entries.begin(), entries.end(), isListedBefore);
        for (const Entry &entry : entries) {
            PathArgument child;
            child.shown = childPath(source.shown, entry.name);
            child.path = childPath(source.path, entry.name);
            child.exists = true;
            child.entry = entry;
            m_failed |= attempt("get", [&] { getTo(child, childPath(destination, entry.name)); });
        }
    }

    Session &m_session;
    GetOptions m_options;
    int m_failed;
};

} // namespace

int concatenate(Session &session, const Arguments &paths)
{
    return forEachPath(session, "cat", paths, [&](const PathArgument &argument) {
        requireFile(argument);
        readFile(session, argument, 0, argument.entry.length, writeToOutput);
    });
}

int head(Session &session, const std::string &path)
{
    return peek(session, "head", path, false);
}

int tail(Session &session, const std::string &path)
{
    return peek(session, "tail", path, true);
}

int get(Session &session, const GetOptions &options, const Arguments &paths)
{
    // With one path only, its place is the working directory.
    const std::string destination = paths.size() < 2 ? "." : paths.back();
    const Arguments sources(paths.begin(), paths.size() < 2 ? paths.end() : paths.end() - 1);
    if (destination == "-")
        return forEachPath(session, "get", sources, [&](const PathArgument &argument) {
            requireFile(argument);
            readFile(session, argument, 0, argument.entry.length, writeToOutput);
        });
    const QFileInfo local(QFile::decodeName(destination.c_str()));
    const int status = attempt("get", [&] {
        if (sources.size() > 1 && !local.exists())
            throw pathFailure(destination, kNotFound);
        if (sources.size() > 1 && !local.isDir())
            throw pathFailure(destination, kIsNotDirectory);
    });
    if (status != kExitDone)
        return status;
    Getter getter(session, options);
    const int found = forEachPath(session, "get", sources, [&](const PathArgument &argument) {
        const bool goesInside = local.isDir();
        getter.getTo(argument, goesInside ? childPath(destination, baseName(argument.path)) : destination);
    });
    return found | getter.failed();
}
