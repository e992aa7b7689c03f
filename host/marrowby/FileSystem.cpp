#include "host/marrowby/FileSystem.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/FileMode.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/Messages.h"
#include "host/marrowby/PathNames.h"
#include "host/marrowby/RemoteError.h"
#include "rpc/HdfsFileStatus.h"

#include <memory>

namespace {

/// The plug-in's result codes of a change of the namespace.
const qint32 kResultTrue = 0;
const qint32 kResultFalse = 1; ///< also that of a success without a result

/// A record or a listing, freed when it goes.
class Records
{
public:
    Records(Session &session, HdfsFileStatus *head) : m_session(session), m_head(head) {}
    ~Records() { m_session->freeListing(m_head); }
    Records(const Records &) = delete;
    Records &operator=(const Records &) = delete;

    const HdfsFileStatus *head() const { return m_head; }

private:
    Session &m_session;
    HdfsFileStatus *const m_head;
};

QByteArray bytes(const ByteString &text)
{
    return QByteArray(text.data, static_cast<int>(text.size));
}

FileEntry entryOf(const HdfsFileStatus &record)
{
    FileEntry entry;
    entry.isDirectory = record.kind == 'D';
    entry.name = bytes(record.path);
    entry.length = record.length;
    entry.replication = record.replication;
    entry.blockSize = record.blockSize;
    entry.owner = bytes(record.owner);
    entry.group = bytes(record.group);
    entry.mode = record.permission & kModeBits;
    entry.hasAcl = (record.permission & kAclBit) != 0;
    entry.modificationTime = record.modificationTime;
    entry.accessTime = record.accessTime;
    return entry;
}

/// Whether a listing is that of a file: the file alone, without a name.
bool isFileItself(const HdfsFileStatus *head)
{
    return head && !head->next && head->kind != 'D' && head->path.size == 0;
}

} // namespace

void FileSystem::begin()
{
    checkForInterrupt();
    m_session.forgetLog();
}

void FileSystem::fail(const QByteArray &path)
{
    checkForInterrupt();
    if (requestWasTooLong(m_session.log()))
        throw Failure(pathTooLong(path));
    if (remoteErrorIn(m_session.log()).className.isEmpty())
        throw Failure("the NameNode " + m_session.authority() + " did not answer: " + reasonIn(m_session.log()));
    throw Failure(reasonIn(m_session.log()));
}

bool FileSystem::check(qint32 status, const QByteArray &path)
{
    if (status != kResultTrue && status != kResultFalse)
        fail(path);
    return status == kResultTrue;
}

bool FileSystem::find(const QByteArray &path, FileEntry *entry)
{
    begin();
    bool failed = false;
    const Records record(m_session, m_session->fileInfo(m_session.connection(), path, &failed));
    if (failed)
        fail(path);
    if (!record.head())
        return false;
    *entry = entryOf(*record.head());
    entry->name.clear();
    return true;
}

std::vector<FileEntry> FileSystem::list(const QByteArray &directory)
{
    begin();
    qint32 count = 0;
    const Records records(m_session, m_session->getListing(m_session.connection(), directory, &count));
    if (count < 0)
        fail(directory);
    std::vector<FileEntry> entries;
    if (isFileItself(records.head())) // it took the directory's place
        return entries;
    entries.reserve(static_cast<std::size_t>(count));
    for (const HdfsFileStatus *record = records.head(); record; record = record->next) {
        entries.push_back(entryOf(*record));
        // Names become parts of paths, here and on this machine: "../x" would lead out of the directory.
        if (!isName(entries.back().name))
            throw Failure('`' + directory + "': the NameNode lists `" + entries.back().name.replace('\0', "\\0") +
                          "' in it, which is not a name");
    }
    return entries;
}

void FileSystem::makeDirectory(const QByteArray &path, quint32 mode, bool withParents)
{
    begin();
    if (!check(m_session->mkdirs(m_session.connection(), path, mode, withParents), path))
        throw Failure('`' + path + "': Input/output error");
}

bool FileSystem::remove(const QByteArray &path, bool recursively)
{
    begin();
    return check(m_session->delete_(m_session.connection(), path, recursively), path);
}

bool FileSystem::rename(const QByteArray &source, const QByteArray &destination)
{
    begin();
    if (m_session->rename(m_session.connection(), source, destination) != kResultTrue)
        fail(source.size() > destination.size() ? source : destination);
    // Success only says that there was an answer; whether it was a yes shows in the namespace.
    FileEntry entry;
    return find(destination, &entry) && !find(source, &entry);
}

bool FileSystem::setReplication(const QByteArray &path, quint16 replication)
{
    begin();
    return check(m_session->setReplication(m_session.connection(), path, replication), path);
}

void FileSystem::setMode(const QByteArray &path, quint32 mode)
{
    begin();
    check(m_session->setPermission(m_session.connection(), path, static_cast<quint16>(mode)), path);
}

void FileSystem::setOwner(const QByteArray &path, const QByteArray &user, const QByteArray &group)
{
    begin();
    check(m_session->setOwner(m_session.connection(), path, user, group), path);
}

HdfsFileReader *FileSystem::openReader(const QByteArray &path)
{
    begin();
    HdfsFileReader *const reader = m_session->openReader(m_session.connection(), path);
    if (!reader)
        fail(path);
    return reader;
}

void FileSystem::replace(const QByteArray &path, const QByteArray &by, bool *removed)
{
    begin();
    *removed = check(m_session->delete_(m_session.connection(), path, false), path);
    if (!*removed)
        throw Failure(inputOutputError(path));
    m_session.forgetLog();
    if (m_session->rename(m_session.connection(), by, path) != kResultTrue)
        fail(path);
    FileEntry entry;
    if (!find(path, &entry))
        throw Failure(inputOutputError(path));
}

HdfsFileWriter *FileSystem::createWriter(const QByteArray &path, const WriteSettings &settings)
{
    begin();
    HdfsFileWriter *const writer =
        m_session->createWriter(m_session.connection(), path, kNewFileMode, settings.replication, settings.blockSize);
    if (!writer)
        fail(path);
    if (settings.bytesPerChecksum)
        m_session->setChunkSize(writer, settings.bytesPerChecksum);
    return writer;
}

void FileSystem::makeEmptyFile(const QByteArray &path, const WriteSettings &settings)
{
    HdfsFileWriter *const writer = createWriter(path, settings);
    const bool closed = m_session->closeWriter(writer, nullptr, 0) == kResultTrue;
    m_session->deleteWriter(writer);
    if (!closed)
        fail(path);
}

void FileSystem::copy(const QByteArray &source, quint64 length, const QByteArray &destination)
{
    begin();
    const StopWaits undisturbed;
    const qint32 status = m_session->copy(m_session.connection(), source, destination);
    const QByteArray reason = requestWasTooLong(m_session.log()) ? pathTooLong(destination) : reasonIn(m_session.log());
    checkForInterrupt();
    // Success says nothing about the destination's last block.
    FileEntry entry;
    if (status != kResultTrue || !find(destination, &entry) || entry.length != length)
        throw Failure(reason);
}
