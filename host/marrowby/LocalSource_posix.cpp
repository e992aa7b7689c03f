#include "host/marrowby/LocalSource.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/LocalFile.h"
#include "host/marrowby/PathNames.h"
#include "host/marrowby/Progress.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// "/absolute/path"
QByteArray absolutePath(const QByteArray &path)
{
    return localUri(path).mid(static_cast<int>(sizeof "file:") - 1);
}

struct Closing {
    void operator()(DIR *directory) const { ::closedir(directory); }
};

} // namespace

std::vector<QByteArray> localNames(const QByteArray &directory)
{
    const std::unique_ptr<DIR, Closing> stream(::opendir(directory.constData()));
    if (!stream)
        throw Failure(absolutePath(directory) + ": " + systemErrorText(errno));
    std::vector<QByteArray> names;
    for (;;) {
        errno = 0;
        const dirent *const entry = ::readdir(stream.get());
        if (!entry && errno != 0)
            throw Failure(absolutePath(directory) + ": " + systemErrorText(errno));
        if (!entry)
            break;
        const QByteArray name(entry->d_name);
        if (name != "." && name != ".." && localKind(childPath(directory, name)) != LocalKind::Missing)
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void removeLocal(const QByteArray &path, const QByteArray &shown)
{
    if (std::remove(path.constData()) != 0)
        throw Failure('`' + shown + "': is copied, but cannot be deleted here: " + systemErrorText(errno));
}

LocalFileReader::LocalFileReader(const QByteArray &path) : m_shown(absolutePath(path)), m_descriptor(-1), m_length(0)
{
    do {
        m_descriptor = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
        if (m_descriptor < 0 && errno == EINTR)
            checkForInterrupt();
    } while (m_descriptor < 0 && errno == EINTR);
    if (m_descriptor < 0)
        fail(errno);
    findLength();
}

LocalFileReader::LocalFileReader() : m_shown("standard input"), m_descriptor(STDIN_FILENO), m_length(0)
{
    findLength();
}

LocalFileReader::~LocalFileReader()
{
    if (m_descriptor != STDIN_FILENO)
        ::close(m_descriptor);
}

void LocalFileReader::fail(int error)
{
    throw Failure(m_shown + " (" + systemErrorText(error) + ')');
}

void LocalFileReader::findLength()
{
    struct stat status;
    const bool isKnown = ::fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode);
    m_length = isKnown ? static_cast<quint64>(status.st_size) : kUnknownTotal;
}

std::size_t LocalFileReader::read(char *buffer, std::size_t count)
{
    for (;;) {
        checkForInterrupt();
        const ssize_t size = ::read(m_descriptor, buffer, count);
        if (size >= 0)
            return static_cast<std::size_t>(size);
        if (errno != EINTR)
            fail(errno);
    }
}
