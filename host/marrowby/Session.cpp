#include "host/marrowby/Session.h"

#include "host/core/LogTap.h"
#include "host/marrowby/Failure.h"
#include "host/marrowby/StoredConnection.h"

#include <QtCore/QStringList>

namespace {

const std::uint32_t kFirstReadError = 0xFFFFFFFEu;
/// A reader stays with the DataNodes that it learned at its open, and with the first of them when that one refuses
/// connections. The NameNode names a block's DataNodes in another order each time, so a few opens find one that lives,
/// if there is one.
const int kReadTries = 16;
const qint32 kStatusRefused = 1;

/// The message of the last exception that a NameNode answered with; empty: none.
std::string lastException;

/// Keeps the NameNode's exceptions for the command's own message; all else goes to standard error.
bool takeException(LogLevel, const QString &text)
{
    static const QLatin1String kMark("\nerrorMsg=");
    const int mark = text.indexOf(kMark);
    if (!text.startsWith(QLatin1String("ExceptionClassName=")) || mark < 0)
        return false;
    // The first line is for people, the others are a stack trace.
    const QString message = text.mid(mark + 10).section(QLatin1Char('\n'), 0, 0).trimmed();
    lastException = message.toUtf8().constData();
    if (lastException.empty())
        lastException = text.mid(19, mark - 19).toUtf8().constData();
    return true;
}

std::string toStdString(const ByteString &bytes)
{
    return std::string(bytes.data, bytes.size);
}

QByteArray toBytes(const std::string &text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

Entry toEntry(const HdfsFileStatus &status)
{
    Entry entry;
    entry.name = toStdString(status.path);
    entry.isDirectory = status.kind == 'D';
    entry.length = status.length;
    entry.replication = status.replication;
    entry.blockSize = status.blockSize;
    entry.owner = toStdString(status.owner);
    entry.group = toStdString(status.group);
    entry.permission = status.permission;
    entry.modificationTime = status.modificationTime;
    entry.accessTime = status.accessTime;
    return entry;
}

} // namespace

Session::Session(const QString &library) : m_loader(library), m_hdfs(nullptr), m_connection(nullptr)
{
    m_hdfs = qobject_cast<QuorHDFSPluginInterface *>(m_loader.instance());
    if (!m_hdfs) {
        const QString reason =
            m_loader.isLoaded() ? QString::fromLatin1("it is no HDFS plug-in of this host") : m_loader.errorString();
        throw Failure("cannot load " + std::string(library.toLocal8Bit().constData()) + ": " +
                      reason.toLocal8Bit().constData());
    }
    setLogTap(takeException);
    if (m_hdfs->initialize() != 0)
        throw Failure("the network could not be started");
}

Session::~Session()
{
    if (m_hdfs)
        m_hdfs->deleteConnection(m_connection);
    setLogTap(nullptr);
    m_loader.unload();
}

void Session::connect()
{
    const ConnectionValues values = storedConnectionValues();
    if (values.nameNode.isEmpty())
        throw Failure("no NameNode is configured; use --namenode HOST:PORT, or store one with "
                      "`marrowby configure --namenode HOST:PORT'");
    m_user = (values.user.isEmpty() ? QString::fromLocal8Bit(qgetenv("USERNAME")) : values.user).toUtf8().constData();
    m_connection = m_hdfs->connect();
    if (!m_connection)
        fail("cannot connect to the NameNode " + std::string(values.nameNode.toUtf8().constData()));
}

void Session::fail(const std::string &otherwise)
{
    const std::string message = lastException.empty() ? otherwise : lastException;
    lastException.clear();
    throw Failure(message);
}

bool Session::status(const std::string &path, Entry *entry)
{
    bool failed = false;
    HdfsFileStatus *status = m_hdfs->fileInfo(m_connection, toBytes(path), &failed);
    if (failed)
        fail(pathFailure(path, "Input/output error").what());
    if (!status)
        return false;
    *entry = toEntry(*status);
    m_hdfs->freeListing(status);
    return true;
}

std::vector<Entry> Session::list(const std::string &path)
{
    qint32 count = -1;
    HdfsFileStatus *head = m_hdfs->getListing(m_connection, toBytes(path), &count);
    if (count < 0)
        fail(pathFailure(path, "Input/output error").what());
    std::vector<Entry> entries;
    entries.reserve(static_cast<std::size_t>(count));
    for (const HdfsFileStatus *status = head; status; status = status->next)
        entries.push_back(toEntry(*status));
    m_hdfs->freeListing(head);
    return entries;
}

void Session::makeDirectory(const std::string &path, unsigned permission, bool withParents)
{
    if (m_hdfs->mkdirs(m_connection, toBytes(path), permission, withParents) != 0)
        fail(pathFailure(path, "Input/output error").what());
}

bool Session::remove(const std::string &path, bool recursive)
{
    const qint32 status = m_hdfs->delete_(m_connection, toBytes(path), recursive);
    if (status > kStatusRefused)
        fail(pathFailure(path, "Input/output error").what());
    return status == 0;
}

void Session::rename(const std::string &source, const std::string &destination)
{
    if (m_hdfs->rename(m_connection, toBytes(source), toBytes(destination)) != 0)
        fail(pathFailure(source, "Input/output error").what());
}

bool Session::setReplication(const std::string &path, unsigned replication)
{
    const qint32 status = m_hdfs->setReplication(m_connection, toBytes(path), static_cast<quint16>(replication));
    if (status > kStatusRefused)
        fail(pathFailure(path, "Input/output error").what());
    return status == 0;
}

void Session::setPermission(const std::string &path, unsigned mode)
{
    if (m_hdfs->setPermission(m_connection, toBytes(path), static_cast<quint16>(mode)) > kStatusRefused)
        fail("changing permissions of " + std::string(pathFailure(path, "Input/output error").what()));
}

void Session::setOwner(const std::string &path, const std::string &user, const std::string &group)
{
    if (m_hdfs->setOwner(m_connection, toBytes(path), toBytes(user), toBytes(group)) > kStatusRefused)
        fail("changing ownership of " + std::string(pathFailure(path, "Input/output error").what()));
}

FileForReading::FileForReading(Session &session, const std::string &path)
    : m_session(session), m_path(path), m_reader(nullptr), m_length(0)
{
    open();
    m_length = static_cast<std::uint64_t>(m_session.hdfs()->fileLength(m_reader));
}

FileForReading::~FileForReading()
{
    m_session.hdfs()->deleteReader(m_reader);
}

void FileForReading::open()
{
    m_session.hdfs()->deleteReader(m_reader);
    m_reader = m_session.hdfs()->openReader(m_session.connection(), toBytes(m_path));
    if (!m_reader)
        m_session.fail(pathFailure(m_path, "Input/output error").what());
}

std::uint32_t FileForReading::read(std::uint64_t offset, char *buffer, std::uint32_t length)
{
    for (int tries = kReadTries;; open()) {
        m_session.hdfs()->setPosition(m_reader, static_cast<qint64>(offset));
        const std::uint32_t count = m_session.hdfs()->read(m_reader, buffer, length, nullptr);
        if (count < kFirstReadError)
            return count;
        if (--tries == 0)
            throw pathFailure(m_path, "Could not obtain block at offset " + std::to_string(offset));
    }
}
