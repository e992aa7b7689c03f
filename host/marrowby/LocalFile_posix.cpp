#include "host/marrowby/LocalFile.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"

#include <QtCore/QList>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const int kDirectFlags = O_WRONLY | O_CLOEXEC;
const int kPartialFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

timespec timeOf(quint64 milliseconds)
{
    timespec time;
    time.tv_sec = static_cast<time_t>(milliseconds / 1000);
    time.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    return time;
}

/// Empty when it has gone.
QByteArray currentDirectory()
{
    char path[PATH_MAX];
    return ::getcwd(path, sizeof path) ? QByteArray(path) : QByteArray();
}

} // namespace

LocalKind localKind(const QByteArray &path)
{
    struct stat status;
    if (::stat(path.constData(), &status) != 0)
        return errno == ENOTDIR ? LocalKind::BelowFile : LocalKind::Missing;
    if (S_ISDIR(status.st_mode))
        return LocalKind::Directory;
    return S_ISREG(status.st_mode) ? LocalKind::File : LocalKind::Other;
}

QByteArray localParent(const QByteArray &path)
{
    int end = path.size();
    while (end > 0 && path.at(end - 1) == '/')
        --end;
    while (end > 0 && path.at(end - 1) != '/')
        --end;
    return end == 0 ? QByteArray(path.startsWith('/') ? "/" : ".") : path.left(end);
}

QByteArray localUri(const QByteArray &path)
{
    const QByteArray whole = path.startsWith('/') ? path : currentDirectory() + '/' + path;
    QList<QByteArray> kept;
    foreach (const QByteArray &name, whole.split('/')) {
        if (name == ".." && !kept.isEmpty())
            kept.removeLast();
        else if (!name.isEmpty() && name != "." && name != "..")
            kept.append(name);
    }
    QByteArray uri("file:");
    foreach (const QByteArray &name, kept)
        uri += '/' + name;
    return kept.isEmpty() ? uri + '/' : uri;
}

void makeLocalDirectory(const QByteArray &path, const QByteArray &shown)
{
    if (::mkdir(path.constData(), 0777) != 0 && errno != EEXIST)
        throw Failure('`' + shown + "': " + systemErrorText(errno));
}

void keepAttributes(const QByteArray &path, const FileEntry &entry)
{
    // A plain user cannot give files away and need not know the cluster's names: whose file it is stays then.
    const passwd *const owner = ::getpwnam(entry.owner.constData());
    const group *const group = ::getgrnam(entry.group.constData());
    const uid_t ownerId = owner ? owner->pw_uid : static_cast<uid_t>(-1);
    const gid_t groupId = group ? group->gr_gid : static_cast<gid_t>(-1);
    if (::chown(path.constData(), ownerId, groupId) != 0 &&
        ::chown(path.constData(), static_cast<uid_t>(-1), groupId) != 0) {
        // as it is
    }
    // Behind the change of owner, which takes bits away.
    if (::chmod(path.constData(), entry.mode) != 0)
        throw Failure("chmod: `" + path + "': " + systemErrorText(errno));
    // A directory in HDFS has no access time.
    const timespec modification = timeOf(entry.modificationTime);
    const timespec times[2] = {entry.accessTime ? timeOf(entry.accessTime) : modification, modification};
    if (::utimensat(AT_FDCWD, path.constData(), times, 0) != 0)
        throw Failure("setting the times of `" + path + "': " + systemErrorText(errno));
}

LocalFileWriter::LocalFileWriter(const QByteArray &path, const QByteArray &shown)
    : m_path(path), m_shown(shown), m_direct(localKind(path) == LocalKind::Other),
      m_partial(m_direct ? path : path + "._COPYING_"), m_descriptor(-1)
{
    // What an earlier transfer has left there, or somebody has put there, a link or a pipe, gets none of our bytes.
    if (!m_direct && ::unlink(m_partial.constData()) != 0 && errno != ENOENT)
        fail(errno);
    if (!m_direct)
        removeAtAbruptEnd(m_partial);
    do {
        m_descriptor = ::open(m_partial.constData(), m_direct ? kDirectFlags : kPartialFlags, 0666);
        if (m_descriptor < 0 && errno == EINTR)
            checkForInterrupt();
    } while (m_descriptor < 0 && errno == EINTR);
    if (m_descriptor < 0) {
        const int error = errno;
        isRemoved(m_partial);
        fail(error);
    }
}

LocalFileWriter::~LocalFileWriter()
{
    if (m_descriptor < 0)
        return;
    ::close(m_descriptor);
    if (m_direct)
        return;
    ::unlink(m_partial.constData());
    isRemoved(m_partial);
}

void LocalFileWriter::fail(int error)
{
    throw Failure('`' + m_shown + "': " + systemErrorText(error));
}

void LocalFileWriter::write(const char *bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(m_descriptor, bytes, count);
        if (written < 0 && errno == EINTR) {
            checkForInterrupt();
            continue;
        }
        if (written < 0)
            fail(errno);
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

void LocalFileWriter::finish()
{
    // Some file systems tell only here that there was no room.
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    const bool closed = ::close(descriptor) == 0;
    if (m_direct) {
        if (!closed)
            fail(errno);
        return;
    }
    if (!closed || std::rename(m_partial.constData(), m_path.constData()) != 0) {
        const int error = errno;
        ::unlink(m_partial.constData());
        isRemoved(m_partial);
        fail(error);
    }
    isRemoved(m_partial);
}
